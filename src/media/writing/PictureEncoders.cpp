#include "media/writing/PictureEncoders.h"

#include <cstring>

#include <turbojpeg.h>

#include "containers/Exception.h"
#include "containers/Mat.h"
#include "media/Av.h"
#include "media/writing/VideoCodecs.h"

namespace zun::media {
namespace {

[[noreturn]] void fail(std::string const &file, std::string const &why) { throw Exception("'" + file + "' " + why); }

void check(std::string const &file, int result) {
    if (result < 0) fail(file, "can't be written: " + av::reason(result));
}

av::Frame toPicture(Pixels const &pixels, AVPixelFormat format) {
    av::Frame picture = av::makeFrame(pixels.width, pixels.height, bytesFormat(pixels.channels));
    for (int row = 0; row < pixels.height; row++)
        std::memcpy(picture->data[0] + row * picture->linesize[0],
                    pixels.bytes.get() + static_cast<std::size_t>(row) * pixels.rowBytes(), pixels.rowBytes());
    return format == bytesFormat(pixels.channels) ? std::move(picture) : av::convert(*picture, format);
}

Bytes encodeBy(char const *name, std::string const &file, Pixels const &pixels, AVPixelFormat format,
               WriteSettings const &settings) {
    av::silenceLog();
    AVCodec const *const encoder = avcodec_find_encoder_by_name(name);
    if (encoder == nullptr) fail(file, "can't be written: this build of FFmpeg has no encoder " + std::string(name));
    av::Codec const codec(avcodec_alloc_context3(encoder));
    av::Packet const packet(av_packet_alloc());
    if (!codec || !packet) throw std::bad_alloc();
    codec->width = pixels.width;
    codec->height = pixels.height;
    codec->pix_fmt = format;
    codec->time_base = {1, 1};
    codec->thread_count = 1; // pictures are encoded side by side
    codec->flags |= AV_CODEC_FLAG_BITEXACT;
    av::Settings options;
    options.set("lossless", settings.lossless ? "1" : "0");
    options.set("quality", std::to_string(settings.quality));
    check(file, avcodec_open2(codec.get(), encoder, options.get()));
    av::Frame const picture = toPicture(pixels, format);
    picture->pts = 0;
    check(file, avcodec_send_frame(codec.get(), picture.get()));
    check(file, avcodec_send_frame(codec.get(), nullptr));
    check(file, avcodec_receive_packet(codec.get(), packet.get()));
    return {packet->data, packet->data + packet->size};
}

/// Its encoder takes the pixels as they are, and loses less in its own conversion.
Bytes encodeWebp(std::string const &file, Pixels const &pixels, WriteSettings const &settings) {
    constexpr int mostSide = 16383;
    if (pixels.width > mostSide || pixels.height > mostSide)
        fail(file, "can't be written: a WebP has at most 16383 rows and columns; write .png");
    return encodeBy("libwebp", file, pixels, AV_PIX_FMT_RGB32, settings);
}

Bytes encodeBmp(std::string const &file, Pixels const &pixels, WriteSettings const &settings) {
    return encodeBy("bmp", file, pixels, pixels.channels == 1 ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_BGR24, settings);
}

Bytes encodePnm(Pixels const &pixels) {
    std::string const header = (pixels.channels == 1 ? "P5\n" : "P6\n") + std::to_string(pixels.width) + " " +
                               std::to_string(pixels.height) + "\n255\n";
    Bytes bytes(header.begin(), header.end());
    bytes.insert(bytes.end(), pixels.bytes.get(),
                 pixels.bytes.get() + pixels.rowBytes() * static_cast<std::size_t>(pixels.height));
    return bytes;
}

/// A PPM holds colour: a grey picture has the grey value in all channels.
Pixels inColour(Pixels const &grey) {
    Pixels colour = grey;
    colour.channels = 3;
    std::size_t const count = grey.rowBytes() * static_cast<std::size_t>(grey.height);
    colour.bytes = MatAlloc::getGlobalMatAlloc()->getElements<unsigned char>(count * 3);
    for (std::size_t i = 0; i < count; i++) std::memset(colour.bytes.get() + 3 * i, grey.bytes.get()[i], 3);
    return colour;
}

void requireHeld(std::string const &file, PictureFormat format, Pixels const &pixels) {
    using enum PictureFormat;
    if (pixels.channels == 4 && format != Png && format != Tiff && format != Webp)
        fail(file,
             "can't be written: only .png, .tiff and .webp have an alpha channel; convert the frame to RGB first");
    if (pixels.channels != 1 && format == Pgm)
        fail(file, "can't be written: a .pgm is grey; write .ppm, or convert the frame to grey first");
}

} // namespace

Bytes encodeJpeg(std::string const &file, Pixels const &pixels, WriteSettings const &settings) {
    constexpr int fullChromaFrom = 90;
    bool const full = settings.chroma == "4:4:4" || (settings.chroma == "auto" && settings.quality >= fullChromaFrom);
    int const sampling = pixels.channels == 1 ? TJSAMP_GRAY : full ? TJSAMP_444 : TJSAMP_420;
    std::unique_ptr<void, int (*)(void *)> const compressor(tjInitCompress(), tjDestroy);
    if (compressor == nullptr) throw std::bad_alloc();
    unsigned char *bytes = nullptr;
    unsigned long size = 0;
    int const failed = tjCompress2(compressor.get(), pixels.bytes.get(), pixels.width, 0, pixels.height,
                                   pixels.channels == 1 ? TJPF_GRAY : TJPF_RGB, &bytes, &size, sampling,
                                   settings.quality, TJFLAG_ACCURATEDCT);
    std::unique_ptr<unsigned char, void (*)(unsigned char *)> const owned(bytes, tjFree);
    if (failed != 0) fail(file, std::string("can't be written: ") + tjGetErrorStr2(compressor.get()));
    return {bytes, bytes + size};
}

Bytes encodePicture(std::string const &file, PictureFormat format, Pixels const &pixels,
                    WriteSettings const &settings) {
    requireHeld(file, format, pixels);
    switch (format) {
    case PictureFormat::Png:
        return encodePng(pixels, settings.pngLevel);
    case PictureFormat::Jpeg:
        return encodeJpeg(file, pixels, settings);
    case PictureFormat::Webp:
        return encodeWebp(file, pixels, settings);
    case PictureFormat::Tiff:
        return encodeTiff(file, pixels);
    case PictureFormat::Bmp:
        return encodeBmp(file, pixels, settings);
    case PictureFormat::Ppm:
        return encodePnm(pixels.channels == 1 ? inColour(pixels) : pixels);
    default:
        return encodePnm(pixels);
    }
}

} // namespace zun::media
