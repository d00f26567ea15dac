#include "imgproc/kernels/Threshold.h"

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

/// Whether there is a vector of bytes, some of which may reach the threshold.
bool worthVectors(std::uint32_t count, int threshold) { return threshold <= 255 && count >= hn::Lanes(Bytes()); }

/// Visits every vector's place with a mask of the bytes that reach the threshold.
template <class Visit>
HWY_INLINE void compare(unsigned char const *in, std::uint32_t count, int threshold, Visit visit) {
    VBytes const least = hn::Set(Bytes(), static_cast<std::uint8_t>(HWY_MAX(threshold, 0)));
    forEachVector(count, [&](std::size_t i) HWY_ATTR {
        VBytes const bytes = hn::LoadU(Bytes(), in + i);
        visit(i, hn::Eq(hn::Max(bytes, least), bytes));
    });
}

void setAtLeast(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold) {
    if (!worthVectors(count, threshold)) return plain::setAtLeast(in, out, count, threshold);
    VBytes const one = hn::Set(Bytes(), 1);
    compare(in, count, threshold, [=](std::size_t i, hn::Mask<Bytes> reached) HWY_ATTR {
        hn::StoreU(hn::IfThenElseZero(reached, one), Bytes(), out + i);
    });
}

void setBelow(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold) {
    if (!worthVectors(count, threshold)) return plain::setBelow(in, out, count, threshold);
    VBytes const one = hn::Set(Bytes(), 1);
    compare(in, count, threshold, [=](std::size_t i, hn::Mask<Bytes> reached) HWY_ATTR {
        hn::StoreU(hn::IfThenZeroElse(reached, one), Bytes(), out + i);
    });
}

void splitAt(unsigned char const *in, unsigned char *atLeast, unsigned char *below, std::uint32_t count,
             int threshold) {
    if (!worthVectors(count, threshold)) return plain::splitAt(in, atLeast, below, count, threshold);
    VBytes const one = hn::Set(Bytes(), 1);
    compare(in, count, threshold, [=](std::size_t i, hn::Mask<Bytes> reached) HWY_ATTR {
        hn::StoreU(hn::IfThenElseZero(reached, one), Bytes(), atLeast + i);
        hn::StoreU(hn::IfThenZeroElse(reached, one), Bytes(), below + i);
    });
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(setAtLeast)
ZUN_DISPATCH(setBelow)
ZUN_DISPATCH(splitAt)
