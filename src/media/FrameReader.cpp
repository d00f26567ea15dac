#include "media/FrameReader.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "containers/Exception.h"
#include "media/Av.h"
#include "media/WholePicture.h"

namespace zun::media {
namespace {

[[noreturn]] void fail(std::string const &file, std::string const &why) { throw Exception("'" + file + "' " + why); }

std::uint32_t extent(int value) { return static_cast<std::uint32_t>(value); }

GreyFrame copyGrey(AVFrame const &picture) {
    GreyFrame const result({extent(picture.height), extent(picture.width)});
    for (int row = 0; row < picture.height; row++)
        std::memcpy(result.first() + std::size_t(row) * result.shape[1], picture.data[0] + row * picture.linesize[0],
                    result.shape[1]);
    return result;
}

RgbFrame copyRgb(AVFrame const &picture) {
    RgbFrame const result({extent(picture.height), extent(picture.width)});
    for (int row = 0; row < picture.height; row++)
        std::memcpy(static_cast<void *>(result.first() + std::size_t(row) * result.shape[1]),
                    picture.data[0] + row * picture.linesize[0], std::size_t(result.shape[1]) * sizeof(Vec3b));
    return result;
}

RgbFrame replicate(GreyFrame const &grey) {
    RgbFrame const result(grey.shape);
    for (std::uint32_t i = 0; i < grey.count; i++) {
        unsigned char const value = grey.first()[i];
        result.first()[i] = {value, value, value};
    }
    return result;
}

GreyFrame luma(RgbFrame const &rgb) {
    GreyFrame const result(rgb.shape);
    for (std::uint32_t i = 0; i < rgb.count; i++) {
        Vec3b const &pixel = rgb.first()[i];
        result.first()[i] =
            static_cast<unsigned char>((19595u * pixel[0] + 38470u * pixel[1] + 7471u * pixel[2] + 32768u) >> 16);
    }
    return result;
}

/// Grey with or without alpha, in any depth.
bool isGrey(AVPixelFormat format) {
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    return description->nb_components <= 2 && (description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) == 0;
}

Frames toFrames(AVFrame const &picture, WantedFrames wanted) {
    auto const format = static_cast<AVPixelFormat>(picture.format);
    Frames frames;
    if (isGrey(format)) {
        frames.grey =
            format == AV_PIX_FMT_GRAY8 ? copyGrey(picture) : copyGrey(*av::convert(picture, AV_PIX_FMT_GRAY8));
        if (wanted.rgb) frames.rgb = replicate(frames.grey);
    } else {
        frames.rgb = format == AV_PIX_FMT_RGB24 ? copyRgb(picture) : copyRgb(*av::convert(picture, AV_PIX_FMT_RGB24));
        if (wanted.grey) frames.grey = luma(frames.rgb);
    }
    if (!wanted.rgb) frames.rgb = {};
    if (!wanted.grey) frames.grey = {};
    return frames;
}

} // namespace

struct FrameReader::Implementation {
    std::string file;
    AVFormatContext *format = nullptr;
    AVStream *stream = nullptr;
    av::Codec codec;
    av::Packet packet{av_packet_alloc()};
    av::Frame picture{av_frame_alloc()};
    std::uint64_t position = 0;
    bool draining = false;

    explicit Implementation(std::string const &name) : file(name) {
        av::silenceLog();
        openFile();
        try {
            openDecoder();
        } catch (...) {
            avformat_close_input(&format);
            throw;
        }
    }
    Implementation(Implementation const &) = delete;
    Implementation &operator=(Implementation const &) = delete;
    ~Implementation() { avformat_close_input(&format); }

    void openFile() {
        std::ifstream const probe(file, std::ios::binary);
        if (!probe) fail(file, std::string("can't be opened: ") + std::strerror(errno));
        requireWholePicture(file);
        av::Settings settings;
        settings.set("protocol_whitelist", "file");
        settings.set("pattern_type", "none"); // a name is a name, whatever characters are in it
        int const error = avformat_open_input(&format, ("file:" + file).c_str(), nullptr, settings.get());
        if (error < 0) fail(file, "is not an image or video that can be read: " + av::reason(error));
    }

