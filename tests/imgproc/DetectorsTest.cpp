#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Rect.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Bytes = std::vector<unsigned char>;
using Options = std::map<std::string, OptionNode>;

Bytes canny(Grey const &frame, double lower, double upper, bool l2 = false) {
    test::ImgprocNode node("CannyEdgeDetector", {{"l2GradNorm", OptionNode::ofBool(l2)},
                                                 {"maxThresh", OptionNode::ofFloat(upper)},
                                                 {"minThresh", OptionNode::ofFloat(lower)}});
    auto const map = test::held<Grey>(node.one.run({{"image", test::valueOf(frame)}}).at("out.cannyMapImg"));
    EXPECT_EQ(map.shape, frame.shape);
    return test::elements(map);
}

TEST(CannyEdgeDetector, HandsItsThresholdsOnWithoutTheirFractions) {
    Grey const frame({8, 30}, 0); // steps of 1 to 9, whose gradients are four times as much
    for (std::uint32_t i = 0; i < frame.count; i++)
        for (unsigned step = 1, column = i % 30; step * 3 <= column; step++)
            frame.first()[i] = static_cast<unsigned char>(frame.first()[i] + step);
    Bytes const between = canny(frame, 15, 23);
    EXPECT_EQ(canny(frame, 15.9, 23.9), between);
    EXPECT_NE(canny(frame, 15, 24), between);
    EXPECT_NE(canny(frame, 16, 16), canny(frame, 15, 15));
    EXPECT_EQ(canny(frame, 23, 15), between) << "the library puts them in order";
    EXPECT_EQ(canny(frame, -0.5, -0.5), canny(frame, 0, 0));
    EXPECT_EQ(canny(frame, NAN, 1e10), canny(frame, -2147483648.0, -2147483648.0));
    EXPECT_EQ(canny(frame, 15, 23, true), between) << "along an axis both norms are the same";
}

struct Lines {
    std::vector<Vec<int, 4>> segments;
    Grey image;
};

Lines hough(Grey const &frame, int lineLenMin, int lineGapMax, int threshold = 10, int edgeThresh = 0) {
    test::ImgprocNode node("HoughLines", {{"edgeThresh", OptionNode::ofInt(edgeThresh)},
                                          {"lineGapMax", OptionNode::ofInt(lineGapMax)},
                                          {"lineLenMin", OptionNode::ofInt(lineLenMin)},
                                          {"quantize", OptionNode::ofBool(false)},
                                          {"rho", OptionNode::ofFloat(1)},
                                          {"theta", OptionNode::ofFloat(1.5707964)},
                                          {"threshold", OptionNode::ofInt(threshold)}});
    test::Values const written = node.one.run({{"image", test::valueOf(frame)}});
    auto const &lines = test::held<Mat<Vec<int, 4>, 1>>(written.at("out.houghLines"));
    return {{lines.first(), lines.first() + lines.count}, test::held<Grey>(written.at("out.houghLinesImg"))};
}

TEST(HoughLines, KeepsItsOptionsApart) {
    Grey const frame({9, 60}, 0);
    std::fill_n(frame.first() + 3 * 60 + 4, 20, 5); // columns 4 to 23 and 28 to 47 of row 3
    std::fill_n(frame.first() + 3 * 60 + 28, 20, 5);
    Lines const interrupted = hough(frame, 10, 2);
    ASSERT_FALSE(interrupted.segments.empty());
    for (Vec<int, 4> const &segment : interrupted.segments) EXPECT_EQ(std::abs(segment[2] - segment[0]), 19);
    auto const [joined, image] = hough(frame, 10, 4);
    ASSERT_EQ(joined.size(), 1u);
    EXPECT_EQ((std::array{joined[0][0], joined[0][1], joined[0][2], joined[0][3]}), (std::array{4, 3, 47, 3}));
    EXPECT_EQ(std::count(image.first(), image.first() + image.count, 255), 44);

    for (Lines const &none : {hough(frame, 44, 4), hough(frame, 25, 2), hough(frame, 10, 4, 41),
                              hough(frame, 10, 4, 10, 5), hough(Grey({9, 60}, 0), 4, 10), hough(Grey(), 4, 10)}) {
        EXPECT_EQ(none.segments.size(), 0u);
        EXPECT_EQ(std::count(none.image.first(), none.image.first() + none.image.count, 0), none.image.count);
    }
}

/// What the node writes, with only the ports given connected; those streams are named as the ports.
test::Values findContours(Grey const &frame, std::vector<std::string> const &ports) {
    std::map<std::string, std::string> outputs;
    for (std::string const &port : ports) outputs[port] = port;
    test::loadLibrary(ZUN_IMGPROC);
    test::OneNode node(NodeConfig("FindContours", {}, {{"input", "frame"}}, outputs));
    return node.run({{"frame", test::valueOf(frame)}});
}

TEST(FindContours, GivesListsInTheCoordinatesOfItsInput) {
    // A corner pixel and a ring of mixed brightness that touches two edges, with a hole.
    Bytes const pixels{9, 0, 0, 0,   0, //
                       0, 0, 1, 255, 7, 0, 0, 2, 0, 3, 0, 0, 128, 4, 1};
    Grey const frame({4, 5});
    std::copy(pixels.begin(), pixels.end(), frame.first());
    test::Values const written = findContours(frame, {"area", "boundingBox", "greenArea", "points"});
    EXPECT_EQ(test::held<std::vector<int>>(written.at("area")), (std::vector<int>{1, 9, 5}));
    EXPECT_EQ(test::held<std::vector<int>>(written.at("greenArea")), (std::vector<int>{0, 4, 2}));
    std::vector<std::array<float, 4>> boxes;
    for (Rectf const &box : test::held<std::vector<Rectf>>(written.at("boundingBox")))
        boxes.push_back({box.x, box.y, box.width, box.height});
    EXPECT_EQ(boxes, (std::vector<std::array<float, 4>>{{0, 0, 1, 1}, {2, 1, 3, 3}, {2, 1, 3, 3}}));
    auto const &points = test::held<std::vector<std::vector<Vec<int, 2>>>>(written.at("points"));
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(points[1].size(), 8u);
    EXPECT_EQ((std::array{points[1][0][0], points[1][0][1]}), (std::array{2, 1}));
    EXPECT_EQ(test::elements(frame), pixels);
}

TEST(FindContours, WritesConnectedOutputsAloneAndEmptyListsForNothing) {
    Grey const frame({3, 3}, 1);
    EXPECT_EQ(findContours(frame, {}).size(), 0u);
    for (std::string const port : {"area", "boundingBox", "greenArea", "points"}) {
        test::Values const written = findContours(frame, {port});
        ASSERT_EQ(written.size(), 1u);
        EXPECT_EQ(written.count(port), 1u);
    }
    for (Grey const &empty : {Grey(), Grey(Shape<2>{0, 4}), Grey(Shape<2>{4, 0}), Grey({4, 4}, 0)})
        EXPECT_EQ(test::held<std::vector<int>>(findContours(empty, {"area"}).at("area")).size(), 0u);
}

} // namespace
} // namespace zun
