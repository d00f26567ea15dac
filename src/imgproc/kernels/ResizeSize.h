// How large a frame comes out of a resize.
#pragma once

#include <cstdint>
#include <optional>

#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

/// A scale factor: a fraction in lowest terms, both below 16384 in magnitude.
struct ResizeRatio {
    int num, den;

    /// `target` / `source`, rounded where its terms don't fit; `target` must not be 0. A source of 0, or one that is
    /// rounded to 0, gives the largest factor.
    static ResizeRatio of(std::int64_t target, std::int64_t source);

    /// The length of a scaled side; what no int holds gives the smallest int.
    int scaled(std::uint32_t side) const;
};

/// The size that is asked for. A length of 0 is not given; `largestSize` is that of the longer side and overrides the
/// others. The two flags keep a frame as it is when a single side is given.
struct ResizeRequest {
    int width, height, largestSize;
    bool allowDownscale, allowUpscale;
};

/// The result's size, nothing if the frame stays as it is. Requests that are negative or much smaller than the frame
/// give a size below 1: such a one is here cast to unsigned.
std::optional<FrameSize> resizedSize(FrameSize frame, ResizeRequest const &request);

} // namespace zun::kernels
