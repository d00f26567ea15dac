// Single pictures by FFmpeg: the whole file is one packet.

#include <array>
#include <string_view>
#include <utility>

#include "containers/Exception.h"
#include "media/reading/Conversion.h"
#include "media/reading/Decoder.h"
#include "media/reading/WholePicture.h"

namespace zun::media {
namespace {

/// The codec of a format that FFmpeg calls "png_pipe" and the like.
AVCodecID codecOf(std::string_view format) {
    if (format == "j2k_pipe") return AV_CODEC_ID_JPEG2000;
    if (format == "jpeg_pipe") return AV_CODEC_ID_MJPEG;
    format.remove_suffix(std::string_view("_pipe").size());
    AVCodecDescriptor const *const description = avcodec_descriptor_get_by_name(std::string(format).c_str());
    return description == nullptr ? AV_CODEC_ID_NONE : description->id;
}

class PictureDecoder final : public Decoder {
    std::string path;
    Source input;
    AVCodecID codec;
    Converter converter;
    av::Frame picture; ///< decoded ahead where only that tells the size
    bool done = false;

public:
    PictureDecoder(Source opened, AVCodecID codecId) : path(opened->path()), input(std::move(opened)), codec(codecId) {
        count = 1;
        if (codec == AV_CODEC_ID_PNG) {
            readPngFacts();
        } else {
            decode();
            auto const format = static_cast<AVPixelFormat>(picture->format);
            describe(picture->width, picture->height, bitsOf(format), hasAlpha(format));
            leftOut = leftOutOf(format, info.alpha);
        }
    }

    bool next(WantedFrames wanted, Frames &frames) override {
        if (std::exchange(done, true)) return false;
        if (!picture) decode();
        try {
            frames = converter.toFrames(*picture, wanted);
        } catch (Exception const &error) {
            throw Exception("'" + path + "' " + error.what());
        }
        return true;
    }

private:
    [[noreturn]] void fail(std::string const &why) const { throw Exception("'" + path + "' " + why); }

    bool hasAlpha(AVPixelFormat format) const {
        constexpr std::uint64_t palette = AV_PIX_FMT_FLAG_PAL, alpha = AV_PIX_FMT_FLAG_ALPHA;
        std::uint64_t const flags = av_pix_fmt_desc_get(format)->flags;
        return (flags & alpha) != 0 && (flags & palette) == 0;
    }

    void describe(int columns, int rows, int bits, bool alpha) {
        width = static_cast<std::uint32_t>(columns);
        height = static_cast<std::uint32_t>(rows);
        info.bitDepth = bits;
        info.alpha = alpha;
    }

    void readPngFacts() {
        PngFacts const facts = pngFacts(*input);
        if (!facts.whole) fail("is cut short: the PNG file ends before its picture does");
        if (!facts.sound) fail("is damaged: its header states a picture without a size");
        describe(static_cast<int>(facts.width), static_cast<int>(facts.height), facts.bitDepth, facts.alpha);
        orientation = facts.orientation;
        if (facts.alpha) leftOut.emplace_back("has an alpha channel, which is left out");
        if (facts.bitDepth > 8) leftOut.emplace_back("has 16 bits a channel, of which the frames keep 8");
    }

    void decode() {
        std::string const bytes = std::exchange(input, nullptr)->all();
        if (codec == AV_CODEC_ID_WEBP) {
            if (isAnimatedWebp(bytes)) fail("is an animated WebP file, which can't be read: convert it to GIF or PNG");
            orientation = orientationOfWebp(bytes);
        }
        av::Codec const context(avcodec_alloc_context3(avcodec_find_decoder(codec)));
        av::Packet const packet(av_packet_alloc());
        picture.reset(av_frame_alloc());
        if (!context || !packet || !picture || bytes.size() > std::size_t(INT_MAX) - AV_INPUT_BUFFER_PADDING_SIZE ||
            av_new_packet(packet.get(), static_cast<int>(bytes.size())) < 0)
            throw std::bad_alloc();
        bytes.copy(reinterpret_cast<char *>(packet->data), bytes.size());
        context->thread_count = 1; // pictures are decoded side by side
        context->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
        int error = avcodec_open2(context.get(), nullptr, nullptr);
        if (error < 0) fail("can't be decoded: " + av::reason(error));
        error = avcodec_send_packet(context.get(), packet.get());
        if (error >= 0) error = avcodec_send_packet(context.get(), nullptr);
        if (error >= 0) error = avcodec_receive_frame(context.get(), picture.get());
        if (error >= 0 && (picture->decode_error_flags != 0 || (picture->flags & AV_FRAME_FLAG_CORRUPT) != 0))
            error = AVERROR_INVALIDDATA;
        if (error < 0) fail("is damaged: " + av::reason(error == AVERROR_EOF ? AVERROR_INVALIDDATA : error));
    }
};

} // namespace

std::unique_ptr<Decoder> openPicture(Source &input) {
    constexpr std::size_t probed = 4096;
    std::string head = input->head(probed);
    int const length = static_cast<int>(head.size());
    head.resize(head.size() + AVPROBE_PADDING_SIZE, '\0');
    AVProbeData data{};
    data.filename = "";
    data.buf = reinterpret_cast<unsigned char *>(head.data());
    data.buf_size = length;
    int score = 0;
    AVInputFormat const *const format = av_probe_input_format3(&data, 1, &score);
    AVCodecID codec = AV_CODEC_ID_NONE;
    if (format != nullptr && std::string_view(format->name).ends_with("_pipe")) codec = codecOf(format->name);
    if (std::string_view const pnm = pnmName({head.data(), static_cast<std::size_t>(length)}); !pnm.empty())
        codec = avcodec_descriptor_get_by_name(std::string(pnm).c_str())->id;
    if (input->path().ends_with(".tga") && score < AVPROBE_SCORE_EXTENSION) codec = AV_CODEC_ID_TARGA;
    if (codec == AV_CODEC_ID_NONE || avcodec_find_decoder(codec) == nullptr) return nullptr;
    return std::make_unique<PictureDecoder>(std::move(input), codec);
}

} // namespace zun::media
