// Pixels of chosen columns to vectors with a lane of four bytes for each, and back. Included like Vectors-inl.h.
#include "imgproc/kernels/Vectors-inl.h"

#if defined(ZUN_RESIZE_PICKS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ZUN_RESIZE_PICKS_INL_H
#undef ZUN_RESIZE_PICKS_INL_H
#else
#define ZUN_RESIZE_PICKS_INL_H
#endif

#include <cstring>

#include "containers/Vec.h"
#include "imgproc/kernels/ResizePicks.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

/// Bytes are picked by blocks, each out of a window of two blocks. An index has `inUpper` set for the window's upper
/// one.
#if HWY_TARGET == HWY_AVX3_DL
using PickBlock = Bytes;
constexpr std::uint8_t inUpper = 0x40;
#else
using PickBlock = hn::FixedTag<std::uint8_t, 16>;
constexpr std::uint8_t inUpper = 0x80;
#endif
constexpr std::size_t blockBytes = hn::MaxLanes(PickBlock()), windowBytes = 2 * blockBytes;

HWY_INLINE hn::Vec<PickBlock> pickBytes(std::uint8_t const *window, std::uint8_t const *indices) {
    PickBlock const d;
    auto const lower = hn::LoadU(d, window), upper = hn::LoadU(d, window + blockBytes), index = hn::Load(d, indices);
#if HWY_TARGET == HWY_AVX3_DL
    return hn::Vec<PickBlock>{_mm512_permutex2var_epi8(lower.raw, index.raw, upper.raw)};
#else
    return hn::Or(hn::TableLookupBytesOr0(lower, index),
                  hn::TableLookupBytesOr0(upper, hn::Xor(index, hn::Set(d, inUpper))));
#endif
}

/// Finds the windows for rows of so many columns. There are none where a row is shorter, or a block's columns lie too
/// far apart.
inline void makeWindows(Picks &picks, std::uint32_t rowColumns) {
    std::uint64_t const rowBytes = 3 * std::uint64_t(rowColumns);
    while (picks.wholeWords < picks.count && picks.columns[picks.wholeWords] + 1 < rowColumns) picks.wholeWords++;
    picks.windowed = rowBytes >= windowBytes;
    for (std::size_t block = 0; picks.windowed && block < picks.count * 4 / blockBytes; block++) {
        std::uint32_t const *const columns = picks.columns + block * blockBytes / 4;
        std::uint64_t first = rowColumns, last = 0;
        for (std::size_t i = 0; i < blockBytes / 4; i++) {
            first = HWY_MIN(first, columns[i]);
            last = HWY_MAX(last, columns[i]);
        }
        std::uint64_t const window = HWY_MIN(3 * first, rowBytes - windowBytes);
        picks.windows[block] = window;
        picks.windowed = 3 * last + 3 - window <= windowBytes;
        for (std::size_t i = 0; i < blockBytes; i++) {
            std::uint64_t const byte = 3 * std::uint64_t(columns[i / 4]) + i % 4 % 3 - window;
            picks.indices[block * blockBytes + i] =
                static_cast<std::uint8_t>(byte % blockBytes + (byte < blockBytes ? 0 : inUpper));
        }
    }
}

/// A pixel in each of picks.count lanes. What the fourth byte of a lane is doesn't matter.
HWY_INLINE void pick(Picks const &picks, std::uint8_t const *row, std::uint32_t *lanes) {
    if (picks.windowed) {
        auto *const bytes = reinterpret_cast<std::uint8_t *>(lanes);
        for (std::size_t i = 0; i < picks.count * 4 / blockBytes; i++)
            hn::Store(pickBytes(row + picks.windows[i], picks.indices + i * blockBytes), PickBlock(),
                      bytes + i * blockBytes);
    } else {
        std::size_t i = 0;
        for (; i < picks.wholeWords; i++)
            std::memcpy(lanes + i, row + 3 * std::size_t(picks.columns[i]), sizeof *lanes);
        for (; i < picks.count; i++) {
            std::uint8_t const *const pixel = row + 3 * std::size_t(picks.columns[i]);
            lanes[i] = static_cast<std::uint32_t>(pixel[0] | pixel[1] << 8 | pixel[2] << 16);
        }
    }
}

/// Stores as many pixels as there are lanes, or all that are left. Lanes have them in their low bytes, or each channel
/// by itself in its low byte.
class RowWriter {
public:
    HWY_INLINE RowWriter() {} // not left to the compiler, which would make it for no target

    template <class... Lanes>
    HWY_INLINE void store(std::uint8_t *out, std::size_t left, Lanes... lanes) const {
        if (RgbLanes::fit(left)) {
            rgb.store(lanes..., out);
        } else {
            alignas(64) std::uint8_t bytes[64];
            rgb.store(lanes..., bytes);
            std::memcpy(out, bytes, 3 * HWY_MIN(left, RgbLanes::lanes()));
        }
    }

    HWY_INLINE void storeRow(std::uint8_t *out, std::size_t columns, std::uint32_t const *lanes) const {
        for (std::size_t j = 0; j < columns; j += RgbLanes::lanes())
            store(out + 3 * j, columns - j, hn::BitCast(Ints(), hn::Load(Words(), lanes + j)));
    }

private:
    RgbLanes rgb;
};

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
