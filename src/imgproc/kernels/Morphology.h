// Morphology of binary frames with an element whose cells all hold one value.
#pragma once

#include <cstdint>

#include "imgproc/kernels/Dispatch.h"

namespace zun::kernels {

/// A rectangle of cells. The origin is the cell that lies over the output pixel, and one of the element's.
struct Element {
    int columns, rows;
    int originColumn, originRow;
};

namespace plain {

/// Sets each output pixel to `hit` if every input pixel under the element equals `value`, else to `miss`. Cells off the
/// frame count for nothing. With a `value` of 1 that erodes what is 1; with 0, and `hit` and `miss` swapped, it
/// dilates.
///
/// The rows of `in` start `inPitch` bytes apart, those of `out` stand one after the other; the two must not overlap.
/// The plain form looks at each pixel under the element. The fast form's cost doesn't grow with the element's height,
/// and with the logarithm of its width only.
void erodeOrDilate(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                   std::uint32_t columns, Element const &element, unsigned char value, unsigned char hit,
                   unsigned char miss);

} // namespace plain

inline constexpr auto &erodeOrDilate = Dispatched<plain::erodeOrDilate>::call;

} // namespace zun::kernels
