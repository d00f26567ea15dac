// The readers of the different kinds of files, behind one interface; for FrameReader alone.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/reading/FrameReader.h"
#include "media/reading/Input.h"
#include "media/reading/Orientation.h"

namespace zun::media {

/// What is open at its first frame. All operations throw zun::Exception, with the name of the input.
class Decoder {
public:
    virtual ~Decoder() = default;

    /// Reads the next frame, not turned upright yet; false after the last.
    virtual bool next(WantedFrames wanted, Frames &frames) = 0;

    /// Goes to a frame, ahead or back, without reading all frames before it; false where that can't be done, and then
    /// `lost` is true if the decoder stands nowhere any more.
    virtual bool jump(std::uint64_t) { return false; }
    bool lost = false;

    SourceInfo info;                     ///< rotation and mirroring are those of `orientation`
    std::uint32_t width = 0, height = 0; ///< before it is turned; 0 where they are not known ahead
    std::optional<std::uint64_t> count;  ///< of frames, where it is certain
    Orientation orientation;             ///< that makes the frames stand upright
    std::vector<std::string> leftOut;    ///< "has an alpha channel, which is left out"
    std::int64_t time = 0, duration = 0; ///< of the frame that next() gave, in info.timeBase
    std::int64_t start = 0;              ///< the stamp that the first frame has in the file, in info.timeBase
};

using Source = std::unique_ptr<Input>; ///< taken over by what opens it

std::unique_ptr<Decoder> openJpeg(Source &input);    ///< null for a kind of JPEG that this decoder doesn't know
std::unique_ptr<Decoder> openTiff(Source &input);    ///< one frame a page
std::unique_ptr<Decoder> openPicture(Source &input); ///< a single picture of any other format; null if it is none
std::unique_ptr<Decoder> openVideo(Source &input, ReadSettings const &settings);
std::unique_ptr<Decoder> openRaw(Source &input, ReadSettings const &settings);

/// An address or a camera.
std::unique_ptr<Decoder> openLive(std::string const &address, ReadSettings const &settings);

/// The grey form of a picture; see Frames.
GreyFrame luma(RgbFrame const &rgb);

/// Grey in all three channels.
RgbFrame replicate(GreyFrame const &grey);

/// The forms that are wanted, of a picture that is RGB or grey.
Frames framesOf(RgbFrame rgb, WantedFrames wanted);
Frames framesOf(GreyFrame grey, WantedFrames wanted);

} // namespace zun::media
