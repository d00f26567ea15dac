// Writing of videos.
#pragma once

#include <memory>
#include <string>

#include "media/Source.h"
#include "media/files/PartialFile.h"
#include "media/writing/Pixels.h"
#include "media/writing/WriteSettings.h"

namespace zun::media {

/// A video that is being written, under a partial name until finish(). Not thread-safe; all operations throw
/// zun::Exception.
class VideoWriter {
public:
    /// `place` is where a file is written; null for a stream, which is written as it comes. `first` gives the size and
    /// the channels that all frames must have, and `source`, which may be null, what is known of the first of them.
    VideoWriter(std::string const &path, std::unique_ptr<PartialFile> place, Pixels const &first,
                FrameSource const *source, WriteSettings const &settings);
    ~VideoWriter();
    VideoWriter(VideoWriter const &) = delete;
    VideoWriter &operator=(VideoWriter const &) = delete;

    void write(Pixels const &pixels, FrameSource const *source);

    /// Completes the file and puts it in its place. Where that fails, on a full disk, what was encoded is left under
    /// the partial name, which the error names.
    void finish();

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace zun::media
