#include "media/Av.h"

#include <array>
#include <new>

#include "containers/Exception.h"

namespace zun::media::av {
namespace {

constexpr int hdRows = 720;

/// The formats with a "J" are the plain ones with full range.
AVPixelFormat withoutRange(AVPixelFormat format, bool &full) {
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        full = true;
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        full = true;
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        full = true;
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        full = true;
        return AV_PIX_FMT_YUV440P;
    default:
        return format;
    }
}

bool isYuv(AVPixelFormat format) {
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    return (description->flags & AV_PIX_FMT_FLAG_RGB) == 0 && description->nb_components >= 3;
}

int matrixOf(AVFrame const &frame) {
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_SMPTE170M:
    case AVCOL_SPC_BT470BG:
        return SWS_CS_ITU601;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    default:
        return frame.height < hdRows ? SWS_CS_ITU601 : SWS_CS_ITU709;
    }
}

} // namespace

std::string reason(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

Frame makeFrame(int width, int height, AVPixelFormat format) {
    Frame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    frame->width = width;
    frame->height = height;
    frame->format = format;
    if (av_frame_get_buffer(frame.get(), 64) < 0) throw std::bad_alloc();
    return frame;
}

void convertInto(AVFrame const &source, AVPixelFormat format, std::uint8_t *const *planes, int const *strides,
                 Scaler &scaler) {
    // Grey and RGB have no other range than the full one.
    bool fromFull = source.color_range == AVCOL_RANGE_JPEG, toFull = false;
    AVPixelFormat const from = withoutRange(static_cast<AVPixelFormat>(source.format), fromFull);
    AVPixelFormat const to = withoutRange(format, toFull);
    if (!isYuv(from)) fromFull = true;
    if (!isYuv(to)) toFull = true;

    int const flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;
    scaler.reset(sws_getCachedContext(scaler.release(), source.width, source.height, from, source.width, source.height,
                                      to, flags, nullptr, nullptr, nullptr));
    if (!scaler)
        throw Exception(std::string("pictures in the format ") + av_get_pix_fmt_name(from) + " can't be converted");
    int const *const matrix = sws_getCoefficients(matrixOf(source));
    constexpr int neutral = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), matrix, fromFull ? 1 : 0, matrix, toFull ? 1 : 0, 0, neutral, neutral);
    sws_scale(scaler.get(), source.data, source.linesize, 0, source.height, planes, strides);
}

Frame convert(AVFrame const &source, AVPixelFormat format) {
    Scaler scaler;
    Frame result = makeFrame(source.width, source.height, format);
    convertInto(source, format, result->data, result->linesize, scaler);
    return result;
}

void silenceLog() {
    static bool const once = [] {
        av_log_set_level(AV_LOG_QUIET);
        return true;
    }();
    static_cast<void>(once);
}

} // namespace zun::media::av
