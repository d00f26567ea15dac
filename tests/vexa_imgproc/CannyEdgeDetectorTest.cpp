#include "vexa_imgproc/CannyEdgeDetector.h"

#include <climits>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include "containers/Exception.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;

cv::Mat view(Grey const &frame) {
    return {static_cast<int>(frame.shape[0]), static_cast<int>(frame.shape[1]), CV_8UC1, frame.first()};
}

TEST(CannyEdgeDetector, GivesOpenCvsMapOnStorageOfItsOwn) {
    std::mt19937 random(1);
    int const thresholds[] = {INT_MIN, -1, 0, 30, 90, 200, 1000, 40000, INT_MAX};
    for (Shape<2> const shape : {Shape<2>{1, 1}, Shape<2>{1, 40}, Shape<2>{40, 1}, Shape<2>{37, 61}})
        for (int const lower : thresholds)
            for (int const upper : thresholds)
                for (bool const l2 : {false, true}) {
                    Grey frame = test::randomFrame<unsigned char>(shape[0], shape[1], random), result;
                    cv::blur(view(frame), view(frame), {3, 3});
                    Grey const before = frame.clone();
                    cannyEdgeDetector(frame, lower, upper, l2, result);
                    cv::Mat expected;
                    cv::Canny(view(frame), expected, lower, upper, 3, l2);
                    ASSERT_EQ(result.shape, shape);
                    ASSERT_TRUE(std::equal(expected.datastart, expected.dataend, result.first())) << lower << upper;
                    ASSERT_EQ(test::elements(frame), test::elements(before));
                }
}

TEST(CannyEdgeDetector, TakesFramesOfAnySide) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 7}, Shape<2>{7, 0}, Shape<2>{2, 70000}}) {
        Grey result({1, 1}, 9);
        cannyEdgeDetector(Grey(shape, 0), 1, 2, false, result);
        EXPECT_EQ(result.shape, shape);
        EXPECT_EQ(std::count(result.first(), result.first() + result.count, 0), result.count);
    }
    unsigned char pixel = 0;
    Grey result, huge = Grey::wrap(&pixel, {65537, 65536}); // its count wraps
    huge.count = 65536;
    EXPECT_THROW(cannyEdgeDetector(huge, 1, 2, false, result), Exception);
}

} // namespace
} // namespace zun
