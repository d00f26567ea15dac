#include "imgproc/kernels/Threshold.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imgproc/kernels/Threshold_hwy.cpp"
#include <hwy/foreach_target.h>

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

#else

using plain::setAtLeast, plain::setBelow, plain::splitAt;

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zun::kernels {

HWY_EXPORT(setAtLeast);
void setAtLeast(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold) {
    HWY_DYNAMIC_DISPATCH(setAtLeast)(in, out, count, threshold);
}

HWY_EXPORT(setBelow);
void setBelow(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold) {
    HWY_DYNAMIC_DISPATCH(setBelow)(in, out, count, threshold);
}

HWY_EXPORT(splitAt);
void splitAt(unsigned char const *in, unsigned char *atLeast, unsigned char *below, std::uint32_t count,
             int threshold) {
    HWY_DYNAMIC_DISPATCH(splitAt)(in, atLeast, below, count, threshold);
}

} // namespace zun::kernels
#endif
