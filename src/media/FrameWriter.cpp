#include "media/FrameWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <string_view>

#include "containers/Exception.h"
#include "media/AtomicFile.h"
#include "media/Av.h"

namespace zun::media {
namespace {

struct Format {
    std::string_view ending;
    char const *container; ///< null for a still image
    char const *lossless;  ///< encoder, or null
    char const *lossy;
};

constexpr std::array<Format, 7> formats{{{".png", nullptr, "png", nullptr},
                                         {".jpg", nullptr, nullptr, "mjpeg"},
                                         {".jpeg", nullptr, nullptr, "mjpeg"},
                                         {".mkv", "matroska", "ffv1", "libx264"},
                                         {".avi", "avi", "ffv1", nullptr},
                                         {".mp4", "mp4", "libx264rgb", "libx264"},
                                         {".mov", "mov", "libx264rgb", "libx264"}}};

Format const *formatOf(std::string const &file) {
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    auto const found =
        std::find_if(formats.begin(), formats.end(), [&](Format const &format) { return format.ending == ending; });
    return found == formats.end() ? nullptr : &*found;
}

char const *encoderName(Format const &format, WriteSettings const &settings, int channels) {
    if (format.container == nullptr) return format.lossless != nullptr ? format.lossless : format.lossy;
    if (!settings.lossless) return format.lossy;
    // H.264 takes RGB and grey by two encoders.
    return channels == 1 && std::string_view(format.lossless) == "libx264rgb" ? "libx264" : format.lossless;
}

AVPixelFormat bytesFormat(int channels) {
    return channels == 1 ? AV_PIX_FMT_GRAY8 : channels == 3 ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_RGBA;
}

AVPixelFormat encodedFormat(std::string_view encoder, Pixels const &pixels, bool lossless) {
    bool const grey = pixels.channels == 1;
    if (encoder == "mjpeg") return AV_PIX_FMT_YUVJ444P;
    if (encoder == "ffv1") return grey ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_0RGB32;
    if (encoder == "libx264" && !lossless)
        return pixels.width % 2 == 0 && pixels.height % 2 == 0 ? AV_PIX_FMT_YUV420P : AV_PIX_FMT_YUV444P;
    return bytesFormat(pixels.channels);
}

/// The pixels in a picture of the encoder's.
av::Frame toPicture(Pixels const &pixels, AVPixelFormat format) {
    av::Frame picture = av::makeFrame(pixels.width, pixels.height, bytesFormat(pixels.channels));
    for (int row = 0; row < pixels.height; row++)
        std::memcpy(picture->data[0] + row * picture->linesize[0],
                    pixels.bytes.get() + static_cast<std::size_t>(row) * pixels.rowBytes(), pixels.rowBytes());
    return format == bytesFormat(pixels.channels) ? std::move(picture) : av::convert(*picture, format);
}

[[noreturn]] void fail(std::string const &file, int error) {
    throw Exception("'" + file + "' can't be written: " + av::reason(error));
}

int check(std::string const &file, int result) {
    if (result < 0) fail(file, result);
    return result;
}

/// An encoder for such pixels, not yet open.
av::Codec makeEncoder(std::string const &file, Pixels const &pixels, WriteSettings const &settings) {
    av::silenceLog();
    if (std::string const why = whyUnsupported(file, settings); !why.empty()) throw Exception(why);
    Format const &format = *formatOf(file);
    bool const lossless = format.container == nullptr ? format.lossless != nullptr : settings.lossless;
    if (pixels.channels == 4 && format.ending != ".png")
        throw Exception("'" + file + "': only PNG files have an alpha channel; convert the frame to RGB first");
    char const *const name = encoderName(format, settings, pixels.channels);
    AVCodec const *const encoder = avcodec_find_encoder_by_name(name);
    if (encoder == nullptr)
        throw Exception("'" + file + "' can't be written: this build of FFmpeg has no encoder " + name);
    av::Codec codec(avcodec_alloc_context3(encoder));
    if (!codec) throw std::bad_alloc();
    codec->width = pixels.width;
    codec->height = pixels.height;
    codec->pix_fmt = encodedFormat(name, pixels, lossless);
    codec->thread_count = 1;
    AVRational const rate = av_d2q(static_cast<double>(settings.rate), 1 << 16);
    codec->time_base = av_inv_q(rate);
    codec->framerate = rate;
    codec->flags |= AV_CODEC_FLAG_BITEXACT;
    if (std::string_view(name) == "mjpeg") {
        // 1 is the encoder's best and 31 its worst.
        codec->flags |= AV_CODEC_FLAG_QSCALE;
        codec->global_quality = FF_QP2LAMBDA * (1 + (100 - settings.quality) * 30 / 99);
        codec->color_range = AVCOL_RANGE_JPEG;
    }
    if (std::string_view(name).starts_with("libx264")) {
        if (lossless)
            av_opt_set(codec->priv_data, "qp", "0", 0);
        else
            av_opt_set(codec->priv_data, "crf", std::to_string((100 - settings.quality) / 2).c_str(), 0);
    }
    if (codec->pix_fmt == AV_PIX_FMT_GRAY8) codec->color_range = AVCOL_RANGE_JPEG; // bytes, not video levels
    if (codec->pix_fmt == AV_PIX_FMT_YUV420P || codec->pix_fmt == AV_PIX_FMT_YUV444P) {
        codec->color_range = AVCOL_RANGE_MPEG;
        codec->colorspace = pixels.height < 720 ? AVCOL_SPC_SMPTE170M : AVCOL_SPC_BT709;
    }
    return codec;
}

} // namespace

std::string whyUnsupported(std::string const &file, WriteSettings const &settings) {
    Format const *const format = formatOf(file);
    if (format == nullptr)
        return "'" + file +
               "' doesn't end with a format that can be written: .png, .jpg, .jpeg, .mkv, .avi, .mp4 or .mov";
    if (settings.quality < leastQuality || settings.quality > mostQuality)
        return "the option quality must be from 1 to 100";
    if (format->container == nullptr) return "";
    if (!settings.lossless && format->lossy == nullptr)
        return "'" + file + "': this format can only be written without loss; for smaller files use .mp4, .mov or .mkv";
    auto const rate = static_cast<double>(settings.rate);
    bool const isRate = rate >= leastRate && rate <= mostRate; // a NaN is not
    if (!isRate) return "the option fps must be from 0.001 to 10000";
    return "";
}

bool isWrittenAsImage(std::string const &file) {
    Format const *const format = formatOf(file);
    return format != nullptr && format->container == nullptr;
}

void writeImage(std::string const &file, Pixels const &pixels, WriteSettings const &settings) {
    av::Codec const codec = makeEncoder(file, pixels, settings);
    check(file, avcodec_open2(codec.get(), codec->codec, nullptr));
    av::Frame const picture = toPicture(pixels, codec->pix_fmt);
    picture->pts = 0;
    picture->quality = codec->global_quality;
    av::Packet const packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    check(file, avcodec_send_frame(codec.get(), picture.get()));
    check(file, avcodec_send_frame(codec.get(), nullptr));
    check(file, avcodec_receive_packet(codec.get(), packet.get()));
    AtomicFile out(file);
    out.write({reinterpret_cast<char const *>(packet->data), static_cast<std::size_t>(packet->size)});
    out.commit();
}

struct VideoWriter::Implementation {
    std::string file, temporary;
    Pixels form; ///< size and channels
    av::Codec codec;
    av::Packet packet{av_packet_alloc()};
    AVFormatContext *format = nullptr;
    AVStream *stream = nullptr;
    std::int64_t frames = 0;

