#include "vexa_imgproc/CannyEdgeDetector.h"

#include <opencv2/imgproc.hpp>

#include "vexa_imgproc/OpenCv.h"

namespace zun {

void cannyEdgeDetector(Mat<unsigned char, 2> image, int lowerThreshold, int upperThreshold, bool l2Gradient,
                       Mat<unsigned char, 2> &result) {
    result = Mat<unsigned char, 2>(image.shape);
    if (result.count == 0) return;
    callOpenCv("cannyEdgeDetector", [&] {
        cv::Mat edges = viewOf(result);
        cv::Canny(viewOf(image), edges, lowerThreshold, upperThreshold, 3, l2Gradient);
    });
}

} // namespace zun
