#include "media/writing/EncoderPictures.h"

#include <cstring>

#include "containers/Exception.h"
#include "media/reading/Palette.h"
#include "media/writing/VideoCodecs.h"

namespace zun::media {
namespace {

constexpr int alignment = 64;

void copyRows(Pixels const &pixels, AVFrame &picture) {
    for (int row = 0; row < pixels.height; row++)
        std::memcpy(picture.data[0] + row * picture.linesize[0],
                    pixels.bytes.get() + static_cast<std::size_t>(row) * pixels.rowBytes(), pixels.rowBytes());
}

av::Scaler makeScaler(AVCodecContext const &encoder, AVPixelFormat from) {
    av::Scaler scaler(sws_alloc_context());
    if (!scaler) throw std::bad_alloc();
    auto const set = [&](char const *key, std::int64_t value) { av_opt_set_int(scaler.get(), key, value, 0); };
    bool const fullRange = encoder.color_range == AVCOL_RANGE_JPEG;
    set("srcw", encoder.width);
    set("srch", encoder.height);
    set("src_format", from);
    set("dstw", encoder.width);
    set("dsth", encoder.height);
    set("dst_format", encoder.pix_fmt);
    set("dst_range", fullRange ? 1 : 0);
    set("sws_flags", SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT);
    set("threads", encoder.thread_count);
    if (sws_init_context(scaler.get(), nullptr, nullptr) < 0)
        throw Exception(std::string("frames can't be converted to the pixel format ") +
                        av_get_pix_fmt_name(encoder.pix_fmt));
    int const *const matrix =
        sws_getCoefficients(encoder.colorspace == AVCOL_SPC_BT709 ? SWS_CS_ITU709 : SWS_CS_ITU601);
    constexpr int neutral = 1 << 16;
    bool const isYuv = (av_pix_fmt_desc_get(encoder.pix_fmt)->flags & AV_PIX_FMT_FLAG_RGB) == 0;
    sws_setColorspaceDetails(scaler.get(), matrix, 1, matrix, fullRange || !isYuv ? 1 : 0, 0, neutral, neutral);
    return scaler;
}

} // namespace

EncoderPictures::EncoderPictures(Pixels const &form, AVCodecContext const &codec)
    : encoder(codec), bytes(bytesFormat(form.channels)) {
    int const size = av_image_get_buffer_size(encoder.pix_fmt, encoder.width, encoder.height, alignment);
    if (size <= 0) throw Exception("a frame of this size can't be encoded");
    pool = av_buffer_pool_init(static_cast<std::size_t>(size) + AV_INPUT_BUFFER_PADDING_SIZE, nullptr);
    if (pool == nullptr) throw std::bad_alloc();
    if (encoder.pix_fmt == bytes) return;
    if (encoder.pix_fmt != AV_PIX_FMT_PAL8) scaler = makeScaler(encoder, bytes);
    staged = av::makeFrame(encoder.width, encoder.height, bytes);
}

av::Frame EncoderPictures::pooled(AVPixelFormat format) {
    av::Frame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    frame->width = encoder.width;
    frame->height = encoder.height;
    frame->format = format;
    frame->buf[0] = av_buffer_pool_get(pool);
    if (frame->buf[0] == nullptr) throw std::bad_alloc();
    av_image_fill_arrays(frame->data, frame->linesize, frame->buf[0]->data, format, encoder.width, encoder.height,
                         alignment);
    return frame;
}

av::Frame EncoderPictures::picture(Pixels const &pixels) {
    av::Frame result;
    if (encoder.pix_fmt == AV_PIX_FMT_PAL8) {
        copyRows(pixels, *staged);
        result = withPalette(*staged);
    } else if (result = pooled(encoder.pix_fmt); scaler == nullptr) {
        copyRows(pixels, *result);
    } else {
        copyRows(pixels, *staged);
        if (int const error = sws_scale_frame(scaler.get(), result.get(), staged.get()); error < 0)
            throw Exception("a frame can't be converted for the encoder: " + av::reason(error));
    }
    result->color_range = encoder.color_range;
    result->colorspace = encoder.colorspace;
    result->color_primaries = encoder.color_primaries;
    result->color_trc = encoder.color_trc;
    result->sample_aspect_ratio = encoder.sample_aspect_ratio;
    return result;
}

} // namespace zun::media
