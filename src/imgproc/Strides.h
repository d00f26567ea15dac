// Frames of which nodes read elements by their strides.
#pragma once

#include <cstdint>

#include "containers/Mat.h"
#include "node/Guard.h"

namespace zun {

/// Refuses a frame, not empty, whose strides lead to elements that it doesn't have. A dense one passes.
template <class T>
Verdict checkStrides(InputStream<Mat<T, 2>> const &at, Mat<T, 2> const &frame) {
    std::uint64_t const last = (std::uint64_t(frame.shape[0]) - 1) * frame.strides[0] + frame.shape[1] - 1;
    if (last < frame.count) return pass;
    return refuse(at, "the frame of ", sizeOf(frame), " has rows ", frame.strides[0],
                  " bytes apart, which leads out of its memory; send a dense frame");
}

} // namespace zun
