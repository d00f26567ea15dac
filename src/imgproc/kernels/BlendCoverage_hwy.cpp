#include "imgproc/kernels/BlendCoverage.h"

#include <cstring>

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

using Shorts = hn::FixedTag<std::uint16_t, 8>;
using VShorts = hn::Vec<Shorts>;
constexpr std::int64_t blockLength = 16;

/// Every other byte of a block, in lanes of two.
HWY_INLINE VShorts evenBytes(VBlock bytes) { return hn::And(hn::BitCast(Shorts(), bytes), hn::Set(Shorts(), 0xFF)); }
HWY_INLINE VShorts oddBytes(VBlock bytes) { return hn::ShiftRight<8>(hn::BitCast(Shorts(), bytes)); }

HWY_INLINE VShorts blend(VShorts cover, VShorts colour, VShorts channel) {
    VShorts const rest = hn::Sub(hn::Set(Shorts(), 255), cover);
    VShorts const sum = hn::Add(hn::Mul(cover, colour), hn::Mul(rest, channel));
    // The quotient by 255, for every sum up to 255 * 255.
    return hn::ShiftRight<8>(hn::Add(hn::Add(sum, hn::ShiftRight<8>(sum)), hn::Set(Shorts(), 1)));
}

class Blender {
public:
    explicit HWY_INLINE Blender(Vec3b colour) {
        alignas(16) std::uint8_t channels[3 * blockLength];
        for (std::int64_t i = 0; i < blockLength; i++) std::memcpy(channels + 3 * i, &colour, sizeof colour);
        first = hn::Load(Block(), channels);
        second = hn::Load(Block(), channels + 16);
        third = hn::Load(Block(), channels + 32);
    }

    /// Blends a block's worth of pixels.
    HWY_INLINE void operator()(VBlock cells, std::uint8_t *pixels) const {
        blendBytes(tripled<0>(cells), first, pixels);
        blendBytes(tripled<1>(cells), second, pixels + 16);
        blendBytes(tripled<2>(cells), third, pixels + 32);
    }

private:
    static HWY_INLINE void blendBytes(VBlock cover, VBlock colour, std::uint8_t *channels) {
        VBlock const old = hn::LoadU(Block(), channels);
        VShorts const even = blend(evenBytes(cover), evenBytes(colour), evenBytes(old));
        VShorts const odd = blend(oddBytes(cover), oddBytes(colour), oddBytes(old));
        hn::StoreU(hn::BitCast(Block(), hn::Or(even, hn::ShiftLeft<8>(odd))), Block(), channels);
    }

    VBlock first, second, third;
};

/// Up to a block of coverages, with 0 after them; `readable` bytes may be read.
HWY_INLINE VBlock loadCells(unsigned char const *cells, std::int64_t count, std::int64_t readable) {
    if (readable >= blockLength) {
        VBlock const block = hn::LoadU(Block(), cells);
        return hn::IfThenElseZero(hn::FirstN(Block(), static_cast<std::size_t>(HWY_MIN(count, blockLength))), block);
    }
    alignas(16) std::uint8_t copy[blockLength] = {};
    std::memcpy(copy, cells, static_cast<std::size_t>(HWY_MIN(count, blockLength)));
    return hn::Load(Block(), copy);
}

void blendCoverage(Coverage const &coverage, Vec3b *frame, FrameSize size, int top, int left, Vec3b colour) {
    Overlap const overlap = overlapOf(coverage, size, top, left);
    Blender const blender(colour);
    for (std::int64_t row = overlap.firstRow; row < overlap.endRow; row++) {
        unsigned char const *const cells = coverage.first + row * coverage.pitch;
        std::int64_t const start = (top + row) * size.columns + left;
        std::int64_t const rowsAfter = coverage.pitch > 0 ? coverage.rows - 1 - row : 0;
        std::int64_t const readable = rowsAfter * coverage.pitch + coverage.columns;
        for (std::int64_t i = overlap.firstColumn; i < overlap.endColumn; i += blockLength) {
            std::int64_t const count = overlap.endColumn - i;
            // A coverage of 0 changes nothing, so that a block may reach past the map's row; but not past the
            // frame's.
            if (left + i + blockLength <= size.columns) {
                blender(loadCells(cells + i, count, readable - i), reinterpret_cast<std::uint8_t *>(frame + start + i));
            } else {
                auto const columns = static_cast<std::uint32_t>(count);
                plain::blendCoverage({cells + i, 0, 1, columns}, frame + start + i, {1, columns}, 0, 0, colour);
                break;
            }
        }
    }
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(blendCoverage)
