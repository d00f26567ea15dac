#include "imgproc/kernels/PasteMasked.h"

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

constexpr std::uint32_t blockLength = 16;

HWY_INLINE void pasteBytes(VBlock mask, std::uint8_t *target, std::uint8_t const *source) {
    auto const unset = hn::Eq(mask, hn::Zero(Block()));
    hn::StoreU(hn::IfThenElse(unset, hn::LoadU(Block(), target), hn::LoadU(Block(), source)), Block(), target);
}

/// Pastes the pixels of a block of mask bytes, and writes those between them as they were.
HWY_INLINE void pasteBlock(unsigned char const *mask, std::uint8_t *target, std::uint8_t const *source) {
    VBlock const cells = hn::LoadU(Block(), mask);
    pasteBytes(tripled<0>(cells), target, source);
    pasteBytes(tripled<1>(cells), target + 16, source + 16);
    pasteBytes(tripled<2>(cells), target + 32, source + 32);
}

/// At least one block.
HWY_INLINE void pasteBlocks(unsigned char const *mask, std::uint32_t count, std::uint8_t *target,
                            std::uint8_t const *source) {
    for (std::uint32_t i = 0;; i += blockLength) {
        std::uint32_t const at = HWY_MIN(i, count - blockLength);
        pasteBlock(mask + at, target + 3 * at, source + 3 * at);
        if (count - at == blockLength) return;
    }
}

/// At least one block, none of whose source pixels is a target pixel, so that any may be pasted twice.
HWY_INLINE void pasteRow(unsigned char const *mask, std::uint32_t width, std::uint8_t *target,
                         std::uint8_t const *source) {
    auto const lanes = static_cast<std::uint32_t>(hn::Lanes(Bytes()));
    if (width < lanes) return pasteBlocks(mask, width, target, source);
    forEachVector(width, [=](std::size_t first) HWY_ATTR {
        auto const unset = hn::Eq(hn::LoadU(Bytes(), mask + first), hn::Zero(Bytes()));
        if (hn::AllTrue(Bytes(), unset)) return;
        std::uint8_t *const to = target + 3 * first;
        std::uint8_t const *const from = source + 3 * first;
        if (!hn::AllFalse(Bytes(), unset)) return pasteBlocks(mask + first, lanes, to, from);
        for (std::size_t i = 0; i < 3; i++) hn::StoreU(hn::LoadU(Bytes(), from + i * lanes), Bytes(), to + i * lanes);
    });
}

bool disjoint(Vec3b const *a, Vec3b const *b, std::uint64_t length) {
    auto const first = reinterpret_cast<std::uintptr_t>(a), second = reinterpret_cast<std::uintptr_t>(b);
    return (first < second ? second - first : first - second) >= length * sizeof(Vec3b);
}

void pasteMasked(unsigned char const *mask, std::uint32_t count, std::uint32_t width, Vec3b *target,
                 std::uint32_t targetGap, Vec3b const *source, std::uint32_t sourceGap) {
    while (count > 0) {
        std::uint32_t const length = width == 0 ? count : HWY_MIN(count, width);
        if (length < blockLength || !disjoint(target, source, length))
            plain::pasteMasked(mask, length, 0, target, 0, source, 0);
        else
            pasteRow(mask, length, reinterpret_cast<std::uint8_t *>(target),
                     reinterpret_cast<std::uint8_t const *>(source));
        count -= length;
        if (count == 0) return; // what follows the last row may be nowhere
        mask += length;
        target += std::uint64_t(length) + targetGap;
        source += std::uint64_t(length) + sourceGap;
    }
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(pasteMasked)
