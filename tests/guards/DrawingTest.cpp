#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Points = std::vector<Vec2f>;

test::Values inputs(Frame const &frame, Points const &points) {
    return {{"image", test::valueOf(frame)}, {"points", test::valueOf(points)}};
}

TEST(DrawPointsGuard, RefusesThePointsThatFallOutOfTheFrame) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    test::Guarded const node("DrawPoints");
    struct {
        Points points; // in a frame of 10 rows and 20 columns
        int refused;   // index of the point, or -1
    } const cases[] = {
        {{}, -1},
        {{{0, 0}, {9, 19}, {9.9f, 19.9f}}, -1},
        {{{-0.9f, -0.9f}}, -1},
        {{{0, 20}, {8, 39}, {0, 199}}, -1}, // on the next rows
        {{{9, 20}}, 0},
        {{{0, 0}, {10, 0}}, 1},
        {{{0, 0}, {0, 0}, {0, 200}}, 2},
        {{{0, -1}}, 0},
        {{{5, -1}}, 0}, // not the row above: a column of 2^32 - 1
        {{{-1, 0}}, 0},
        {{{nan, 0}}, 0},
        {{{0, nan}}, 0},
        {{{infinity, 0}}, 0},
        {{{0, -infinity}}, 0},
        {{{214748368.0f, 0}}, 0}, // row * columns passes 2^32 and would wrap into the frame
    };
    Frame const frame({10, 20}, {0, 0, 0});
    for (auto const &[points, refused] : cases) {
        auto const refusal = node.refusal(inputs(frame, points));
        ASSERT_EQ(refusal.has_value(), refused >= 0) << (refusal ? refusal->reason : "");
        if (!refusal) continue;
        EXPECT_EQ(refusal->port, "points");
        EXPECT_TRUE(refusal->reason.starts_with("point " + std::to_string(refused) + " (row ")) << refusal->reason;
        EXPECT_NE(refusal->reason.find("10 rows and 20 columns"), std::string::npos) << refusal->reason;
    }
    EXPECT_TRUE(node.refusal(inputs(Frame(), {{0, 0}})));
    EXPECT_FALSE(node.refusal(inputs(Frame(), {})));
}

TEST(DrawPointsGuard, PassesExactlyWhatStaysInTheFrame) {
    test::Guarded node("DrawPoints");
    std::mt19937 random(1);
    float const odd[] = {-1, -2147483648.0f, 2147483520.0f, 4294967296.0f, std::numeric_limits<float>::quiet_NaN()};
    auto const coordinate = [&] {
        return random() % 16 == 0 ? odd[random() % std::size(odd)] : static_cast<float>(random() % 60) / 4;
    };
    int passed = 0, refused = 0;
    for (int round = 0; round < 5000; round++) {
        auto const rows = unsigned(random() % 12), columns = unsigned(random() % 12);
        Points points(random() % 4);
        for (Vec2f &point : points) point = {coordinate(), coordinate()};
        auto const values = inputs(Frame({rows, columns}, {0, 0, 0}), points);
        auto const refusal = node.refusal(values);
        bool leaves = false;
        for (Vec2f const &point : points) {
            bool const odds = !(point[0] > -1 && point[0] < 1e6f && point[1] > -1 && point[1] < 1e6f);
            leaves = leaves || odds || unsigned(point[0]) * columns + unsigned(point[1]) >= rows * columns;
        }
        ASSERT_EQ(refusal.has_value(), leaves) << (refusal ? refusal->reason : "");
        (leaves ? refused : passed)++;
        if (!refusal) node.output(values); // a sanitizer sees it leave its frame
    }
    EXPECT_GT(passed, 500);
    EXPECT_GT(refused, 500);
}

