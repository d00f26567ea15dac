#include "media/reading/YuvToRgb.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

// The loops are compiled for several processors, and the one at hand chooses.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define ZUN_HAS_TARGETS
#endif
#define ZUN_ALWAYS_INLINE inline __attribute__((always_inline))

namespace zun::media {
namespace {

/// Chroma of a row of the result comes from four rows, or columns, of the picture.
constexpr int taps = 4;

/// Weights by bicubic interpolation with the parameters 0 and 0.6. An even place of the result lies a quarter before
/// the third of the pixels, an odd one a quarter behind the second. FFmpeg leaves out the first of the four at the
/// places 0 and 2 ("early").
struct Weights {
    std::array<int, taps> even, odd, early;
};
constexpr Weights across{{-461, 3943, 14284, -1382}, {-1382, 14284, 3943, -461}, {0, 3835, 13894, -1345}}; // of 2^14
constexpr Weights down{{-115, 985, 3572, -346}, {-346, 3572, 985, -115}, {0, 959, 3473, -336}};            // of 2^12

constexpr int padding = 2;    ///< pixels that the first and last of a row are repeated for
constexpr int ringRows = 8;   ///< rows of chroma that are kept, a power of 2
constexpr int roundBits = 22; ///< of the sums whose higher bits are the result

/// From luma and chroma of 9 bits beyond the point, with 13 bits beyond the point.
struct Matrix {
    int black, luma, redOfV, greenOfV, greenOfU, blueOfU;
};

Matrix matrixOf(AVFrame const &picture) {
    int const *const table = sws_getCoefficients(av::matrixOf(picture));
    bool const full = av::isFullRange(picture);
    constexpr std::int64_t one = 1 << 16;
    auto const rounded = [](std::int64_t value) {
        constexpr std::int64_t most = 0x7FFF;
        return static_cast<int>(std::clamp((value + one / 2) >> 16, -most - 1, most));
    };
    auto const chroma = [&](std::int64_t value) { return rounded((full ? value * 224 / 255 : value) << 13); };
    return {full ? 0 : 16 << 9,
            rounded((full ? one : one * 255 / 219) << 13),
            chroma(table[0]),
            chroma(-std::int64_t(table[3])),
            chroma(-std::int64_t(table[2])),
            chroma(table[1])};
}

/// Of a row in the result.
struct Row {
    unsigned char const *luma;
    std::array<std::int16_t const *, taps> u, v;
    std::array<int, taps> weights;
    std::size_t width;
};

template <class Number>
ZUN_ALWAYS_INLINE int weighted(Number a, Number b, Number c, Number d, std::array<int, taps> const &weights) {
    return a * weights[0] + b * weights[1] + c * weights[2] + d * weights[3];
}

ZUN_ALWAYS_INLINE std::int16_t toWord(int sum) { return static_cast<std::int16_t>(std::min(sum >> 7, 0x7FFF)); }

/// A row of chroma to twice as many pixels, of 15 bits. Before and behind `from` there is padding.
ZUN_ALWAYS_INLINE void widen(unsigned char const *from, std::int16_t *to, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) {
        unsigned char const *const at = from + i;
        to[2 * i] = toWord(weighted(at[-2], at[-1], at[0], at[1], across.even));
        to[2 * i + 1] = toWord(weighted(at[-1], at[0], at[1], at[2], across.odd));
    }
    for (std::size_t i = 0; i < 2; i++)
        to[2 * i] = toWord(weighted(from[i], from[i - 1], from[i], from[i + 1], across.early));
}

ZUN_ALWAYS_INLINE unsigned char toByte(std::uint32_t sum) {
    constexpr int most = (1 << (roundBits + 8)) - 1;
    return static_cast<unsigned char>(std::clamp(static_cast<int>(sum), 0, most) >> roundBits);
}

/// To a row of red, one of green and one of blue. Sums wrap, as FFmpeg's do.
ZUN_ALWAYS_INLINE void colour(Row const &row, Matrix const &matrix, unsigned char *red, unsigned char *green,
                              unsigned char *blue) {
    constexpr int middle = (1 << 9) - (128 << 19);
    auto const [u0, u1, u2, u3] = row.u;
    auto const [v0, v1, v2, v3] = row.v;
    Matrix const m = matrix;
    std::array<int, taps> const weights = row.weights;
    auto const times = [](int a, int b) { return static_cast<std::uint32_t>(a) * static_cast<std::uint32_t>(b); };
#pragma GCC ivdep
    for (std::size_t i = 0; i < row.width; i++) {
        int const u = (weighted(u0[i], u1[i], u2[i], u3[i], weights) + middle) >> 10;
        int const v = (weighted(v0[i], v1[i], v2[i], v3[i], weights) + middle) >> 10;
        std::uint32_t const y = times(row.luma[i] * 512 - m.black, m.luma) + (1u << (roundBits - 1));
        red[i] = toByte(y + times(v, m.redOfV));
        green[i] = toByte(y + times(v, m.greenOfV) + times(u, m.greenOfU));
        blue[i] = toByte(y + times(u, m.blueOfU));
    }
}

ZUN_ALWAYS_INLINE void interleave(unsigned char const *red, unsigned char const *green, unsigned char const *blue,
                                  unsigned char *to, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) {
        to[3 * i] = red[i];
        to[3 * i + 1] = green[i];
        to[3 * i + 2] = blue[i];
    }
}

