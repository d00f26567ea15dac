// What the fast forms share. Included by a file x_hwy.cpp, it has the compiler read that file once for each target, and
// is itself read again each time. Code under `#ifndef ZUN_ONCE` is for the first time only.
#include <hwy/foreach_target.h>

#if defined(ZUN_VECTORS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef ZUN_VECTORS_INL_H
#undef ZUN_VECTORS_INL_H
#else
#define ZUN_VECTORS_INL_H
#endif

#include <cstddef>
#include <cstdint>

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "imgproc/kernels/Dispatch.h"

/// Whether the target has vectors. On one that doesn't, the forms of x are plain::x.
#undef ZUN_HAS_VECTORS
#define ZUN_HAS_VECTORS (HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128)

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if ZUN_HAS_VECTORS

using Bytes = hn::ScalableTag<std::uint8_t>;
using Words = hn::ScalableTag<std::uint32_t>;
using Ints = hn::ScalableTag<std::int32_t>;
using Floats = hn::ScalableTag<float>;
using VBytes = hn::Vec<Bytes>;
using VWords = hn::Vec<Words>;
using VInts = hn::Vec<Ints>;
using VFloats = hn::Vec<Floats>;

/// Visits the place of every vector of bytes in a row that has at least one. The last overlaps the one before where it
/// has to, so a byte that is visited twice must come out the same.
template <class Visit>
HWY_INLINE void forEachVector(std::size_t columns, Visit visit) {
    std::size_t const lanes = hn::Lanes(Bytes());
    std::size_t x = 0;
    for (; x + lanes <= columns; x += lanes) visit(x);
    if (x < columns) visit(columns - lanes);
}

/// Asks for the next `bytes` of a stream that lie a page ahead, which the machine's own prefetcher does not go beyond.
template <std::size_t bytes>
HWY_INLINE void prefetchAhead(void const *stream) {
    constexpr std::size_t page = 4096, line = 64;
    for (std::size_t i = 0; i < bytes; i += line) hwy::Prefetch(static_cast<std::uint8_t const *>(stream) + page + i);
}

/// Truncated toward zero; what no int holds, NaN with it, gives the smallest int. Highway's own conversion gives the
/// largest for some.
HWY_INLINE VInts truncate(VFloats values) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    return VInts{_mm512_cvttps_epi32(values.raw)};
#elif HWY_TARGET == HWY_AVX2
    return VInts{_mm256_cvttps_epi32(values.raw)};
#elif HWY_ARCH_X86
    return VInts{_mm_cvttps_epi32(values.raw)};
#else
    auto const held = hn::Lt(hn::Abs(values), hn::Set(Floats(), 2147483648.0f));
    return hn::IfThenElse(hn::RebindMask(Ints(), held), hn::ConvertTo(Ints(), values),
                          hn::Set(Ints(), hwy::LimitsMin<std::int32_t>()));
#endif
}

/// Pixels of three bytes to and from vectors with a lane of four bytes for each. Both reach beyond the pixels that they
/// are for, up to the end of a whole vector of bytes: a loop goes on for as long as fit() says, and leaves the rest
/// to the plain form.
class RgbLanes {
public:
    static HWY_INLINE std::size_t lanes() { return hn::Lanes(Words()); }

    /// Whether the next lanes() of `left` pixels may be loaded or stored.
    static HWY_INLINE bool fit(std::size_t left) { return 3 * left >= 4 * lanes(); }

    HWY_INLINE RgbLanes() {
        alignas(64) std::uint32_t apart[16], together[16];
        for (std::uint32_t i = 0; i < 16; i++) {
            apart[i] = i / 4 * 3 + i % 4;
            // The last block's fourth word is written over by what comes next.
            together[i] = i < 12 ? i / 3 * 4 + i % 3 : 3;
        }
        for (std::uint32_t i = 0; i < lanes(); i++) {
            apart[i] %= static_cast<std::uint32_t>(lanes());
            if (together[i] >= lanes()) together[i] = 3;
        }
        toBlocks = hn::SetTableIndices(Words(), apart);
        fromBlocks = hn::SetTableIndices(Words(), together);
    }

    /// A block of 16 bytes for every four pixels, which lie in its first 12.
    HWY_INLINE VBytes loadBlocks(std::uint8_t const *pixels) const {
        return hn::BitCast(Bytes(), moved(hn::BitCast(Words(), hn::LoadU(Bytes(), pixels)), toBlocks));
    }

