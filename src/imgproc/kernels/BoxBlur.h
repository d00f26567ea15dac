// The mean over a box around each pixel, kept as running sums in single precision.
#pragma once

#include "imgproc/kernels/Dispatch.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

struct BoxSize {
    int width, height;
};

namespace plain {

/// Each byte becomes the mean of its channel over `box`, first along the row and then, on the truncated means, along
/// the column. An even extent reaches one pixel further left (up) than right (down), and beyond the frame its edge is
/// repeated. The mean is a sum of pixels each times the rounded 1 / extent: the first of a line is summed in order,
/// each further one takes the product that leaves from the sum and adds the one that enters. Rounding drifts along
/// the line with that, and the bytes with it. An extent of 0 makes every byte 0: its weight is infinite, and what a sum
/// comes to after the first is not a number. A negative extent is undefined.
///
/// `out` has the same shape and must not overlap `in`; both are dense, with 1 or 3 `channels` to a pixel. The cost for
/// each pixel doesn't depend on the box, and scratch is some box.height rows, at most the frame, and a few blocks of 64
/// rows.
void boxBlur(unsigned char const *in, unsigned char *out, FrameSize size, int channels, BoxSize box);

} // namespace plain

inline constexpr auto &boxBlur = Dispatched<plain::boxBlur>::call;

} // namespace zun::kernels
