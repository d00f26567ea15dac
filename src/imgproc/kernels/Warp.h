// Affine maps of the plane, and frames sampled through them.
#pragma once

#include "containers/Vec.h"
#include "imgproc/kernels/Dispatch.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

/// (x, y) goes to (a x + b y + c, d x + e y + f); x is the column and y the row.
struct AffineMap {
    float a, b, c;
    float d, e, f;
};

/// The map back. A singular map gives one that sends every point to (0, 0).
AffineMap inverse(AffineMap const &map);

namespace plain {

/// Pixel (row i, column j) of `out` is the bilinear sample of `in` at `map`'s image of (j, i). Each of the sample's
/// four neighbours that lies outside `in` counts as `border`. Sums are truncated and their low byte is kept.
/// Coordinates may be anything, NaN included: one that no int holds counts as lying between the smallest int and
/// itself.
void warpAffine(Vec3b const *in, FrameSize from, AffineMap const &map, Vec3b border, Vec3b *out, FrameSize to);

} // namespace plain

inline constexpr auto &warpAffine = Dispatched<plain::warpAffine>::call;

} // namespace zun::kernels
