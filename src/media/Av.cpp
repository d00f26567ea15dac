#include "media/Av.h"

#include <array>
#include <new>
#include <utility>

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

int matrixOf(AVFrame const &picture) {
    switch (picture.colorspace) {
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
        return picture.height < hdRows ? SWS_CS_ITU601 : SWS_CS_ITU709;
    }
}

bool isFullRange(AVFrame const &picture) {
    bool full = picture.color_range == AVCOL_RANGE_JPEG;
    withoutRange(static_cast<AVPixelFormat>(picture.format), full);
    return full;
}

void Conversion::prepare(Form const &wanted, unsigned threads) {
    if (scaler && form == wanted) return;
    form = wanted;
    scaler.reset(sws_alloc_context());
    if (!scaler) throw std::bad_alloc();
    std::int64_t const flags = SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT | SWS_FULL_CHR_H_INP | SWS_BITEXACT;
    std::pair<char const *, std::int64_t> const options[] = {
        {"srcw", form.width},  {"srch", form.height},   {"src_format", form.from}, {"dstw", form.width},
        {"dsth", form.height}, {"dst_format", form.to}, {"sws_flags", flags},      {"threads", threads}};
    for (auto const &[name, value] : options) av_opt_set_int(scaler.get(), name, value, 0);
    if (sws_init_context(scaler.get(), nullptr, nullptr) < 0)
        throw Exception(std::string("pictures in the format ") + av_get_pix_fmt_name(form.from) +
                        " can't be converted");
    int const *const matrix = sws_getCoefficients(form.matrix);
    constexpr int neutral = 1 << 16;
    sws_setColorspaceDetails(scaler.get(), matrix, form.fromFull ? 1 : 0, matrix, form.toFull ? 1 : 0, 0, neutral,
                             neutral);
}

void Conversion::into(AVFrame &result, AVFrame const &source, unsigned threads) {
    // Grey and RGB have no other range than the full one.
    bool fromFull = source.color_range == AVCOL_RANGE_JPEG, toFull = false;
    AVPixelFormat const from = withoutRange(static_cast<AVPixelFormat>(source.format), fromFull);
    AVPixelFormat const to = withoutRange(static_cast<AVPixelFormat>(result.format), toFull);
    if (!isYuv(from)) fromFull = true;
    if (!isYuv(to)) toFull = true;
    prepare({source.width, source.height, from, to, matrixOf(source), fromFull, toFull}, threads);
    int const error = sws_scale_frame(scaler.get(), &result, &source);
    if (error < 0) throw Exception("a picture can't be converted: " + reason(error));
}

Frame convert(AVFrame const &source, AVPixelFormat format) {
    Conversion once;
    Frame result = makeFrame(source.width, source.height, format);
    once.into(*result, source, 1);
    return result;
}

namespace {
thread_local ErrorWatch *watch = nullptr;
}

/// In place of FFmpeg's own, which prints.
void hearLog(void *context, int level, char const *, va_list) {
    constexpr int withoutColour = 0xFF;
    if (watch == nullptr || context != watch->watched || (level & withoutColour) > AV_LOG_ERROR || watch->first) return;
    AVIOContext *const io = watch->watched->pb;
    watch->first = io == nullptr ? 0 : avio_tell(io);
}

ErrorWatch::ErrorWatch(AVFormatContext const *context) : watched(context) { watch = this; }
ErrorWatch::~ErrorWatch() { watch = nullptr; }

void silenceLog() {
    static bool const once = [] {
        av_log_set_callback(hearLog);
        return true;
    }();
    static_cast<void>(once);
}

} // namespace zun::media::av