    /// One channel of loadBlocks()' result, each byte in a lane of its own.
    template <int channel>
    static HWY_INLINE VInts channelOf(VBytes blocks) {
        alignas(16) static constexpr std::uint8_t order[16] = {
            channel,     0x80, 0x80, 0x80, 3 + channel, 0x80, 0x80, 0x80,
            6 + channel, 0x80, 0x80, 0x80, 9 + channel, 0x80, 0x80, 0x80,
        };
        return hn::BitCast(Ints(), hn::TableLookupBytesOr0(blocks, hn::LoadDup128(Bytes(), order)));
    }

    /// Stores the low three bytes of each lane, the lowest first.
    HWY_INLINE void store(VInts pixels, std::uint8_t *out) const {
        alignas(16) static constexpr std::uint8_t order[16] = {0,  1,  2,  4,  5,    6,    8,    9,
                                                               10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
        storeBlocks(hn::TableLookupBytesOr0(hn::BitCast(Bytes(), pixels), hn::LoadDup128(Bytes(), order)), out);
    }

    /// Stores the first 12 bytes of each block.
    HWY_INLINE void storeBlocks(VBytes blocks, std::uint8_t *out) const {
        hn::StoreU(hn::BitCast(Bytes(), moved(hn::BitCast(Words(), blocks), fromBlocks)), Bytes(), out);
    }

    /// Likewise from a vector for each channel, of which the low bytes count.
    HWY_INLINE void store(VInts first, VInts second, VInts third, std::uint8_t *out) const {
        VInts const low = hn::Set(Ints(), 0xFF);
        store(hn::Or(hn::Or(hn::And(first, low), hn::ShiftLeft<8>(hn::And(second, low))), hn::ShiftLeft<16>(third)),
              out);
    }

private:
    using Places = decltype(hn::SetTableIndices(Words(), static_cast<std::uint32_t const *>(nullptr)));

    static HWY_INLINE VWords moved(VWords words, Places places) {
        if constexpr (hn::MaxLanes(Words()) == 4) return words; // a vector is a block
        return hn::TableLookupLanes(words, places);
    }

    Places toBlocks, fromBlocks;
};

/// One channel of each lane's pixel.
template <int channel>
HWY_INLINE VFloats floatsOf(VWords pixels) {
    VWords const low = hn::And(hn::ShiftRight<8 * channel>(pixels), hn::Set(Words(), 0xFF));
    return hn::ConvertTo(Floats(), hn::BitCast(Ints(), low));
}

using Block = hn::FixedTag<std::uint8_t, 16>;
using VBlock = hn::Vec<Block>;

/// Sixteen bytes, each three times in a row: one of the three blocks that these make.
template <int part>
HWY_INLINE VBlock tripled(VBlock bytes) {
    alignas(16) std::uint8_t order[16];
    for (int i = 0; i < 16; i++) order[i] = static_cast<std::uint8_t>((16 * part + i) / 3);
    return hn::TableLookupBytes(bytes, hn::Load(Block(), order));
}

/// The low byte of each lane, one after the other.
HWY_INLINE void storeLowBytes(VInts lanes, std::uint8_t *out) {
#if HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_AVX3_DL
    // Highway's own takes the wrong bytes.
    _mm_storeu_si128(reinterpret_cast<__m128i *>(out), _mm512_cvtepi32_epi8(lanes.raw));
#else
    hn::Rebind<std::uint8_t, Ints> const bytes;
    hn::StoreU(hn::TruncateTo(bytes, hn::BitCast(Words(), lanes)), bytes, out);
#endif
}

#else

using namespace plain;

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

/// Defines Dispatched<plain::kernel>::call from functions called `kernel`, one in each target's namespace. HWY_EXPORT
/// makes the table of these, in which HWY_DYNAMIC_DISPATCH finds that of the target in use. The last time that the file
/// is read, all targets have their function; before that there is nothing to do.
#undef ZUN_DISPATCH
#if HWY_ONCE
namespace zun::kernels {

template <class... Parameters, void (*plainForm)(Parameters...)>
void Dispatched<plainForm>::call(Parameters... parameters) {
    formInUse(Dispatched())(parameters...);
}

} // namespace zun::kernels

#define ZUN_DISPATCH(kernel)                                                                                           \
    namespace zun::kernels {                                                                                           \
    HWY_EXPORT(kernel);                                                                                                \
    static auto formInUse(Dispatched<plain::kernel>) { return &HWY_DYNAMIC_DISPATCH(kernel); }                         \
    template struct Dispatched<plain::kernel>;                                                                         \
    }
#else
#define ZUN_DISPATCH(kernel)
#endif

#endif
