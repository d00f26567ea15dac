// How the sources of this library call OpenCV.
#pragma once

#include <cstdint>
#include <limits>
#include <string>

#include <opencv2/core.hpp>

#include "containers/Exception.h"
#include "containers/Mat.h"

namespace zun {

/// The frame's own pixels. Throws zun::Exception for a frame that OpenCV, which counts in int, can't take with a border
/// of one pixel.
inline cv::Mat viewOf(Mat<unsigned char, 2> const &frame) {
    std::uint64_t const rows = frame.shape[0], columns = frame.shape[1];
    if (rows * columns != frame.count || (rows + 2) * (columns + 2) > std::numeric_limits<int>::max())
        throw Exception("A frame of " + std::to_string(rows) + " rows and " + std::to_string(columns) +
                        " columns is too large to be searched; cut or shrink it before");
    return cv::Mat(static_cast<int>(rows), static_cast<int>(columns), CV_8UC1, frame.first());
}

/// Runs OpenCV functions on the calling thread alone, and turns their failures into ours.
template <class Action>
void callOpenCv(char const *function, Action action) {
    [[maybe_unused]] static bool const once = (cv::setNumThreads(1), true);
    try {
        action();
    } catch (cv::Exception const &failure) {
        throw Exception(std::string(function) + ": " + failure.err);
    }
}

} // namespace zun
