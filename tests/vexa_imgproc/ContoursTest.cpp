#include "vexa_imgproc/Contours.h"

#include <tuple>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include "containers/Exception.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;

TEST(Contours, ReplacesTheFrameOnlyOnDemandAndOnStorageOfItsOwn) {
    Grey const original({4, 4}, 7);
    Grey frame = original;
    Contours const kept(frame, false);
    EXPECT_EQ(frame.first(), original.first());
    Contours const replaced(frame, true);
    EXPECT_NE(frame.first(), original.first());
    EXPECT_EQ(frame.shape, original.shape);
    EXPECT_EQ(test::elements(original), std::vector<unsigned char>(16, 7));
}

TEST(Contours, TakesEmptyFramesAndRefusesOnesThatWrap) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 5}, Shape<2>{5, 0}, Shape<2>{2, 2}}) {
        Grey frame(shape, 0);
        EXPECT_EQ(Contours(frame, false).size(), 0u);
    }
    Grey wrapping({2, 2147483650u}, 1); // 4 elements
    EXPECT_THROW(Contours(wrapping, false), Exception);
}

/// Floods pixels in four directions from a seed, up to the pixels that are marked, and returns how many there were.
int flood(cv::Mat &marked, cv::Point seed) {
    int count = 0;
    std::vector<cv::Point> open{seed};
    while (!open.empty()) {
        cv::Point const at = open.back();
        open.pop_back();
        if (!cv::Rect({}, marked.size()).contains(at) || marked.at<unsigned char>(at) != 0) continue;
        marked.at<unsigned char>(at) = 1;
        count++;
        for (cv::Point const step : {cv::Point(1, 0), cv::Point(-1, 0), cv::Point(0, 1), cv::Point(0, -1)})
            open.push_back(at + step);
    }
    return count;
}

/// The definition: the border's own pixels, and those that one gets to from within, or doesn't from without.
int enclosed(cv::Size size, std::vector<cv::Point> const &border, bool hole) {
    cv::Mat marked = cv::Mat::zeros(size, CV_8UC1);
    for (cv::Point const &point : border) marked.at<unsigned char>(point) = 1;
    int const own = cv::countNonZero(marked);
    return hole ? own + flood(marked, border[0] + cv::Point(1, 0)) : size.area() - flood(marked, {0, 0});
}

TEST(Contours, AreThoseOfAnotherSearchInOrderWithAreasByTheDefinition) {
    std::mt19937 random(1);
    for (int round = 0; round < 600; round++) {
        cv::Size const size(3 + static_cast<int>(random() % 22), 3 + static_cast<int>(random() % 22));
        Grey frame({static_cast<std::uint32_t>(size.height), static_cast<std::uint32_t>(size.width)}, 0);
        cv::Mat const view(size, CV_8UC1, frame.first());
        auto const percent = 20 + random() % 70;
        for (int y = 1; y + 1 < size.height; y++)
            for (int x = 1; x + 1 < size.width; x++)
                if (random() % 100 < percent)
                    frame.first()[y * size.width + x] = static_cast<unsigned char>(1 + random() % 255);
        std::vector<std::vector<cv::Point>> expected, found;
        std::vector<cv::Vec4i> relatives;
        cv::findContours(view, expected, relatives, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE);

        std::vector<std::tuple<int, int, bool>> places;
        for (Contours const contours(frame, false); Contours::Contour const contour : contours) {
            std::vector<cv::Point> points;
            for (auto const &point : contour.getPointVector()) points.emplace_back(point[0] + 1, point[1] + 1);
            Rect<int> const box = contour.getBoundingBox();
            bool const hole = cv::contourArea(points, true) > 0;
            EXPECT_EQ(cv::Rect(box.x + 1, box.y + 1, box.width, box.height), cv::boundingRect(points));
            EXPECT_EQ(contour.getArea(), enclosed(size, points, hole));
            EXPECT_EQ(contour.getGreenArea(), cv::contourArea(points));
            places.emplace_back(box.y, box.x, hole);
            found.push_back(std::move(points));
        }
        EXPECT_TRUE(std::ranges::is_sorted(places));
        ASSERT_TRUE(std::ranges::is_permutation(found, expected)) << round;
    }
}

} // namespace
} // namespace zun
