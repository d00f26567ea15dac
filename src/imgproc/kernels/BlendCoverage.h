// One flat colour laid over a frame by a map of how much it covers.
#pragma once

#include <cstdint>

#include "containers/Vec.h"
#include "imgproc/kernels/Dispatch.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

/// A map of coverages: 0 leaves a pixel as it is, 255 replaces it.
struct Coverage {
    unsigned char const *first;
    std::int64_t pitch; ///< bytes from one row to the next
    std::uint32_t rows, columns;
};

namespace plain {

/// Blends `colour` over a dense frame, with the map's corner at row `top` and column `left`; what falls outside the
/// frame is left out. A channel becomes the quotient by 255 of coverage * colour + (255 - coverage) * channel, rounded
/// down.
void blendCoverage(Coverage const &coverage, Vec3b *frame, FrameSize size, int top, int left, Vec3b colour);

} // namespace plain

inline constexpr auto &blendCoverage = Dispatched<plain::blendCoverage>::call;

/// The rows and columns of a map that fall inside the frame, if any do.
struct Overlap {
    std::int64_t firstRow, endRow, firstColumn, endColumn;
};
Overlap overlapOf(Coverage const &coverage, FrameSize size, int top, int left);

} // namespace zun::kernels
