// Colour frames at another size, by four methods. Neither size has a side of 0 or above 2^31 - 1; the frames must not
// overlap.
#pragma once

#include "containers/Vec.h"
#include "imgproc/kernels/Dispatch.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

namespace plain {

/// Each pixel is a copy of the one at its position rounded down. Positions are products modulo 2^32, divided.
void resizeNearest(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

/// Each pixel is the truncated mean of a block: `from`'s sides are multiples of `to`'s.
void resizeBlockMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

/// Each pixel is interpolated between the four around its position. Where a position reaches the last row or column,
/// the two neighbours are one and their weights cancel: such pixels are black.
void resizeBilinear(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

/// Each pixel is the truncated mean of the area that it covers, partly covered pixels counting by their share. Both
/// sides shrink.
void resizeAreaMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

} // namespace plain

// The file that defines one must not define the others.
extern template struct Dispatched<plain::resizeNearest>;
extern template struct Dispatched<plain::resizeBlockMean>;
extern template struct Dispatched<plain::resizeBilinear>;
extern template struct Dispatched<plain::resizeAreaMean>;

inline constexpr auto &resizeNearest = Dispatched<plain::resizeNearest>::call;
inline constexpr auto &resizeBlockMean = Dispatched<plain::resizeBlockMean>::call;
inline constexpr auto &resizeBilinear = Dispatched<plain::resizeBilinear>::call;
inline constexpr auto &resizeAreaMean = Dispatched<plain::resizeAreaMean>::call;

} // namespace zun::kernels