    void openDecoder() {
        int error = avformat_find_stream_info(format, nullptr);
        AVCodec const *decoder = nullptr;
        int const index = error < 0 ? error : av_find_best_stream(format, AVMEDIA_TYPE_VIDEO, -1, -1, &decoder, 0);
        if (index < 0) fail(file, "is not an image or video that can be read: " + av::reason(index));
        stream = format->streams[index];
        codec.reset(avcodec_alloc_context3(decoder));
        if (!codec || !packet || !picture) throw std::bad_alloc();
        avcodec_parameters_to_context(codec.get(), stream->codecpar);
        codec->thread_count = 1; // the run calls nodes side by side already
        codec->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
        codec->pkt_timebase = stream->time_base;
        error = avcodec_open2(codec.get(), decoder, nullptr);
        if (error < 0) fail(file, "can't be decoded: " + av::reason(error));
        if (stream->codecpar->width <= 0 || stream->codecpar->height <= 0)
            fail(file, "is not an image or video that can be read: it has no picture size");
    }

    bool isStill() const {
        std::string_view const name = format->iformat->name;
        return name == "image2" || name.ends_with("_pipe");
    }

    std::uint64_t frameCount() const {
        if (isStill()) return 1;
        if (stream->nb_frames > 0) return static_cast<std::uint64_t>(stream->nb_frames);
        return Implementation(file).countPackets();
    }

    std::uint64_t countPackets() {
        std::uint64_t count = 0;
        while (av_read_frame(format, packet.get()) >= 0) {
            if (packet->stream_index == stream->index && (packet->flags & AV_PKT_FLAG_DISCARD) == 0) count++;
            av_packet_unref(packet.get());
        }
        return count;
    }

    /// Decodes the next picture; false after the last.
    bool decode() {
        while (true) {
            int const got = avcodec_receive_frame(codec.get(), picture.get());
            if (got == AVERROR_EOF) return false;
            if (got >= 0) break;
            if (got != AVERROR(EAGAIN)) failToDecode(got);
            feed();
        }
        if (picture->decode_error_flags != 0 || (picture->flags & AV_FRAME_FLAG_CORRUPT) != 0)
            failToDecode(AVERROR_INVALIDDATA);
        return true;
    }

    /// Sends the decoder its next packet, or the end of the stream.
    void feed() {
        while (!draining) {
            int const read = av_read_frame(format, packet.get());
            if (read < 0 && read != AVERROR_EOF) failToDecode(read);
            if (read < 0) {
                draining = true;
                avcodec_send_packet(codec.get(), nullptr);
                return;
            }
            if (packet->stream_index != stream->index) {
                av_packet_unref(packet.get());
                continue;
            }
            int const sent = avcodec_send_packet(codec.get(), packet.get());
            av_packet_unref(packet.get());
            if (sent < 0) failToDecode(sent);
            return;
        }
    }

    [[noreturn]] void failToDecode(int error) const {
        std::string const where = isStill() ? "" : " at frame " + std::to_string(position);
        fail(file, "is damaged" + where + ": " + av::reason(error));
    }
};

bool isStillName(std::string const &file) {
    constexpr std::array<std::string_view, 10> endings{".png",  ".jpg",  ".jpeg", ".bmp", ".tif",
                                                       ".tiff", ".webp", ".pgm",  ".ppm", ".pnm"};
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

FrameReader::FrameReader(std::string const &file) : implementation(std::make_unique<Implementation>(file)) {}
FrameReader::~FrameReader() = default;

std::uint32_t FrameReader::width() const { return extent(implementation->stream->codecpar->width); }
std::uint32_t FrameReader::height() const { return extent(implementation->stream->codecpar->height); }
bool FrameReader::isStill() const { return implementation->isStill(); }
std::uint64_t FrameReader::frameCount() const { return implementation->frameCount(); }
std::uint64_t FrameReader::position() const { return implementation->position; }

bool FrameReader::next(WantedFrames wanted, Frames &frames) {
    if (!implementation->decode()) return false;
    if (wanted.rgb || wanted.grey) frames = toFrames(*implementation->picture, wanted);
    implementation->position++;
    return true;
}

} // namespace zun::media
