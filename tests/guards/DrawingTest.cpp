#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mat.h"

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

} // namespace
} // namespace zun
