// Reading of still images and videos, frame by frame.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "containers/Mat.h"

namespace zun::media {

using RgbFrame = Mat<Vec3b, 2>;
using GreyFrame = Mat<unsigned char, 2>;

/// A frame in the forms that were asked for; the others stay empty.
///
/// Where the file holds RGB or grey bytes, they come out unchanged; an alpha channel is left out, a palette looked up,
/// and YUV converted with the file's matrix and range. The grey form of a colour picture is
/// (19595 R + 38470 G + 7471 B + 32768) / 65536 of its RGB form: BT.601 luma, full range. The RGB form of a grey
/// picture has the grey value in all channels.
struct Frames {
    RgbFrame rgb;
    GreyFrame grey;
};

struct WantedFrames {
    bool rgb = false;
    bool grey = false;
};

/// Whether a file has the name of a still image: .png, .jpg, .jpeg, .bmp, .tif, .tiff, .webp, .pgm, .ppm or .pnm.
bool isStillName(std::string const &file);

/// A file that is being read, from its first frame on. Not thread-safe. All operations throw zun::Exception, with the
/// file's name, for what can't be read.
class FrameReader {
public:
    explicit FrameReader(std::string const &file);
    ~FrameReader();
    FrameReader(FrameReader const &) = delete;
    FrameReader &operator=(FrameReader const &) = delete;

    std::uint32_t width() const;
    std::uint32_t height() const;

    /// Whether the file is a picture and not a video.
    bool isStill() const;

    /// How many frames the file holds: 1 for a picture, what the container says of a video, or, where it says nothing,
    /// the number of its packets, for which the file is read through.
    std::uint64_t frameCount() const;

    /// Index of the frame that next() would give.
    std::uint64_t position() const;

    /// Reads the next frame into `frames`. Returns false after the last.
    bool next(WantedFrames wanted, Frames &frames);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace zun::media
