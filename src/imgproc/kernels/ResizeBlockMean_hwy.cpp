// Sums of bytes are exact in single precision too for blocks of up to 2^16 pixels, so that their order doesn't matter
// and integers do. Divided by the area they are a multiple of 1 / area. For blocks of up to largestArea that is far
// more than what a float below 256 is rounded by; so a float quotient never reaches a whole number that the true one
// stays below, and truncated it is the quotient of integers.
#include "imgproc/kernels/Resize.h"

#include "imgproc/kernels/ResizePicks-inl.h"
#include "imgproc/kernels/ResizePicks.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

struct BlockSize {
    std::uint32_t height, width;

    std::uint32_t area() const { return height * width; }
};

constexpr std::uint32_t largestArea = 1u << 14;
/// The most bytes of which 16 bits hold the sum.
constexpr std::uint32_t mostInPairs = 257;

struct BlockMeanScratch {
    std::uint16_t *columnSums; ///< for each byte of a row, the sum of those above one another
    std::uint32_t *blockSums;  ///< four for each block, the last of no meaning; they have 16 bits where these suffice
    std::uint32_t *means;
};

using MeanOfBlocks = void(BlockMeanScratch const &scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to,
                          BlockSize block);

static void blockMeanWith(MeanOfBlocks meanOfBlocks, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    BlockSize const block{from.rows / to.rows, from.columns / to.columns};
    if (block.height > mostInPairs || block.width > largestArea || block.area() > largestArea)
        return plain::resizeBlockMean(in, from, out, to);
    std::size_t const count = wholeVectors(to.columns);
    Scratch<std::uint16_t> const columnSums(3 * std::size_t(from.columns) + 1); // one pixel is read as four sums
    Scratch<std::uint32_t> const blockSums(4 * count), means(count);
    meanOfBlocks({columnSums.data(), blockSums.data(), means.data()}, in, from, out, to, block);
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

using Pairs = hn::ScalableTag<std::uint16_t>;

void sumColumns(std::uint8_t const *in, std::size_t rowBytes, std::uint32_t height, std::uint16_t *sums) {
    hn::Rebind<std::uint8_t, Pairs> const half;
    for (std::uint32_t a = 0; a < height; a++, in += rowBytes) {
        std::size_t x = 0;
        for (; x + hn::Lanes(Pairs()) <= rowBytes; x += hn::Lanes(Pairs())) {
            auto const bytes = hn::PromoteTo(Pairs(), hn::LoadU(half, in + x));
            hn::Store(a == 0 ? bytes : hn::Add(bytes, hn::Load(Pairs(), sums + x)), Pairs(), sums + x);
        }
        for (; x < rowBytes; x++) sums[x] = static_cast<std::uint16_t>(in[x] + (a == 0 ? 0 : sums[x]));
    }
}

/// Adds up `width` pixels for each block.
template <class Sum>
HWY_INLINE void sumBlocks(std::uint16_t const *columnSums, std::uint32_t width, std::uint32_t blocks, Sum *out) {
    hn::FixedTag<Sum, 4> const d;
    hn::FixedTag<std::uint16_t, 4> const four;
    for (std::uint32_t j = 0; j < blocks; j++, out += 4) {
        auto sum = hn::Zero(d);
        for (std::uint32_t b = 0; b < width; b++, columnSums += 3) {
            auto const pixel = hn::LoadU(four, columnSums);
            if constexpr (sizeof(Sum) == sizeof(std::uint16_t))
                sum = hn::Add(sum, pixel);
            else
                sum = hn::Add(sum, hn::PromoteTo(d, pixel));
        }
        hn::Store(sum, d, out);
    }
}

/// How many bytes sumPairs() reads from the first of a block's rows on, up to whole vectors.
constexpr std::size_t bytesReadForPairs(std::size_t rowBytes, std::uint32_t height, std::size_t blocks) {
    return (height - 1) * rowBytes + 6 * wholeVectors(blocks) + mostLanes;
}

/// Sums for blocks of two columns straight from the rows; blocks beyond the last one with them, up to whole vectors.
void sumPairs(std::uint8_t const *in, std::size_t rowBytes, std::uint32_t height, std::size_t blocks,
              std::uint16_t *out) {
    constexpr std::uint8_t none = 0x80;
    alignas(16) static constexpr std::uint8_t firsts[16] = {0, none, 1, none, 2, none, none, none,
                                                            6, none, 7, none, 8, none, none, none};
    alignas(16) static constexpr std::uint8_t seconds[16] = {3, none, 4,  none, 5,  none, none, none,
                                                             9, none, 10, none, 11, none, none, none};
    VBytes const first = hn::LoadDup128(Bytes(), firsts), second = hn::LoadDup128(Bytes(), seconds);
    RgbLanes const rgb;
    auto const sumsOf = [&](std::uint8_t const *pixels) HWY_ATTR {
        VBytes const lanes = rgb.loadBlocks(pixels);
        return hn::Add(hn::BitCast(Pairs(), hn::TableLookupBytesOr0(lanes, first)),
                       hn::BitCast(Pairs(), hn::TableLookupBytesOr0(lanes, second)));
    };
    std::size_t const step = RgbLanes::lanes();
    for (std::size_t j = 0; j < blocks; j += step, in += 6 * step, out += 4 * step) {
        auto left = hn::Zero(Pairs()), right = left;
        std::uint8_t const *pixels = in;
        for (std::uint32_t a = 0; a < height; a++, pixels += rowBytes) {
            left = hn::Add(left, sumsOf(pixels));
            right = hn::Add(right, sumsOf(pixels + 3 * step));
        }
        hn::Store(left, Pairs(), out);
        hn::Store(right, Pairs(), out + 2 * step);
    }
}

HWY_INLINE void storeLowBytesOfPairs(hn::Vec<Pairs> pairs, std::uint8_t *out) {
    hn::Rebind<std::uint8_t, Pairs> const bytes;
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    hn::StoreU(hn::Vec<decltype(bytes)>{_mm512_cvtepi16_epi8(pairs.raw)}, bytes, out);
#else
    hn::StoreU(hn::TruncateTo(bytes, pairs), bytes, out);
#endif
}

/// To four bytes for each block.
void divide(std::uint16_t const *sums, std::uint32_t blocks, std::uint32_t area, std::uint32_t *means) {
    // The product's upper half is the quotient, or one less.
    auto const divisor = hn::Set(Pairs(), static_cast<std::uint16_t>(area)),
               inverse = hn::Set(Pairs(), static_cast<std::uint16_t>(65535 / area)), one = hn::Set(Pairs(), 1);
    auto *const bytes = reinterpret_cast<std::uint8_t *>(means);
    for (std::size_t i = 0; i < 4 * std::size_t(blocks); i += hn::Lanes(Pairs())) {
        auto const sum = hn::Load(Pairs(), sums + i), quotient = hn::MulHigh(sum, inverse),
                   rest = hn::Sub(sum, hn::Mul(quotient, divisor));
        auto const oneLess = hn::Eq(hn::Min(rest, divisor), divisor);
        storeLowBytesOfPairs(hn::Add(quotient, hn::IfThenElseZero(oneLess, one)), bytes + i);
    }
}

void divide(std::uint32_t const *sums, std::uint32_t blocks, std::uint32_t area, std::uint32_t *means) {
    // Half a unit lifts the sum over multiples of the area by 1 / (2 area), which is more than the product is off by.
    VFloats const factor = hn::Set(Floats(), 1.0f / static_cast<float>(area)), half = hn::Set(Floats(), 0.5f);
    auto *const bytes = reinterpret_cast<std::uint8_t *>(means);
    for (std::size_t i = 0; i < 4 * std::size_t(blocks); i += hn::Lanes(Floats())) {
        VFloats const sum = hn::ConvertTo(Floats(), hn::BitCast(Ints(), hn::Load(Words(), sums + i)));
        storeLowBytes(hn::ConvertTo(Ints(), hn::Mul(hn::Add(sum, half), factor)), bytes + i);
    }
}

void meanOfBlocks(BlockMeanScratch const &scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to,
                  BlockSize block) {
    RowWriter const writer;
    std::size_t const rowBytes = 3 * std::size_t(from.columns);
    bool const small = block.area() <= mostInPairs;
    auto *const pairs = reinterpret_cast<std::uint16_t *>(scratch.blockSums);
    auto const *rows = reinterpret_cast<std::uint8_t const *>(in), *const end = rows + from.rows * rowBytes;
    for (std::uint32_t i = 0; i < to.rows; i++, rows += block.height * rowBytes, out += to.columns) {
        auto const left = static_cast<std::size_t>(end - rows);
        if (small && block.width == 2 && bytesReadForPairs(rowBytes, block.height, to.columns) <= left) {
            sumPairs(rows, rowBytes, block.height, to.columns, pairs);
        } else {
            sumColumns(rows, rowBytes, block.height, scratch.columnSums);
            small ? sumBlocks(scratch.columnSums, block.width, to.columns, pairs)
                  : sumBlocks(scratch.columnSums, block.width, to.columns, scratch.blockSums);
        }
        small ? divide(pairs, to.columns, block.area(), scratch.means)
              : divide(scratch.blockSums, to.columns, block.area(), scratch.means);
        writer.storeRow(reinterpret_cast<std::uint8_t *>(out), to.columns, scratch.means);
    }
}

void resizeBlockMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    blockMeanWith(meanOfBlocks, in, from, out, to);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(resizeBlockMean)
