// From pictures as FFmpeg decodes them to frames; for the sources of this library alone.
#pragma once

#include "media/Av.h"
#include "media/reading/FrameReader.h"
#include "media/reading/YuvToRgb.h"

namespace zun::media {

/// Whether a format is grey, with or without alpha, in any depth.
bool isGreyFormat(AVPixelFormat format);

/// Bits a channel of a format.
int bitsOf(AVPixelFormat format);

/// What a frame leaves out of pictures in this format: "has an alpha channel, which is left out", and so on.
std::vector<std::string> leftOutOf(AVPixelFormat format, bool alpha);

/// Keeps what one conversion can use again for the next. Not thread-safe.
class Converter {
public:
    /// `most` threads share one picture.
    explicit Converter(unsigned most = 1) : threads(most) {}

    /// Throws zun::Exception for a format that can't be converted.
    Frames toFrames(AVFrame const &picture, WantedFrames wanted);

private:
    RgbFrame fromYuv(AVFrame const &picture);

    unsigned const threads;
    YuvToRgb direct;
    av::Conversion conversion;
    av::Frame planes;
};

} // namespace zun::media
