#include "media/writing/VideoCodecs.h"

#include <algorithm>
#include <array>

#include "containers/Exception.h"
#include "media/Host.h"

namespace zun::media {
namespace {

constexpr int hdRows = 720; ///< from here on BT.709 is the usual matrix
constexpr int slowRate = 20;

enum class Loss { Always, Never, ByChoice };

struct VideoCodec {
    std::string_view name;
    AVCodecID id;
    char const *encoder;
    Loss loss;
    AVPixelFormat usual;                   ///< with loss
    AVPixelFormat odd;                     ///< with loss, for odd numbers of rows or columns
    AVPixelFormat grey, rgb, rgba;         ///< without loss
    AVPixelFormat alpha = AV_PIX_FMT_NONE; ///< with loss
};

constexpr AVPixelFormat none = AV_PIX_FMT_NONE, subsampled = AV_PIX_FMT_YUV420P, full = AV_PIX_FMT_YUV444P;

constexpr std::array<VideoCodec, 9> codecs{{
    {"h264", AV_CODEC_ID_H264, "libx264", Loss::ByChoice, subsampled, full, AV_PIX_FMT_GRAY8, AV_PIX_FMT_RGB24, none},
    {"h265", AV_CODEC_ID_HEVC, "libx265", Loss::ByChoice, subsampled, full, AV_PIX_FMT_GRAY8, AV_PIX_FMT_GBRP, none},
    {"vp9", AV_CODEC_ID_VP9, "libvpx-vp9", Loss::ByChoice, subsampled, subsampled, AV_PIX_FMT_GBRP, AV_PIX_FMT_GBRP,
     none},
    {"av1", AV_CODEC_ID_AV1, "libaom-av1", Loss::Always, subsampled, subsampled, none, none, none},
    {"ffv1", AV_CODEC_ID_FFV1, "ffv1", Loss::Never, none, none, AV_PIX_FMT_GRAY8, AV_PIX_FMT_0RGB32, AV_PIX_FMT_RGB32},
    {"prores", AV_CODEC_ID_PRORES, "prores_ks", Loss::Always, AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV422P10, none, none,
     none, AV_PIX_FMT_YUVA444P10},
    {"mjpeg", AV_CODEC_ID_MJPEG, "mjpeg", Loss::Always, AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUVJ444P, none, none, none},
    {"rawvideo", AV_CODEC_ID_RAWVIDEO, "rawvideo", Loss::Never, subsampled, full, AV_PIX_FMT_GRAY8, AV_PIX_FMT_RGB24,
     AV_PIX_FMT_RGBA},
    {"png", AV_CODEC_ID_PNG, "png", Loss::Never, none, none, AV_PIX_FMT_GRAY8, AV_PIX_FMT_RGB24, AV_PIX_FMT_RGBA},
}};

/// Of the format GIF alone, and not to be chosen by name.
constexpr VideoCodec gif{"gif", AV_CODEC_ID_GIF, "gif", Loss::Always, AV_PIX_FMT_PAL8, AV_PIX_FMT_PAL8, none, none,
                         none};

/// The encoders of VP9 and AV1 take a number for each.
struct Preset {
    char const *name;
    char const *vp9;
    char const *av1;
};

constexpr std::array<Preset, 9> presets{{{"ultrafast", "8", "8"},
                                         {"superfast", "7", "8"},
                                         {"veryfast", "6", "8"},
                                         {"faster", "5", "7"},
                                         {"fast", "4", "6"},
                                         {"medium", "3", "5"},
                                         {"slow", "2", "4"},
                                         {"slower", "1", "3"},
                                         {"veryslow", "0", "2"}}};

std::string_view codecName(OutputFormat const &format, WriteSettings const &settings) {
    if (settings.codec != "auto") return settings.codec;
    return settings.lossless ? format.losslessCodec : format.codec;
}

VideoCodec const *codecOf(OutputFormat const &format, WriteSettings const &settings) {
    std::string_view const name = codecName(format, settings);
    if (name == gif.name) return &gif;
    auto const found = std::find_if(codecs.begin(), codecs.end(), [&](VideoCodec const &c) { return c.name == name; });
    return found == codecs.end() ? nullptr : &*found;
}

bool takes(OutputFormat const &format, VideoCodec const &codec) {
    std::string_view const muxer = format.muxer;
    if (muxer == "gif") return codec.name == "gif";
    if (muxer == "yuv4mpegpipe" || muxer == "rawvideo") return codec.name == "rawvideo";
    if (muxer == "image2pipe") return codec.name == "png" || codec.name == "mjpeg";
    if (muxer == "mpegts") return codec.name == "h264" || codec.name == "h265";
    return avformat_query_codec(av_guess_format(format.muxer, nullptr, nullptr), codec.id, FF_COMPLIANCE_NORMAL) == 1;
}

bool isLossless(OutputFormat const &format, VideoCodec const &codec, WriteSettings const &settings) {
    return (settings.lossless || codec.loss == Loss::Never) && !format.losslessCodec.empty();
}

/// H.264 takes RGB by an encoder of its own, and the writer of Y4M takes frames.
char const *encoderName(OutputFormat const &format, VideoCodec const &codec, AVPixelFormat pixels) {
    if (format.name == "y4m") return "wrapped_avframe";
    return codec.id == AV_CODEC_ID_H264 && pixels == AV_PIX_FMT_RGB24 ? "libx264rgb" : codec.encoder;
}

AVCodec const *encoderFor(std::string const &file, OutputFormat const &format, VideoCodec const &codec,
                          AVPixelFormat pixels) {
    char const *const name = encoderName(format, codec, pixels);
    AVCodec const *const encoder = avcodec_find_encoder_by_name(name);
    if (encoder == nullptr)
        throw Exception("'" + file + "' can't be written: this build of FFmpeg has no encoder " + name);
    return encoder;
}

std::string whyNotPixelFormat(AVCodec const &encoder, WriteSettings const &settings) {
    AVPixelFormat const wanted = av_get_pix_fmt(settings.pixelFormat.c_str());
    std::vector<std::string> known;
    for (AVPixelFormat const *one = encoder.pix_fmts; one != nullptr && *one != none; one++) {
        if (*one == wanted) return "";
        known.emplace_back(av_get_pix_fmt_name(*one));
    }
    if (encoder.pix_fmts == nullptr && wanted != none) return ""; // raw video takes them all
    return "the option pixelFormat can't be '" + settings.pixelFormat + "'" +
           (known.empty() ? "" : ": this encoder takes " + alternatives(known));
}

AVPixelFormat encodedFormat(OutputFormat const &format, VideoCodec const &codec, WriteSettings const &settings,
                            Pixels const &frames) {
    if (!settings.pixelFormat.empty()) return av_get_pix_fmt(settings.pixelFormat.c_str());
    if (isLossless(format, codec, settings))
        return frames.channels == 1 ? codec.grey : frames.channels == 3 ? codec.rgb : codec.rgba;
    if (frames.channels == 4) return codec.alpha;
    if (frames.channels == 1 && (format.name == "y4m" || format.name == "gif")) return AV_PIX_FMT_GRAY8;
    bool const even = frames.width % 2 == 0 && frames.height % 2 == 0;
    bool const fullChroma = codec.id == AV_CODEC_ID_MJPEG &&
                            (settings.chroma == "4:4:4" || (settings.chroma == "auto" && settings.quality >= 90));
    return even && !fullChroma ? codec.usual : codec.odd;
}

[[noreturn]] void failOfAlpha(std::string const &file) {
    throw Exception("'" + file +
                    "': frames with an alpha channel can be written to .png, .webp and .tiff, and to videos with "
                    "codec ffv1, png or prores; convert the frame to RGB first");
}

/// Other players don't show it, so it is said.
void warnOfOddSize(std::string const &file, Pixels const &frames) {
    warnOnce("'" + file + "': frames of " + std::to_string(frames.height) + " rows and " +
             std::to_string(frames.width) +
             " columns can't be 4:2:0, which takes even numbers only, so the video is 4:4:4, which some players don't "
             "show; crop or resize the frames to even sizes");
}

void setColour(AVCodecContext &codec, VideoForm const &form) {
    AVPixFmtDescriptor const &pixels = *av_pix_fmt_desc_get(codec.pix_fmt);
    codec.color_primaries = form.primaries;
    codec.color_trc = form.transfer;
    bool const fullRange = std::string_view(pixels.name).starts_with("yuvj");
    if (pixels.nb_components == 1) {
        codec.color_range = AVCOL_RANGE_JPEG; // bytes, not video levels
    } else if ((pixels.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) == 0) {
        codec.color_range = fullRange ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
        codec.colorspace = fullRange || codec.height < hdRows ? AVCOL_SPC_SMPTE170M : AVCOL_SPC_BT709;
    }
}

void setH264(av::Settings &options, AVCodecContext const &codec, WriteSettings const &settings, VideoForm const &form) {
    options.set("preset", settings.preset);
    if (settings.lossless)
        options.set("qp", "0");
    else if (codec.bit_rate == 0)
        options.set("crf", std::to_string(settings.crf));
    // The stream then states the frame rate, and not the unit of the times.
    if (form.even) options.set("x264-params", "force-cfr=1");
}

void setH265(av::Settings &options, AVCodecContext const &codec, WriteSettings const &settings) {
    options.set("preset", settings.preset);
    std::string params = "log-level=none:pools=" + std::to_string(codec.thread_count);
    if (settings.lossless)
        params += ":lossless=1";
    else if (codec.bit_rate == 0)
        options.set("crf", std::to_string(settings.crf));
    options.set("x265-params", params);
}

void setVp9OrAv1(av::Settings &options, AVCodecContext const &codec, WriteSettings const &settings) {
    bool const vp9 = codec.codec_id == AV_CODEC_ID_VP9;
    auto const *const preset =
        std::find_if(presets.begin(), presets.end(), [&](Preset const &one) { return settings.preset == one.name; });
    options.set("cpu-used", vp9 ? preset->vp9 : preset->av1);
    options.set("row-mt", "1");
    if (vp9 && settings.lossless)
        options.set("lossless", "1");
    else if (codec.bit_rate == 0)
        options.set("crf", std::to_string(settings.crf));
}

/// Its slices are what its threads share.
void setFfv1(av::Settings &options, AVCodecContext &codec) {
    constexpr int slices = 16, leastSide = 64;
    codec.level = 3;
    if (codec.width >= leastSide && codec.height >= leastSide) codec.slices = slices;
    options.set("slicecrc", "1");
}

void setMjpeg(AVCodecContext &codec, WriteSettings const &settings) {
    // 1 is the encoder's best and 31 its worst.
    codec.flags |= AV_CODEC_FLAG_QSCALE;
    codec.global_quality = FF_QP2LAMBDA * (1 + (mostQuality - settings.quality) * 30 / (mostQuality - leastQuality));
}

void setOptions(av::Settings &options, AVCodecContext &codec, WriteSettings const &settings, VideoForm const &form) {
    codec.bit_rate = std::int64_t(settings.bitRate) * 1000;
    switch (codec.codec_id) {
    case AV_CODEC_ID_H264:
        return setH264(options, codec, settings, form);
    case AV_CODEC_ID_HEVC:
        return setH265(options, codec, settings);
    case AV_CODEC_ID_VP9:
    case AV_CODEC_ID_AV1:
        return setVp9OrAv1(options, codec, settings);
    case AV_CODEC_ID_FFV1:
        return setFfv1(options, codec);
    case AV_CODEC_ID_MJPEG:
        return setMjpeg(codec, settings);
    default:
        return;
    }
}

} // namespace

std::vector<std::string> codecNames() {
    std::vector<std::string> names{"auto"};
    for (VideoCodec const &codec : codecs) names.emplace_back(codec.name);
    return names;
}

std::vector<std::string> presetNames() {
    std::vector<std::string> names;
    for (Preset const &preset : presets) names.emplace_back(preset.name);
    return names;
}

AVPixelFormat bytesFormat(int channels) {
    return channels == 1 ? AV_PIX_FMT_GRAY8 : channels == 3 ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_RGBA;
}

std::string whyNotEncoded(std::string const &file, OutputFormat const &format, WriteSettings const &settings) {
    VideoCodec const *const codec = codecOf(format, settings);
    bool const noLossless = settings.lossless && (format.losslessCodec.empty() || codec->loss == Loss::Always);
    if (codec == nullptr || noLossless)
        return "'" + file +
               "': " + std::string(codec == nullptr || settings.codec == "auto" ? format.name : codec->name) +
               " has no form without loss; use .mkv, .mp4 or .mov with codec auto";
    if (!takes(format, *codec)) {
        std::vector<std::string> taken;
        for (VideoCodec const &other : codecs)
            if (takes(format, other)) taken.emplace_back(other.name);
        return "'" + file + "': the container " + std::string(format.name) + " doesn't take codec " +
               std::string(codec->name) + (taken.empty() ? "" : "; it takes " + alternatives(taken));
    }
    try {
        bool const rgb = isLossless(format, *codec, settings) && settings.pixelFormat.empty();
        AVCodec const *const encoder = encoderFor(file, format, *codec, rgb ? codec->rgb : codec->usual);
        return settings.pixelFormat.empty() ? "" : whyNotPixelFormat(*encoder, settings);
    } catch (Exception const &error) {
        return error.what();
    }
}

av::Codec openEncoder(std::string const &file, OutputFormat const &format, WriteSettings const &settings,
                      VideoForm const &form) {
    av::silenceLog();
    VideoCodec const &chosen = *codecOf(format, settings);
    AVPixelFormat const pixels = encodedFormat(format, chosen, settings, form.frames);
    if (pixels == none) failOfAlpha(file);
    AVCodec const *const encoder = encoderFor(file, format, chosen, pixels);
    av::Codec codec(avcodec_alloc_context3(encoder));
    if (!codec) throw std::bad_alloc();
    codec->width = form.frames.width;
    codec->height = form.frames.height;
    codec->pix_fmt = pixels;
    codec->time_base = form.timeBase;
    codec->framerate = form.rate;
    codec->sample_aspect_ratio = form.pixelAspect;
    codec->thread_count = settings.threads != 0 ? settings.threads : static_cast<int>(hostSettings().threadBudget());
    codec->flags |= AV_CODEC_FLAG_BITEXACT;
    if ((av_guess_format(format.muxer, nullptr, nullptr)->flags & AVFMT_GLOBALHEADER) != 0)
        codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    // The packets of an AVI have no times of their own; and MP4 states how long a frame lasts only where frames are
    // stored in the order in which they are shown, which shows in an animation.
    if (format.name == "avi" || (!form.even && av_q2d(form.rate) < slowRate)) codec->max_b_frames = 0;
    if (chosen.id == AV_CODEC_ID_HEVC && format.trimsSound) codec->codec_tag = MKTAG('h', 'v', 'c', '1');
    setColour(*codec, form);
    av::Settings options;
    setOptions(options, *codec, settings, form);
    if (pixels == full && chosen.odd == full && chosen.usual == subsampled && settings.pixelFormat.empty())
        warnOfOddSize(file, form.frames);
    if (int const error = avcodec_open2(codec.get(), encoder, options.get()); error < 0)
        throw Exception("'" + file + "' can't be written: the encoder " + encoder->name + " refuses frames of " +
                        std::to_string(form.frames.height) + " rows and " + std::to_string(form.frames.width) +
                        " columns in " + av_get_pix_fmt_name(pixels) + " with these settings: " + av::reason(error));
    return codec;
}

} // namespace zun::media