TEST(DrawTextGuard, RefusesAStringWithoutALocation) {
    auto const refusal = [](std::size_t strings, std::size_t locations, char const *colour) {
        test::Guarded const node("DrawText", {{"colour", OptionNode::ofString(colour)}});
        auto const answer = node.refusal({{"frames", test::valueOf(Frame({2, 2}))},
                                          {"strings", test::valueOf(std::vector<std::string>(strings))},
                                          {"locations", test::valueOf(Points(locations))}});
        return answer ? answer->port + ": " + answer->reason : "";
    };
    EXPECT_EQ(refusal(0, 0, "#123456"), "");
    EXPECT_EQ(refusal(2, 3, "#123456"), "");
    EXPECT_EQ(refusal(3, 2, "#123456"), "locations: string 2 has no location: there are 3 strings and 2 locations; "
                                        "send one for each");
    EXPECT_EQ(refusal(3, 2, "#12345"), "") << "the node fails for the colour before that";
    EXPECT_NE(refusal(3, 0, "#12345"), "") << "but only after it read a location";
}

TEST(DrawBoxesGuard, RefusesWhatLeadsOutOfTheFrameAndABoxWithoutAText) {
    using Boxes = std::vector<Box>;
    constexpr int largest = std::numeric_limits<int>::max();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(), far = 2147483520; // 2^31 - 128
    struct Case {
        Boxes boxes; // in a frame of 10 rows and 20 columns
        bool filled;
        char const *refused; // how the refusal begins; empty for none
        bool clamp = true;
        int thickness = 1;
        std::size_t labels = 4;
        char const *colour = "#123456";
    } const cases[] = {
        {{{0, 0, 5, 5}, {-9, -9, 99, 99}, {40, 40, 2, 2}, {nan, nan, nan, nan}}, true, ""},
        {{{0, 0, 5, 5}, {-9, -9, 99, 99}, {40, 40, 2, 2}, {nan, nan, nan, nan}}, false, "", true, 1000},
        {{{-2147483648.0f, 0, -far, 5}}, true, ""}, // its right side wraps to column 128
        {{{1, 1, 2, 2}, {far, 0, 200, 5}}, true, "boxes: box 1 (x 2.14748e+09, y 0, width 200, height 5) leads out"},
        {{{0, far, 5, 200}}, true, "boxes: box 0 "},
        {{{far, 0, 200, 5}}, true, "boxes: box 0 ", false},       // of the same area as its part
        {{{0, 0, 99, 5}, {far, 0, 200, 5}}, true, "", false},     // the node's own failure
        {{{far, 0, 200, 5}}, true, "", true, 1, 4, "#12345"},     // likewise
        {{{0, 0, 5, 5}}, false, "", true, -largest},              // top and bottom have no rows
        {{{0, 1, 5, 5}}, false, "boxes: box 0 ", true, -largest}, // the top band wraps
        {{{1, 1, 5, 5}}, false, "", true, -largest - 1},
        {{{0, 0, 9, 9}}, false, "", true, largest - 9},
        {{{0, 0, 5, 5}}, false, "boxes: box 0 ", true, largest}, // the right band wraps
        {{{0, 0, 1, 1}, {1, 1, 1, 1}},
         false,
         "text: box 1 (x 1, y 1, width 1, height 1) has no text: there are 2 ",
         true,
         1,
         1},
        {{{0, 0, 1, 1}, {1, 1, 99, 1}}, false, "", false, 1, 1}, // fails before it reads the label
    };
    for (Case const &given : cases) {
        test::Guarded node("DrawBoxes", {{"filled", OptionNode::ofBool(given.filled)},
                                         {"clamp", OptionNode::ofBool(given.clamp)},
                                         {"lineThickness", OptionNode::ofInt(given.thickness)},
                                         {"colour", OptionNode::ofString(given.colour)}});
        test::Values const values{{"frames", test::valueOf(Frame({10, 20}, {0, 0, 0}))},
                                  {"boxes", test::valueOf(given.boxes)},
                                  {"text", test::valueOf(std::vector<std::string>(given.labels))}};
        auto const refusal = node.refusal(values);
        std::string const text = refusal ? refusal->port + ": " + refusal->reason : "";
        auto const place = &given - cases;
        EXPECT_EQ(text.empty(), *given.refused == 0) << place << ": " << text;
        EXPECT_TRUE(text.starts_with(given.refused)) << place << ": " << text;
        if (refusal) continue;
        try { // a sanitizer sees it leave its frame
            node.output(values);
        } catch (Exception const &) {
            EXPECT_TRUE(!given.clamp || given.colour[6] == 0) << place;
        }
    }
}

} // namespace
} // namespace zun
