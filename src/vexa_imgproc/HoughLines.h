// Straight lines in frames of edges.
#pragma once

#include "containers/Mat.h"

namespace zun {

/// Line segments among the edge pixels of a frame, by the probabilistic Hough transform.
///
/// image       pixels above `edgeThresh` are edges
/// rho, theta  steps of the search: distance from the origin in pixels, angle in radians
/// threshold   how many edge pixels have to lie on a line; less than 1 counts as 1
/// lineLenMin  the least length of a segment in pixels, along the axis that it runs along more
/// lineGapMax  the most pixels that may be missing within a segment
/// quantize    false: every segment that was found, of which a broad edge gives several side by side.
///             true: no finer than `rho`, or a pixel if that is less: a segment that lies within this distance of
///             longer ones all along is left out; the longest come first
/// lines       a (x0, y0, x1, y1) for each segment, x being the column; both ends belong to it
/// lineImage   the segments, drawn at 255 on 0, in the frame's shape
///
/// Both results get storage of their own; the frame is not written to. The same input gives the same lines in the same
/// order. An empty frame gives no lines, whatever the steps. Throws zun::Exception for a `rho` or `theta` that is not
/// above 0, a `rho` too coarse for the frame, steps so fine that the search would take more than 512 MiB, and frames
/// with a side above 32767. Thread-safe.
void houghLines(Mat<unsigned char, 2> image, float rho, float theta, int threshold, int edgeThresh, int lineLenMin,
                int lineGapMax, bool quantize, Mat<Vec<int, 4>, 1> &lines, Mat<unsigned char, 2> &lineImage);

} // namespace zun
