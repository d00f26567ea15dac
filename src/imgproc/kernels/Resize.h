// Colour frames at another size, by four methods. Neither size has a side of 0 or above 2^31 - 1; the frames must not
// overlap.
#pragma once

#include "containers/Vec.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

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

namespace plain {
void resizeNearest(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);
void resizeBlockMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);
void resizeBilinear(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);
void resizeAreaMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);
} // namespace plain

} // namespace zun::kernels
