// Writing of still images and videos.
#pragma once

#include <memory>
#include <string>

#include "media/Pixels.h"

namespace zun::media {

inline constexpr int leastQuality = 1, mostQuality = 100;
inline constexpr double leastRate = 0.001, mostRate = 10000;

struct WriteSettings {
    bool lossless = true; ///< of a video: every pixel comes back as it was
    int quality = 95;     ///< of a JPEG, or of a video that is not lossless
    float rate = 25;      ///< of a video: frames per second
};

/// Why a file of this name can't be written with these settings; empty if it can. The ending says the format:
/// .png (lossless), .jpg and .jpeg; .mkv and .avi (FFV1, lossless), .mp4, .mov and .mkv (H.264, lossless or not).
std::string whyUnsupported(std::string const &file, WriteSettings const &settings);

/// Whether a file of this name is written as a still image, and not as a video.
bool isWrittenAsImage(std::string const &file);

/// Writes one still image, whole or not at all. Throws zun::Exception. Thread-safe.
void writeImage(std::string const &file, Pixels const &pixels, WriteSettings const &settings);

/// A video that is being written, under a temporary name until finish(). Not thread-safe; all operations throw
/// zun::Exception.
class VideoWriter {
public:
    /// `first` gives the size and the channels that all frames must have.
    VideoWriter(std::string const &file, Pixels const &first, WriteSettings const &settings);
    ~VideoWriter();
    VideoWriter(VideoWriter const &) = delete;
    VideoWriter &operator=(VideoWriter const &) = delete;

    void write(Pixels const &pixels);

    /// Completes the file and puts it in its place. Where that fails, on a full disk, what was encoded is left under
    /// the temporary name, which the error names.
    void finish();

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace zun::media
