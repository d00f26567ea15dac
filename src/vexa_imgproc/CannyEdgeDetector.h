// Edges of grey frames.
#pragma once

#include "containers/Mat.h"

namespace zun {

/// Canny's edge map of a frame: 255 where an edge runs, else 0. Gradients are Sobel's of 3 x 3; a pixel at a ridge of
/// the gradient is an edge above the upper threshold, or above the lower one where it is joined to such a pixel. Of two
/// thresholds the smaller is the lower one, whichever way round they come.
///
/// `l2Gradient` measures gradients by their length, otherwise the sum of both parts' sizes is taken. `result` gets
/// storage of its own, of the frame's shape; the frame is not written to. Throws zun::Exception if a frame can't be
/// processed. Thread-safe.
void cannyEdgeDetector(Mat<unsigned char, 2> image, int lowerThreshold, int upperThreshold, bool l2Gradient,
                       Mat<unsigned char, 2> &result);

} // namespace zun
