#include <algorithm>
#include <cstdlib>

#include "ImgprocNode.h"

namespace zun::test {
namespace {

TEST(CannyEdgeDetector, HandsItsThresholdsOnWithoutTheirFractions) {
    Grey const frame({8, 30}); // steps of 1 to 9, whose gradients are four times as much
    for (std::uint32_t i = 0; i < frame.count; i++) {
        unsigned const steps = i % 30 / 3;
        frame.first()[i] = static_cast<unsigned char>(steps * (steps + 1) / 2);
    }
    auto const canny = [&](double lower, double upper, bool l2 = false) {
        return elements(run<Grey>("CannyEdgeDetector", {{"l2GradNorm", l2}, {"maxThresh", upper}, {"minThresh", lower}},
                                  {{"image", valueOf(frame)}}, "cannyMapImg"));
    };
    Bytes const between = canny(15, 23);
    EXPECT_EQ(canny(15.9, 23.9), between);
    EXPECT_NE(canny(15, 24), between);
    EXPECT_NE(canny(16, 16), canny(15, 15));
    EXPECT_EQ(canny(23, 15), between) << "the library puts them in order";
    EXPECT_EQ(canny(-0.5, -0.5), canny(0, 0));
    EXPECT_EQ(canny(nan, 1e10), canny(-2147483648.0, -2147483648.0));
    EXPECT_EQ(canny(15, 23, true), between) << "along an axis both norms are the same";
}

struct Lines {
    std::vector<Vec<int, 4>> segments;
    std::ptrdiff_t pixels; ///< set in the image, all others being 0
};

Lines hough(Grey const &frame, int lineLenMin, int lineGapMax, int threshold = 10, int edgeThresh = 0) {
    OneNode node = nodeOf("HoughLines", {{"edgeThresh", edgeThresh},
                                         {"lineGapMax", lineGapMax},
                                         {"lineLenMin", lineLenMin},
                                         {"quantize", false},
                                         {"rho", 1.0},
                                         {"theta", 1.5707964},
                                         {"threshold", threshold}});
    Values const written = node.run({{"image", valueOf(frame)}});
    auto const &lines = held<Mat<Vec<int, 4>, 1>>(written.at("out.houghLines"));
    Bytes const image = elements(held<Grey>(written.at("out.houghLinesImg")));
    EXPECT_EQ(std::ranges::count(image, 0) + std::ranges::count(image, 255), frame.count);
    return {{lines.first(), lines.first() + lines.count}, std::ranges::count(image, 255)};
}

TEST(HoughLines, KeepsItsOptionsApart) {
    Grey const frame({9, 60}, 0);
    for (int const column : {4, 28}) std::fill_n(frame.first() + 3 * 60 + column, 20, 5); // of row 3
    Lines const interrupted = hough(frame, 10, 2), joined = hough(frame, 10, 4);
    ASSERT_FALSE(interrupted.segments.empty());
    for (Vec<int, 4> const &segment : interrupted.segments) EXPECT_EQ(std::abs(segment[2] - segment[0]), 19);
    EXPECT_EQ(joined.segments, (std::vector<Vec<int, 4>>{{4, 3, 47, 3}}));
    EXPECT_EQ(joined.pixels, 44);

    for (Lines const &none : {hough(frame, 44, 4), hough(frame, 25, 2), hough(frame, 10, 4, 41),
                              hough(frame, 10, 4, 10, 5), hough(Grey({9, 60}, 0), 4, 10), hough(Grey(), 4, 10)}) {
        EXPECT_TRUE(none.segments.empty());
        EXPECT_EQ(none.pixels, 0);
    }
}

/// What the node writes, with only the outputs given connected.
Values findContours(Grey const &frame, Ports const &outputs) {
    return nodeOf("FindContours", {}, {"input"}, outputs).run({{"input", valueOf(frame)}});
}

TEST(FindContours, GivesListsInTheCoordinatesOfItsInput) {
    // A corner pixel and a ring of mixed brightness that touches two edges, with a hole.
    Bytes const pixels{9, 0, 0, 0,   0, //
                       0, 0, 1, 255, 7, 0, 0, 2, 0, 3, 0, 0, 128, 4, 1};
    Grey const frame = frameOf({4, 5}, pixels);
    Values const written = findContours(frame, {"area", "boundingBox", "greenArea", "points"});
    EXPECT_EQ(held<std::vector<int>>(written.at("area")), (std::vector<int>{1, 9, 5}));
    EXPECT_EQ(held<std::vector<int>>(written.at("greenArea")), (std::vector<int>{0, 4, 2}));
    EXPECT_EQ(held<std::vector<Rectf>>(written.at("boundingBox")),
              (std::vector<Rectf>{{0, 0, 1, 1}, {2, 1, 3, 3}, {2, 1, 3, 3}}));
    auto const &points = held<std::vector<std::vector<Vec2i>>>(written.at("points"));
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(points[1].size(), 8u);
    EXPECT_EQ(points[1][0], (Vec2i{2, 1}));
    EXPECT_EQ(elements(frame), pixels);
}

TEST(FindContours, WritesConnectedOutputsAloneAndEmptyListsForNothing) {
    EXPECT_EQ(findContours(Grey({3, 3}, 1), {}).size(), 0u);
    for (std::string const port : {"area", "boundingBox", "greenArea", "points"})
        EXPECT_EQ(findContours(Grey({3, 3}, 1), {port}).count(port), 1u);
    for (Grey const &empty : {Grey(), Grey(Shape<2>{0, 4}), Grey(Shape<2>{4, 0}), Grey({4, 4}, 0)})
        EXPECT_TRUE(held<std::vector<int>>(findContours(empty, {"area"}).at("area")).empty());
}

TEST(FindContours, GuardsAgainstFramesWhoseLabelsDoNotFitInMemory) {
    std::vector<Guarded> cases;
    for (auto const &[rows, columns, message] :
         {std::tuple{0u, 0u, ""},
          {0u, (1u << 29) - 2, ""}, // two rows of border
          {0u, (1u << 29) - 1, "0 rows and 536870911 columns"},
          {(1u << 29) - 1, 0u, "536870911 rows and 0 columns"},
          {0u, 0xfffffffe, "4294967294 columns"}, // with the border, sides and count wrap
          {0xffffffff, 0u, "4294967295 rows"},
          {65536u, 65535u, "65536 rows"}})
        cases.push_back(guarded<unsigned char>({}, {rows, columns}, message));
    expectGuarded("FindContours", cases);
}

} // namespace
} // namespace zun::test
