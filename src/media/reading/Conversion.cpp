#include "media/reading/Conversion.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <utility>
#include <vector>

#include "containers/Exception.h"
#include "media/reading/Decoder.h"

namespace zun::media {
namespace {

constexpr std::uint32_t byteRange = 255, wordRange = 65535;

std::uint32_t extent(int value) { return static_cast<std::uint32_t>(value); }

Shape<2> shapeOf(AVFrame const &picture) { return {extent(picture.height), extent(picture.width)}; }

AVPixelFormat formatOf(AVFrame const &picture) { return static_cast<AVPixelFormat>(picture.format); }

unsigned char const *rowOf(AVFrame const &picture, std::uint32_t row, int plane = 0) {
    return picture.data[plane] + static_cast<std::ptrdiff_t>(row) * picture.linesize[plane];
}

unsigned char toByte(std::uint32_t value, std::uint32_t range) {
    return static_cast<unsigned char>((value * byteRange + range / 2) / range);
}

/// Bytes side by side, `step` to a pixel: takes the ones at `places`.
template <std::size_t channels>
void pickBytes(AVFrame const &picture, unsigned char *to, std::size_t step, std::array<std::size_t, channels> places) {
    for (std::uint32_t row = 0; row < extent(picture.height); row++) {
        unsigned char const *from = rowOf(picture, row);
        if (step == channels && places[0] == 0) {
            std::memcpy(to, from, step * extent(picture.width));
            to += step * extent(picture.width);
            continue;
        }
        for (std::uint32_t column = 0; column < extent(picture.width); column++, from += step, to += channels)
            for (std::size_t i = 0; i < channels; i++) to[i] = from[places[i]];
    }
}

/// The same for numbers of 16 bits, the higher byte at `high` of the two.
template <std::size_t channels>
void pickWords(AVFrame const &picture, unsigned char *to, std::size_t step, std::size_t high) {
    for (std::uint32_t row = 0; row < extent(picture.height); row++) {
        unsigned char const *from = rowOf(picture, row);
        for (std::uint32_t column = 0; column < extent(picture.width); column++, from += step, to += channels)
            for (std::size_t i = 0; i < channels; i++)
                to[i] = toByte(std::uint32_t(from[2 * i + high]) << 8 | from[2 * i + 1 - high], wordRange);
    }
}

void lookUp(AVFrame const &picture, unsigned char *to) {
    constexpr std::size_t entry = 4; // bytes: a number of 32 bits, alpha highest
    for (std::uint32_t row = 0; row < extent(picture.height); row++) {
        unsigned char const *const from = rowOf(picture, row);
        for (std::uint32_t column = 0; column < extent(picture.width); column++, to += 3) {
            std::uint32_t colour = 0;
            std::memcpy(&colour, picture.data[1] + entry * from[column], entry);
            to[0] = static_cast<unsigned char>(colour >> 16);
            to[1] = static_cast<unsigned char>(colour >> 8);
            to[2] = static_cast<unsigned char>(colour);
        }
    }
}

/// Any format whose channels are grey or RGB, one row and channel after the other.
void readChannels(AVFrame const &picture, int channels, unsigned char *to) {
    AVPixelFormat const format = formatOf(picture);
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    std::uint32_t const range = (1u << description->comp[0].depth) - 1;
    std::vector<std::uint32_t> line(extent(picture.width));
    auto const planes = const_cast<std::uint8_t const **>(picture.data);
    for (int row = 0; row < picture.height; row++)
        for (int channel = 0; channel < channels; channel++) {
            av_read_image_line2(line.data(), planes, picture.linesize, description, 0, row, channel, picture.width, 0,
                                sizeof(std::uint32_t));
            unsigned char *out = to + std::size_t(row) * line.size() * extent(channels) + channel;
            for (std::uint32_t value : line) {
                *out = toByte(format == AV_PIX_FMT_MONOWHITE ? range - value : value, range);
                out += channels;
            }
        }
}

void readGrey(AVFrame const &picture, unsigned char *to) {
    switch (formatOf(picture)) {
    case AV_PIX_FMT_GRAY8:
        return pickBytes<1>(picture, to, 1, {0});
    case AV_PIX_FMT_YA8:
        return pickBytes<1>(picture, to, 2, {0});
    case AV_PIX_FMT_GRAY16LE:
        return pickWords<1>(picture, to, 2, 1);
    case AV_PIX_FMT_GRAY16BE:
        return pickWords<1>(picture, to, 2, 0);
    case AV_PIX_FMT_YA16LE:
        return pickWords<1>(picture, to, 4, 1);
    case AV_PIX_FMT_YA16BE:
        return pickWords<1>(picture, to, 4, 0);
    default:
        readChannels(picture, 1, to);
    }
}

void readRgb(AVFrame const &picture, unsigned char *to) {
    switch (formatOf(picture)) {
    case AV_PIX_FMT_RGB24:
        return pickBytes<3>(picture, to, 3, {0, 1, 2});
    case AV_PIX_FMT_BGR24:
        return pickBytes<3>(picture, to, 3, {2, 1, 0});
    case AV_PIX_FMT_RGBA:
    case AV_PIX_FMT_RGB0:
        return pickBytes<3>(picture, to, 4, {0, 1, 2});
    case AV_PIX_FMT_BGRA:
    case AV_PIX_FMT_BGR0:
        return pickBytes<3>(picture, to, 4, {2, 1, 0});
    case AV_PIX_FMT_ARGB:
    case AV_PIX_FMT_0RGB:
        return pickBytes<3>(picture, to, 4, {1, 2, 3});
    case AV_PIX_FMT_RGB48LE:
        return pickWords<3>(picture, to, 6, 1);
    case AV_PIX_FMT_RGB48BE:
        return pickWords<3>(picture, to, 6, 0);
    case AV_PIX_FMT_RGBA64LE:
        return pickWords<3>(picture, to, 8, 1);
    case AV_PIX_FMT_RGBA64BE:
        return pickWords<3>(picture, to, 8, 0);
    case AV_PIX_FMT_PAL8:
        return lookUp(picture, to);
    default:
        readChannels(picture, 3, to);
    }
}

/// Four pixels at a time, as three words.
void interleave(unsigned char const *red, unsigned char const *green, unsigned char const *blue, unsigned char *to,
                std::size_t count) {
    std::size_t i = 0;
    if constexpr (std::endian::native == std::endian::little)
        for (; i + 4 <= count; i += 4, to += 12) {
            auto const word = [](std::uint32_t a, std::uint32_t b, std::uint32_t c, std::uint32_t d) {
                return a | b << 8 | c << 16 | d << 24;
            };
            std::array<std::uint32_t, 3> const words{word(red[i], green[i], blue[i], red[i + 1]),
                                                     word(green[i + 1], blue[i + 1], red[i + 2], green[i + 2]),
                                                     word(blue[i + 2], red[i + 3], green[i + 3], blue[i + 3])};
            std::memcpy(to, words.data(), sizeof words);
        }
    for (; i < count; i++, to += 3) to[0] = red[i], to[1] = green[i], to[2] = blue[i];
}

bool hasChannels(AVPixelFormat format) {
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    return (description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0 || description->nb_components <= 2;
}

void requireIntegers(AVPixelFormat format) {
    constexpr int mostBits = 16;
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    constexpr auto unreadable = AV_PIX_FMT_FLAG_FLOAT | AV_PIX_FMT_FLAG_HWACCEL | AV_PIX_FMT_FLAG_BAYER;
    if ((description->flags & AV_PIX_FMT_FLAG_FLOAT) != 0 || description->comp[0].depth > mostBits)
        throw Exception("holds floating-point numbers, which can't be read as bytes: convert it to 16 bits first");
    if ((description->flags & unreadable) != 0)
        throw Exception(std::string("holds pictures in the format ") + description->name + ", which can't be read");
}

} // namespace

bool isGreyFormat(AVPixelFormat format) {
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    return description->nb_components <= 2 && (description->flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) == 0;
}

int bitsOf(AVPixelFormat format) {
    AVPixFmtDescriptor const *const description = av_pix_fmt_desc_get(format);
    return description == nullptr ? 0 : description->comp[0].depth;
}

std::vector<std::string> leftOutOf(AVPixelFormat format, bool alpha) {
    constexpr int kept = 8;
    std::vector<std::string> what;
    if (alpha) what.emplace_back("has an alpha channel, which is left out");
    if (bitsOf(format) > kept)
        what.push_back("has " + std::to_string(bitsOf(format)) + " bits a channel, of which the frames keep 8");
    return what;
}

GreyFrame luma(RgbFrame const &rgb) {
    GreyFrame const result(rgb.shape);
    Vec3b const *const from = rgb.first();
    unsigned char *const to = result.first();
    for (std::uint32_t i = 0; i < rgb.count; i++)
        to[i] =
            static_cast<unsigned char>((19595u * from[i][0] + 38470u * from[i][1] + 7471u * from[i][2] + 32768u) >> 16);
    return result;
}

RgbFrame replicate(GreyFrame const &grey) {
    RgbFrame const result(grey.shape);
    unsigned char const *const from = grey.first();
    Vec3b *const to = result.first();
    for (std::uint32_t i = 0; i < grey.count; i++) to[i] = {from[i], from[i], from[i]};
    return result;
}

Frames framesOf(RgbFrame rgb, WantedFrames wanted) {
    Frames frames;
    if (wanted.grey) frames.grey = luma(rgb);
    if (wanted.rgb) frames.rgb = std::move(rgb);
    return frames;
}

Frames framesOf(GreyFrame grey, WantedFrames wanted) {
    Frames frames;
    if (wanted.rgb) frames.rgb = replicate(grey);
    if (wanted.grey) frames.grey = std::move(grey);
    return frames;
}

Frames Converter::toFrames(AVFrame const &picture, WantedFrames wanted) {
    AVPixelFormat const format = formatOf(picture);
    requireIntegers(format);
    if (isGreyFormat(format)) {
        GreyFrame grey(shapeOf(picture));
        readGrey(picture, grey.first());
        return framesOf(std::move(grey), wanted);
    }
    if (!hasChannels(format)) return framesOf(fromYuv(picture), wanted);
    RgbFrame rgb(shapeOf(picture));
    readRgb(picture, reinterpret_cast<unsigned char *>(rgb.first()));
    return framesOf(std::move(rgb), wanted);
}

RgbFrame Converter::fromYuv(AVFrame const &picture) {
    if (YuvToRgb::takes(picture)) {
        RgbFrame const rgb(shapeOf(picture));
        direct.convert(picture, reinterpret_cast<unsigned char *>(rgb.first()));
        return rgb;
    }
    // To planes, as FFmpeg does that several times as fast as to pixels, with the same result.
    if (!planes || planes->width != picture.width || planes->height != picture.height)
        planes = av::makeFrame(picture.width, picture.height, AV_PIX_FMT_GBRP);
    conversion.into(*planes, picture, threads);
    RgbFrame const rgb(shapeOf(picture));
    for (std::uint32_t row = 0; row < rgb.shape[0]; row++) {
        unsigned char const *const green = rowOf(*planes, row, 0), *const blue = rowOf(*planes, row, 1),
                                   *const red = rowOf(*planes, row, 2);
        interleave(red, green, blue, reinterpret_cast<unsigned char *>(rgb.first() + std::size_t(row) * rgb.shape[1]),
                   rgb.shape[1]);
    }
    return rgb;
}

} // namespace zun::media
