// Frames as encoders take them; for the sources of this library alone.
#pragma once

#include "media/Av.h"
#include "media/writing/Pixels.h"

namespace zun::media {

/// Converts frames of one form for one encoder: full chroma resolution, correct rounding, and the same bits on every
/// processor and with any number of threads. Not thread-safe.
class EncoderPictures {
public:
    /// Throws zun::Exception for a format that frames can't be converted to.
    EncoderPictures(Pixels const &form, AVCodecContext const &encoder);
    ~EncoderPictures() { av_buffer_pool_uninit(&pool); }
    EncoderPictures(EncoderPictures const &) = delete;
    EncoderPictures &operator=(EncoderPictures const &) = delete;

    av::Frame picture(Pixels const &pixels);

private:
    av::Frame pooled(AVPixelFormat format);

    AVCodecContext const &encoder;
    AVPixelFormat bytes;
    AVBufferPool *pool = nullptr;
    av::Scaler scaler; ///< null where the encoder takes the bytes as they are
    av::Frame staged;  ///< the frame with padded rows, which conversion reads beyond
};

} // namespace zun::media
