// Pasting pixels where a mask is set.
#pragma once

#include <cstdint>

#include "containers/Vec.h"
#include "imgproc/kernels/Dispatch.h"

namespace zun::kernels {

namespace plain {

/// For each of the `count` mask bytes in order that is not 0, the pixel at the target cursor becomes the one at the
/// source cursor. Both cursors move on by one pixel a byte, and at the end of each row of `width` bytes by a further
/// `targetGap` and `sourceGap` pixels. The source may be the target: a pixel pasted before is what is read then.
/// Nothing else may change the target meanwhile, not even between pasted pixels.
void pasteMasked(unsigned char const *mask, std::uint32_t count, std::uint32_t width, Vec3b *target,
                 std::uint32_t targetGap, Vec3b const *source, std::uint32_t sourceGap);

} // namespace plain

inline constexpr auto &pasteMasked = Dispatched<plain::pasteMasked>::call;

} // namespace zun::kernels
