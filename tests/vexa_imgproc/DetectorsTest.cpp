// The three detectors beside the library that they are made to agree with.
#include <algorithm>
#include <climits>
#include <limits>
#include <thread>
#include <tuple>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include "containers/Exception.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/Text.h"
#include "vexa_imgproc/CannyEdgeDetector.h"
#include "vexa_imgproc/Contours.h"
#include "vexa_imgproc/HoughLines.h"

namespace zun {
namespace {

using test::elements, test::randomFrame;
using Grey = Mat<unsigned char, 2>;

cv::Mat view(Grey const &frame) {
    return {static_cast<int>(frame.shape[0]), static_cast<int>(frame.shape[1]), CV_8UC1, frame.first()};
}

TEST(CannyEdgeDetector, GivesOpenCvsMapForFramesOfAnySideOnStorageOfItsOwn) {
    std::mt19937 random(1);
    for (Shape<2> const shape : {Shape<2>{1, 40}, {40, 1}, {37, 61}, {0, 0}, {0, 7}, {7, 0}, {2, 70000}})
        for (auto const &[lower, upper, l2] : {std::tuple(INT_MIN, INT_MAX, false),
                                               {0, 30, true},
                                               {90, 200, false},
                                               {90, 200, true},
                                               {200, 90, false}}) {
            Grey const frame = randomFrame<unsigned char>(shape[0], shape[1], random), before = frame.clone();
            Grey result({1, 1}, 9);
            cannyEdgeDetector(frame, lower, upper, l2, result);
            cv::Mat expected;
            if (frame.count > 0) cv::Canny(view(frame), expected, lower, upper, 3, l2);
            ASSERT_EQ(result.shape, shape);
            ASSERT_TRUE(std::equal(expected.datastart, expected.dataend, result.first())) << lower << ", " << upper;
            ASSERT_EQ(elements(frame), elements(before));
        }
    unsigned char pixel = 0;
    Grey result, huge = Grey::wrap(&pixel, {65537, 65536}); // its count wraps
    huge.count = 65536;
    EXPECT_THROW(cannyEdgeDetector(huge, 1, 2, false, result), Exception);
}

TEST(Contours, TakeEmptyFramesRefuseOnesThatWrapAndReplaceTheFrameOnDemand) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, {0, 5}, {5, 0}, {2, 2}}) {
        Grey frame(shape, 0);
        EXPECT_EQ(Contours(frame, false).size(), 0u);
    }
    Grey wrapping({2, 2147483650u}, 1); // 4 elements
    EXPECT_THROW(Contours(wrapping, false), Exception);
    Grey const original({4, 4}, 7);
    for (bool const replaced : {false, true}) {
        Grey frame = original;
        Contours const contours(frame, replaced);
        EXPECT_EQ(frame.first() != original.first(), replaced);
        EXPECT_EQ(frame.shape, original.shape);
    }
    EXPECT_EQ(elements(original), std::vector<unsigned char>(16, 7));
}

/// How many pixels one gets to from a seed in four directions, up to the pixels that are marked.
int flood(cv::Mat &marked, cv::Point seed) {
    int count = 0;
    for (std::vector<cv::Point> open{seed}; !open.empty();) {
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
        Grey frame({unsigned(3 + random() % 22), unsigned(3 + random() % 22)}, 0);
        cv::Mat pixels = view(frame);
        auto const percent = 20 + random() % 70;
        for (int y = 1; y + 1 < pixels.rows; y++)
            for (int x = 1; x + 1 < pixels.cols; x++)
                if (random() % 100 < percent)
                    pixels.at<unsigned char>(y, x) = static_cast<unsigned char>(1 + random() % 255);
        std::vector<std::vector<cv::Point>> expected, found;
        std::vector<cv::Vec4i> relatives;
        cv::findContours(pixels, expected, relatives, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE);

        std::vector<std::tuple<int, int, bool>> places;
        for (Contours const contours(frame, false); Contours::Contour const contour : contours) {
            std::vector<cv::Point> points;
            for (auto const &point : contour.getPointVector()) points.emplace_back(point[0] + 1, point[1] + 1);
            Rect<int> const box = contour.getBoundingBox();
            bool const hole = cv::contourArea(points, true) > 0;
            EXPECT_EQ(cv::Rect(box.x + 1, box.y + 1, box.width, box.height), cv::boundingRect(points));
            EXPECT_EQ(contour.getArea(), enclosed(pixels.size(), points, hole));
            EXPECT_EQ(contour.getGreenArea(), cv::contourArea(points));
            places.emplace_back(box.y, box.x, hole);
            found.push_back(std::move(points));
        }
        EXPECT_TRUE(std::ranges::is_sorted(places));
        ASSERT_TRUE(std::ranges::is_permutation(found, expected)) << round;
    }
}

using Segment = cv::Vec4i;

struct Settings {
    float rho = 1, theta = 0.0174533f;
    int threshold = 20, edgeThresh = 100, lineLenMin = 20, lineGapMax = 3;
    bool quantize = false;
};

Grey drawn(Shape<2> const &shape, std::vector<Segment> const &segments, int colour, int thickness = 1) {
    Grey const frame(shape, 0);
    cv::Mat pixels = view(frame);
    for (Segment const &s : segments) cv::line(pixels, {s[0], s[1]}, {s[2], s[3]}, cv::Scalar(colour), thickness);
    return frame;
}

/// The segments found, of which the image has to be drawn.
std::vector<Segment> search(Grey const &frame, Settings const &s) {
    Mat<Vec<int, 4>, 1> lines;
    Grey image;
    houghLines(frame, s.rho, s.theta, s.threshold, s.edgeThresh, s.lineLenMin, s.lineGapMax, s.quantize, lines, image);
    EXPECT_NE(lines.data, nullptr);
    std::vector<Segment> segments;
    for (std::uint32_t i = 0; i < lines.count; i++) segments.emplace_back(lines.first()[i].elements);
    EXPECT_EQ(image.shape, frame.shape);
    EXPECT_EQ(elements(image), elements(drawn(frame.shape, segments, 255)));
    return segments;
}

