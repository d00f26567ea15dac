#include <algorithm>

#include "ImgprocNode.h"
#include "vexa_imgproc/CannyEdgeDetector.h"
#include "vexa_imgproc/HoughLines.h"

namespace zun::test {
namespace {

Grey randomGrey(std::uint32_t rows, std::uint32_t columns) {
    std::mt19937 random(1);
    return randomFrame<unsigned char>(rows, columns, random);
}

TEST(CannyEdgeDetector, HandsItsThresholdsOnWithoutTheirFractions) {
    Grey const frame = randomGrey(30, 40);
    std::set<std::vector<int>> maps;
    using Row = std::tuple<double, double, bool, int, int>;
    for (auto const &[lower, upper, l2, from, to] :
         {Row{300.9, 500.9, false, 300, 500}, Row{300, 500, true, 300, 500}, Row{400, 500, false, 400, 500},
          Row{300, 600, false, 300, 600}, Row{-0.5, -0.5, false, 0, 0}, Row{nan, 1e10, false, smallest, smallest}}) {
        Grey expected;
        cannyEdgeDetector(frame, from, to, l2, expected);
        Grey const map =
            run<Grey>("CannyEdgeDetector", {{"l2GradNorm", l2}, {"maxThresh", upper}, {"minThresh", lower}},
                      {{"image", valueOf(frame)}}, "cannyMapImg");
        EXPECT_EQ(elements(map), elements(expected)) << lower << ", " << upper;
        maps.emplace(map.first(), map.first() + map.count);
    }
    EXPECT_GE(maps.size(), 5u) << "the settings have their effects";
}

TEST(HoughLines, HandsItsOptionsOn) {
    Grey const frame = randomGrey(40, 60);
    Mat<Vec<int, 4>, 1> expected;
    Grey image;
    houghLines(frame, 1.5f, 0.25f, 20, 150, 12, 3, true, expected, image);
    EXPECT_GT(expected.count, 3u);
    Options const options{{"edgeThresh", 150}, {"lineGapMax", 3}, {"lineLenMin", 12}, {"quantize", true},
                          {"rho", 1.5},        {"theta", 0.25},   {"threshold", 20}};
    Values const written = nodeOf("HoughLines", options).run({{"image", valueOf(frame)}});
    auto const &lines = held<Mat<Vec<int, 4>, 1>>(written.at("out.houghLines"));
    EXPECT_TRUE(
        std::equal(lines.first(), lines.first() + lines.count, expected.first(), expected.first() + expected.count));
    EXPECT_EQ(elements(held<Grey>(written.at("out.houghLinesImg"))), elements(image));
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