void pad(unsigned char const *from, unsigned char *to, std::size_t count) {
    std::memset(to, from[0], padding);
    std::memcpy(to + padding, from, count);
    std::memset(to + padding + count, from[count - 1], padding);
}

/// Widens each row of chroma once, just before the first row of the result that needs it.
ZUN_ALWAYS_INLINE void convertAll(AVFrame const &picture, Matrix const &matrix, std::int16_t *chroma,
                                  unsigned char *bytes, unsigned char *to) {
    auto const width = static_cast<std::size_t>(picture.width);
    int const chromaRows = picture.height / 2;
    auto const ringRow = [&](int plane, int row) {
        int const place = std::clamp(row, 0, chromaRows - 1) % ringRows + plane * ringRows;
        return chroma + static_cast<std::size_t>(place) * width;
    };
    for (int y = 0, widened = 0; y < picture.height; y++, to += 3 * width) {
        bool const odd = y % 2 != 0, early = y == 0 || y == 2;
        int const first = y / 2 - (odd ? 1 : 2);
        for (; widened < std::min(first + taps, chromaRows); widened++)
            for (int plane = 0; plane < 2; plane++) {
                pad(picture.data[plane + 1] + std::ptrdiff_t(widened) * picture.linesize[plane + 1], bytes, width / 2);
                widen(bytes + padding, ringRow(plane, widened), width / 2);
            }
        Row row{picture.data[0] + std::ptrdiff_t(y) * picture.linesize[0],
                {},
                {},
                odd     ? down.odd
                : early ? down.early
                        : down.even,
                width};
        for (int i = 0; i < taps; i++) {
            row.u[static_cast<std::size_t>(i)] = ringRow(0, first + i);
            row.v[static_cast<std::size_t>(i)] = ringRow(1, first + i);
        }
        colour(row, matrix, bytes, bytes + width, bytes + 2 * width);
        interleave(bytes, bytes + width, bytes + 2 * width, to, width);
    }
}

using ConvertAll = void(AVFrame const &, Matrix const &, std::int16_t *, unsigned char *, unsigned char *);

void convertPlainly(AVFrame const &picture, Matrix const &matrix, std::int16_t *chroma, unsigned char *bytes,
                    unsigned char *to) {
    convertAll(picture, matrix, chroma, bytes, to);
}

#ifdef ZUN_HAS_TARGETS
__attribute__((target("arch=x86-64-v3"))) void convertByAvx2(AVFrame const &picture, Matrix const &matrix,
                                                             std::int16_t *chroma, unsigned char *bytes,
                                                             unsigned char *to) {
    convertAll(picture, matrix, chroma, bytes, to);
}

__attribute__((target("arch=x86-64-v4"))) void convertByAvx512(AVFrame const &picture, Matrix const &matrix,
                                                               std::int16_t *chroma, unsigned char *bytes,
                                                               unsigned char *to) {
    convertAll(picture, matrix, chroma, bytes, to);
}
#endif

/// The plain form first, the fastest last.
std::vector<ConvertAll *> conversions() {
    std::vector<ConvertAll *> all{convertPlainly};
#ifdef ZUN_HAS_TARGETS
    if (__builtin_cpu_supports("x86-64-v3")) all.push_back(convertByAvx2);
    if (__builtin_cpu_supports("x86-64-v4")) all.push_back(convertByAvx512);
#endif
    return all;
}

} // namespace

bool YuvToRgb::takes(AVFrame const &picture) {
    constexpr int least = 16;
    bool const isTaken = picture.format == AV_PIX_FMT_YUV420P || picture.format == AV_PIX_FMT_YUVJ420P;
    return isTaken && picture.width % 2 == 0 && picture.height % 2 == 0 && picture.width >= least &&
           picture.height >= least;
}

std::size_t YuvToRgb::formCount() {
    static std::size_t const count = conversions().size();
    return count;
}

void YuvToRgb::convert(AVFrame const &picture, unsigned char *to) {
    static std::vector<ConvertAll *> const all = conversions();
    auto const width = static_cast<std::size_t>(picture.width);
    chroma.resize(2 * ringRows * width);
    bytes.resize(3 * width); // a row of each colour, or, before, one of chroma with its padding
    all.at(form)(picture, matrixOf(picture), chroma.data(), bytes.data(), to);
}

} // namespace zun::media