TEST(HoughLines, GivesOpenCvsSegmentsWithoutQuantisation) {
    std::mt19937 random(1);
    std::size_t segments = 0;
    for (int round = 0; round < 100; round++) {
        auto const upTo = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
        Shape<2> const shape{30 + unsigned(upTo(60)), 30 + unsigned(upTo(60))};
        std::vector<Segment> lines;
        for (int i = 0; i < 5; i++) lines.push_back({upTo(90), upTo(90), upTo(90), upTo(90)});
        Grey const frame = drawn(shape, lines, 200, 1 + round % 3), before = frame.clone();
        Settings const settings{.rho = float(1 + upTo(3)) / 2,
                                .theta = float(1 + upTo(4)) * 0.01f,
                                .threshold = upTo(30) - 2,
                                .edgeThresh = upTo(300) - 50,
                                .lineLenMin = upTo(40) - 2,
                                .lineGapMax = upTo(8) - 2};
        cv::Mat const edges = view(frame) > settings.edgeThresh;
        std::vector<Segment> expected;
        cv::HoughLinesP(edges, expected, settings.rho, settings.theta, std::max(settings.threshold, 1),
                        settings.lineLenMin, settings.lineGapMax);
        std::vector<Segment> const found = search(frame, settings);
        ASSERT_EQ(elements(frame), elements(before));
        ASSERT_EQ(found, expected);
        segments += expected.size();

        Settings sparse = settings;
        sparse.quantize = true;
        std::vector<Segment> const few = search(frame, sparse);
        EXPECT_EQ(few.empty(), expected.empty());
        for (Segment const &s : few) EXPECT_EQ(std::ranges::count(found, s), 1);
    }
    EXPECT_GT(segments, 500u);
}

TEST(HoughLines, QuantisedGivesABroadEdgeOnceAndTheLongestFirst) {
    Grey const frame = drawn({60, 100}, {{5, 20, 90, 35}, {10, 50, 40, 50}, {51, 50, 95, 50}}, 255, 3);
    Settings settings{.rho = 2, .threshold = 15, .lineLenMin = 15, .lineGapMax = 2};
    EXPECT_GT(search(frame, settings).size(), 6u);
    settings.quantize = true;
    EXPECT_EQ(search(frame, settings), (std::vector<Segment>{{4, 21, 92, 35}, {50, 49, 97, 50}, {9, 51, 40, 48}}));
}

TEST(HoughLines, RefusesWhatTheSearchCanNotTake) {
    float const nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    using Row = std::tuple<Shape<2>, float, float, std::string>;
    for (auto const &[shape, rho, theta, fault] :
         {Row({20, 20}, 0, 0.1f, "rho is 0; set it above 0"), Row({20, 20}, nan, 0.1f, "rho is nan"),
          Row({20, 20}, infinity, 0.1f, "rho is inf"), Row({20, 20}, 1e9f, 0.1f, "rho is 1e+09, too coarse"),
          Row({1, 100}, 50, 0.1f, "too coarse for a frame of 1 rows and 100 columns; set it lower"),
          Row({20, 20}, 1, -1, "theta is -1; set it above 0"), Row({20, 20}, 1, nan, "theta is nan"),
          Row({20, 20}, 1, 1e-7f, "too fine"), Row({20, 20}, 1e-40f, 0.1f, "too fine"),
          Row({1, 32768}, 1, 0.1f, "a side may have 32767"), Row({1, 32767}, 1, 0.1f, "no failure"),
          Row({20, 20}, 40, 1e9f, "no failure"), Row({0, 20}, nan, nan, "no failure")})
        test::expectParts(test::messageOf([&, s = shape, settings = Settings{.rho = rho, .theta = theta}] {
                              search(Grey(s, 0), settings);
                          }),
                          {fault});
    Settings const extremes{
        .rho = 9, .threshold = INT_MIN, .edgeThresh = INT_MIN, .lineLenMin = INT_MIN, .lineGapMax = INT_MAX};
    EXPECT_FALSE(search(Grey({9, 9}, 7), extremes).empty());
}

/// All that the three detectors find in a frame.
std::vector<int> searchAll(Grey const &frame) {
    std::vector<int> found;
    Grey edges, image;
    cannyEdgeDetector(frame, 300, 600, true, edges);
    Mat<Vec<int, 4>, 1> lines;
    houghLines(edges, 1, 0.05f, 8, 0, 6, 2, true, lines, image);
    for (Grey const &map : {edges, image}) found.insert(found.end(), map.first(), map.first() + map.count);
    for (Contours const contours(edges, false); Contours::Contour const contour : contours) {
        found.push_back(contour.getArea());
        for (auto const &point : contour.getPointVector()) found.insert(found.end(), {point[0], point[1]});
    }
    return found;
}

TEST(Detectors, FindTheSameInManyThreadsAtOnce) {
    std::mt19937 random(1);
    Grey const frames[] = {randomFrame<unsigned char>(40, 50, random), randomFrame<unsigned char>(70, 30, random)};
    std::vector<std::vector<int>> found(16); // the first calls of all are made in threads
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < found.size(); i++)
            threads.emplace_back([&, i] {
                for (int round = 0; round < 5; round++) found[i] = searchAll(frames[i % 2]);
            });
    }
    for (std::size_t i = 0; i < found.size(); i++) EXPECT_EQ(found[i], searchAll(frames[i % 2])) << i;
}

} // namespace
} // namespace zun
