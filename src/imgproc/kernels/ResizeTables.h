// Where the methods of resizing find the sources of each output row or column. The two sides of a frame are
// independent.
#pragma once

#include <vector>

#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

/// The nearest source of each.
std::vector<std::uint32_t> nearestSources(std::uint32_t from, std::uint32_t to);

/// The two sources between which one is interpolated.
struct Neighbours {
    std::uint32_t first, second;
    float wFirst, wSecond;
};

/// A column's position is computed with integers to find its neighbours, and in single precision for their weights; a
/// row's in single precision for both.
std::vector<Neighbours> columnNeighbours(std::uint32_t from, std::uint32_t to);
std::vector<Neighbours> rowNeighbours(std::uint32_t from, std::uint32_t to);

/// What one covers: the source where it begins, the whole ones from `whole` up to `end`, and the shares of the one it
/// begins in and the one it ends in, 0 where it begins or ends between two.
struct Span {
    std::uint32_t first, whole, end;
    float wFirst, wLast;
};

std::vector<Span> spans(std::uint32_t from, std::uint32_t to);

/// What the sum over the area of an output pixel is divided by. The products are those of ints, modulo 2^32.
float meanDivisor(FrameSize from, FrameSize to);

} // namespace zun::kernels
