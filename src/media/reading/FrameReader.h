// Reading of pictures, videos and streams, frame by frame.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "containers/Mat.h"
#include "media/Source.h"

namespace zun::media {

using RgbFrame = Mat<Vec3b, 2>;
using GreyFrame = Mat<unsigned char, 2>;

/// A frame in the forms that were asked for; the others stay empty.
///
/// Where the file holds RGB or grey bytes, they come out unchanged; an alpha channel is left out, a palette looked up,
/// and YUV converted with the file's matrix and range. Values of more or fewer bits become v * 255 / (2^bits - 1),
/// rounded; CMYK becomes C * K / 255 and so on, rounded, of values that are 255 without ink. The grey form of a colour
/// picture is (19595 R + 38470 G + 7471 B + 32768) / 65536 of its RGB form: BT.601 luma, full range. The RGB form of a
/// grey picture has the grey value in all channels.
struct Frames {
    RgbFrame rgb;
    GreyFrame grey;
};

struct WantedFrames {
    bool rgb = false;
    bool grey = false;
};

/// What to do where data are damaged.
enum class Damaged {
    Error, ///< give everything before, then fail
    Stop,  ///< end there, with a warning
    Skip   ///< leave out the frames that are damaged, with a warning that counts them
};

struct ReadSettings {
    bool applyOrientation = true;
    bool deinterlace = false;
    Damaged damaged = Damaged::Error;
    bool dropLate = true; ///< of an address or camera: drop frames that come faster than they are read
    std::string format;   ///< of raw frames, such as rgb24; empty for what says itself what it is
    std::string size;     ///< of raw frames, such as 640x480
    std::string rate;     ///< of raw frames, such as 25 or 30000/1001; 25 if it is empty

    bool operator==(ReadSettings const &) const = default;
};

/// Whether a file has the name of a still image: .png, .jpg, .jpeg, .bmp, .tif, .tiff, .webp, .pgm, .ppm, .pnm, .pbm,
/// .pam, .tga, .jp2, .dpx, .exr or .jpe.
bool isStillName(std::string const &file);

/// What raw frames of the settings' format, size and rate are, without opening anything; `pixels` becomes their number
/// in a frame. Throws zun::Exception for settings that don't make sense.
SourceInfo rawInfo(std::string const &path, ReadSettings const &settings, std::uint64_t &pixels);

/// Throws zun::Exception for an address or camera that the host doesn't allow, with the flag that does.
void requireAllowed(std::string const &address);

/// What is being read, from its first frame on. Not thread-safe. All operations throw zun::Exception, with the file's
/// name, for what can't be read.
class FrameReader {
public:
    /// Of a file, "-" for standard input, a pipe, an address or a camera.
    explicit FrameReader(std::string const &path, ReadSettings const &settings = {});
    ~FrameReader();
    FrameReader(FrameReader const &) = delete;
    FrameReader &operator=(FrameReader const &) = delete;

    /// What the file says of its frames; `path` and `files` are that file.
    SourceInfo const &info() const;

    /// Of the first frame as next() gives it; 0 where it is not known ahead.
    std::uint32_t width() const;
    std::uint32_t height() const;

    /// How many frames there are, where that is certain: 1 of a picture, the pages of a TIFF file.
    std::optional<std::uint64_t> frameCount() const;

    /// What the frames don't hold of what is in the file, such as "has an alpha channel, which is left out".
    std::vector<std::string> const &leftOut() const;

    /// Index of the frame that next() would give.
    std::uint64_t position() const;

    /// Reads the next frame into `frames`. Returns false after the last.
    bool next(WantedFrames wanted, Frames &frames);

    /// Goes to the frame of this index. False if there are not so many; or for one before position() where the file
    /// can't be read backwards, which leaves the position as it is.
    bool skipTo(std::uint64_t index);

    /// Of the frame that next() gave, in info().timeBase; the time is that from the first frame on.
    std::int64_t time() const;
    std::int64_t duration() const;
    std::int64_t start() const; ///< the stamp of the file's first frame

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation;
};

} // namespace zun::media
