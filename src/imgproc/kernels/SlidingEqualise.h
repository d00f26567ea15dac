// Histogram equalisation in windows that slide over a frame.
#pragma once

#include "imgproc/kernels/Dispatch.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

/// Windows along one axis of a frame: they begin at 0, step, 2 * step and so on, as long as that is in the frame, and
/// end `length` further, or with the frame.
struct WindowSeries {
    int step, length; ///< at least 1
};

namespace plain {

/// Equalises each byte by the sum of the histograms of all windows that cover it, as equalised() does; counts and their
/// totals are modulo 2^32. Every pixel has to lie under a window, and its total must not be 0.
///
/// `out` has the same shape and must not overlap `in`; both are dense. The plain form counts each window by itself. The
/// fast form's cost for each pixel doesn't depend on the windows' size, and falls as they step further; its scratch is
/// at most some 3 KiB for each column of the frame.
void equaliseInWindows(unsigned char const *in, unsigned char *out, FrameSize size, WindowSeries alongRows,
                       WindowSeries alongColumns);

} // namespace plain

inline constexpr auto &equaliseInWindows = Dispatched<plain::equaliseInWindows>::call;

} // namespace zun::kernels
