// The frames of several files, one after the other.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/Source.h"
#include "media/files/FileList.h"
#include "media/reading/FrameReader.h"

namespace zun::media {

/// Frames in the order in which files hold them; times go on from file to file, and from round to round. Not
/// thread-safe. All operations throw zun::Exception.
class FrameSequence {
public:
    struct Span {
        std::uint64_t first = 0;            ///< index of the first frame
        std::optional<std::uint64_t> count; ///< of frames in a round; all if it is not given
        std::uint64_t rounds = 1;           ///< 0: without end
    };

    /// `path` is what the list is called. `opened`, which may be null, is the reader of the first file, at its first
    /// frame.
    FrameSequence(std::string const &path, FileList const &list, ReadSettings const &settings, Span const &span,
                  std::unique_ptr<FrameReader> opened);

    /// Reads the next frame, and fills in what is known of it. Returns false after the last.
    bool next(WantedFrames wanted, Frames &frames, FrameSource &source);

    /// Index of the frame that next() would give, over all rounds.
    std::uint64_t position() const { return given; }

    /// Goes back to a frame that was given, by its index over all rounds.
    void goBack(std::uint64_t index);

    /// What holds for all frames. Throws what opening the first file throws.
    std::shared_ptr<SourceInfo const> about();

    /// The reader that is open, which may be null; the sequence goes on by opening its file again.
    std::unique_ptr<FrameReader> release() { return std::move(reader); }

    /// What the file of the last frame leaves out; see FrameReader::leftOut().
    std::vector<std::string> const &leftOut() const { return left; }

private:
    void rewind();
    bool open();
    bool beginRound();
    void describe();
    void place(FrameSource &source);

    std::string const path;
    FileList const list;
    ReadSettings const settings;
    Span const span;
    std::shared_ptr<SourceInfo const> info;
    std::unique_ptr<FrameReader> reader;
    std::vector<std::string> left;
    std::size_t file = 0;                             ///< in the list, that `reader` reads or the next to open
    std::uint64_t given = 0, inRound = 0, rounds = 0; ///< frames, frames of this round, rounds that are over
    std::uint64_t toSkip = 0;                         ///< frames before the first of this round
    std::int64_t offset = 0, end = 0;                 ///< of this file's times, and of the last frame
};

} // namespace zun::media
