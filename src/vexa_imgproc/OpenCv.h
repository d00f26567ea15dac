// How the sources of this room call OpenCV.
#pragma once

#include <string>
#include <utility>

#include <opencv2/core.hpp>

#include "containers/Exception.h"
#include "containers/Mat.h"

namespace zun {

/// The frame's own pixels.
inline cv::Mat viewOf(Mat<unsigned char, 2> const &frame) {
    return cv::Mat(static_cast<int>(frame.shape[0]), static_cast<int>(frame.shape[1]), CV_8UC1, frame.first(),
                   frame.strides[0]);
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