    Implementation(std::string const &name, Pixels const &first, WriteSettings const &settings)
        : file(name), temporary(AtomicFile::temporaryName(name)), form(first),
          codec(makeEncoder(name, first, settings)) {
        form.bytes.reset();
        try {
            open();
        } catch (...) {
            abandon();
            throw;
        }
    }
    Implementation(Implementation const &) = delete;
    Implementation &operator=(Implementation const &) = delete;
    ~Implementation() { abandon(); }

    void open() {
        check(file, avformat_alloc_output_context2(&format, nullptr, formatOf(file)->container, temporary.c_str()));
        format->flags |= AVFMT_FLAG_BITEXACT;
        if ((format->oformat->flags & AVFMT_GLOBALHEADER) != 0) codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
        stream = avformat_new_stream(format, nullptr);
        if (stream == nullptr || !packet) throw std::bad_alloc();
        check(file, avcodec_open2(codec.get(), codec->codec, nullptr));
        check(file, avcodec_parameters_from_context(stream->codecpar, codec.get()));
        stream->time_base = codec->time_base;
        stream->avg_frame_rate = codec->framerate;
        check(file, avio_open(&format->pb, ("file:" + temporary).c_str(), AVIO_FLAG_WRITE));
        check(file, avformat_write_header(format, nullptr));
    }

    /// Encodes a picture, or with null what the encoder still holds.
    void encode(AVFrame const *picture) {
        check(file, avcodec_send_frame(codec.get(), picture));
        while (true) {
            int const got = avcodec_receive_packet(codec.get(), packet.get());
            if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
            check(file, got);
            packet->stream_index = stream->index;
            av_packet_rescale_ts(packet.get(), codec->time_base, stream->time_base);
            check(file, av_interleaved_write_frame(format, packet.get()));
            checkDisk();
        }
    }

    /// What is written late fails late, so the buffer is emptied before the result is asked for.
    void checkDisk() {
        avio_flush(format->pb);
        check(file, format->pb->error);
    }

    /// What can't be completed, on a full disk, is left under its temporary name: most players show it.
    void finish() {
        try {
            encode(nullptr);
            check(file, av_write_trailer(format));
            checkDisk();
            check(file, avio_closep(&format->pb));
        } catch (Exception const &error) {
            close();
            throw Exception(std::string(error.what()) + "; what was encoded is in '" + temporary + "'");
        }
        close();
        moveIntoPlace(temporary, file);
    }

    /// Closes the file and removes it.
    void abandon() {
        if (format == nullptr) return;
        close();
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
    }

    void close() {
        avio_closep(&format->pb);
        avformat_free_context(std::exchange(format, nullptr));
    }
};

VideoWriter::VideoWriter(std::string const &file, Pixels const &first, WriteSettings const &settings)
    : implementation(std::make_unique<Implementation>(file, first, settings)) {}
VideoWriter::~VideoWriter() = default;

void VideoWriter::write(Pixels const &pixels) {
    Implementation &video = *implementation;
    auto const describe = [](Pixels const &p) {
        return std::to_string(p.height) + " rows, " + std::to_string(p.width) + " columns and " +
               std::to_string(p.channels) + (p.channels == 1 ? " channel" : " channels");
    };
    if (!pixels.sameForm(video.form))
        throw Exception("'" + video.file + "': this frame has " + describe(pixels) +
                        ", but the video began with frames of " + describe(video.form));
    av::Frame const picture = toPicture(pixels, video.codec->pix_fmt);
    picture->pts = video.frames++;
    video.encode(picture.get());
}

void VideoWriter::finish() { implementation->finish(); }

} // namespace zun::media
