#include "vexa_imgproc/HoughLines.h"

#include <algorithm>
#include <climits>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include "support/Failures.h"
#include "support/Frames.h"
#include "support/Text.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Segment = cv::Vec4i;

struct Settings {
    float rho = 1, theta = 0.0174533f;
    int threshold = 20, edgeThresh = 100, lineLenMin = 20, lineGapMax = 3;
    bool quantize = false;
};

struct Lines {
    std::vector<Segment> segments;
    Grey image;
};

Lines search(Grey const &frame, Settings const &s) {
    Lines found;
    Mat<Vec<int, 4>, 1> lines;
    houghLines(frame, s.rho, s.theta, s.threshold, s.edgeThresh, s.lineLenMin, s.lineGapMax, s.quantize, lines,
               found.image);
    for (std::uint32_t i = 0; i < lines.count; i++) {
        found.segments.emplace_back(lines.first()[i].elements);
    }
    EXPECT_NE(lines.data, nullptr);
    return found;
}

Grey drawn(Shape<2> const &shape, std::vector<Segment> const &segments, int colour, int thickness = 1) {
    Grey const frame(shape, 0);
    cv::Mat view(static_cast<int>(shape[0]), static_cast<int>(shape[1]), CV_8UC1, frame.first());
    for (Segment const &s : segments) cv::line(view, {s[0], s[1]}, {s[2], s[3]}, cv::Scalar(colour), thickness);
    return frame;
}

TEST(HoughLines, GivesOpenCvsSegmentsWithoutQuantisation) {
    std::mt19937 random(1);
    std::size_t segments = 0;
    for (int round = 0; round < 100; round++) {
        auto const upTo = [&](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
        Shape<2> const shape{30 + unsigned(upTo(60)), 30 + unsigned(upTo(60))};
        std::vector<Segment> lines;
        for (int i = 0; i < 5; i++) lines.push_back({upTo(90), upTo(90), upTo(90), upTo(90)});
        Grey const frame = drawn(shape, lines, 200, 1 + round % 3);
        Settings const settings{.rho = float(1 + upTo(3)) / 2,
                                .theta = float(1 + upTo(4)) * 0.01f,
                                .threshold = upTo(30) - 2,
                                .edgeThresh = upTo(300) - 50,
                                .lineLenMin = upTo(40) - 2,
                                .lineGapMax = upTo(8) - 2};
        cv::Mat edges(static_cast<int>(shape[0]), static_cast<int>(shape[1]), CV_8UC1);
        for (std::uint32_t i = 0; i < frame.count; i++) edges.data[i] = frame.first()[i] > settings.edgeThresh;
        std::vector<Segment> expected;
        cv::HoughLinesP(edges, expected, settings.rho, settings.theta, std::max(settings.threshold, 1),
                        settings.lineLenMin, settings.lineGapMax);
        Grey const before = frame.clone();
        Lines const found = search(frame, settings);
        ASSERT_EQ(test::elements(frame), test::elements(before));
        ASSERT_EQ(found.segments, expected);
        EXPECT_EQ(test::elements(found.image), test::elements(drawn(shape, found.segments, 255)));
        segments += expected.size();

        Settings sparse = settings;
        sparse.quantize = true;
        Lines const few = search(frame, sparse);
        EXPECT_EQ(few.segments.empty(), expected.empty());
        for (Segment const &s : few.segments) EXPECT_EQ(std::ranges::count(found.segments, s), 1);
        EXPECT_EQ(test::elements(few.image), test::elements(drawn(shape, few.segments, 255)));
    }
    EXPECT_GT(segments, 500u);
}

TEST(HoughLines, QuantisedGivesABroadEdgeOnceAndTheLongestFirst) {
    Grey const frame = drawn({60, 100}, {{5, 20, 90, 35}, {10, 50, 40, 50}, {51, 50, 95, 50}}, 255, 3);
    Settings settings{.rho = 2, .threshold = 15, .lineLenMin = 15, .lineGapMax = 2};
    EXPECT_GT(search(frame, settings).segments.size(), 6u);
    settings.quantize = true;
    EXPECT_EQ(search(frame, settings).segments,
              (std::vector<Segment>{{4, 21, 92, 35}, {50, 49, 97, 50}, {9, 51, 40, 48}}));
}

TEST(HoughLines, RefusesWhatTheSearchCanNotTake) {
    float const nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    struct {
        Shape<2> shape;
        float rho, theta;
        std::string fault;
    } const cases[] = {
        {{20, 20}, 0, 0.1f, "rho is 0; set it above 0"},
        {{20, 20}, nan, 0.1f, "rho is nan"},
        {{20, 20}, infinity, 0.1f, "rho is inf"},
        {{20, 20}, 1e9f, 0.1f, "rho is 1e+09, too coarse"},
        {{1, 100}, 50, 0.1f, "too coarse for a frame of 1 rows and 100 columns; set it lower"},
        {{20, 20}, 1, -1, "theta is -1; set it above 0"},
        {{20, 20}, 1, nan, "theta is nan"},
        {{20, 20}, 1, 1e-7f, "too fine"},
        {{20, 20}, 1e-40f, 0.1f, "too fine"},
        {{1, 32768}, 1, 0.1f, "a side may have 32767"},
        {{1, 32767}, 1, 0.1f, "no failure"},
        {{20, 20}, 40, 1e9f, "no failure"},
        {{0, 20}, nan, nan, "no failure"},
    };
    for (auto const &[shape, rho, theta, fault] : cases) {
        Grey const frame(shape, 0);
        Settings const settings{.rho = rho, .theta = theta};
        test::expectParts(test::messageOf([&] { EXPECT_EQ(search(frame, settings).image.shape, frame.shape); }),
                          {fault});
    }
    Settings const extremes{
        .rho = 9, .threshold = INT_MIN, .edgeThresh = INT_MIN, .lineLenMin = INT_MIN, .lineGapMax = INT_MAX};
    EXPECT_FALSE(search(Grey({9, 9}, 7), extremes).segments.empty());
}

} // namespace
} // namespace zun
