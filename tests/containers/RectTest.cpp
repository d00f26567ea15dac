#include <limits>

#include <gtest/gtest.h>

#include "containers/Rect.h"

namespace zun {
namespace {

constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();

// A constant expression shows a conversion that the language leaves undefined, which some processors forgive.
static_assert(truncateToInt(2147483648.0) == smallest && truncateToInt(-2147483649.0) == smallest);
static_assert(truncateToInt(2147483647.9) == largest && truncateToInt(-2147483648.9) == smallest);

TEST(Rounding, TakesHalvesAwayFromZeroAndAnythingOutOfRangeToTheSmallestInt) {
    float const infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    constexpr int below = 2147483520;        // the largest float below 2^31
    constexpr float belowHalf = 0.49999997f; // the largest below a half
    struct {
        float value;
        int rounded, truncated;
    } const cases[] = {{0.4f, 0, 0},    {0.5f, 1, 0},    {-0.5f, -1, 0},    {2.5f, 3, 2},
                       {-2.5f, -3, -2}, {-1.9f, -2, -1}, {belowHalf, 0, 0}, {below, below, below}};
    for (auto const &[value, rounded, truncated] : cases) {
        EXPECT_EQ(roundToInt(value), rounded) << value;
        EXPECT_EQ(truncateToInt(value), truncated) << value;
    }
    for (float const outside : {2147483648.0f, -2147483648.0f, -2147483904.0f, infinity, -infinity, nan}) {
        EXPECT_EQ(roundToInt(outside), smallest) << outside;
        EXPECT_EQ(truncateToInt(outside), smallest) << outside;
    }
    EXPECT_EQ(roundToInt(Box{-2.5f, 0.5f, 2.2f, 1.5f}), (Rect<int>{-3, 1, 2, 2})) << "each number by itself";
}

TEST(ClipToFrame, GivesThePartInsideOrAllZerosAndWrapsItsSums) {
    struct {
        Rect<int> rect, clipped; // in a frame of 10 rows and 20 columns
    } const cases[] = {
        {{0, 0, 20, 10}, {0, 0, 20, 10}},   {{3, 4, 5, 6}, {3, 4, 5, 6}},
        {{-3, -2, 5, 4}, {0, 0, 2, 2}},     {{18, 8, 5, 5}, {18, 8, 2, 2}},
        {{-5, -5, 50, 50}, {0, 0, 20, 10}}, {{-5, 0, 5, 5}, {0, 0, 0, 0}},
        {{20, 0, 5, 5}, {0, 0, 0, 0}},      {{0, 10, 5, 5}, {0, 0, 0, 0}},
        {{3, -9, 5, 9}, {0, 0, 0, 0}},      {{3, 3, 0, 5}, {0, 0, 0, 0}},
        {{3, 3, 5, -1}, {0, 0, 0, 0}},      {{smallest, 0, smallest, 5}, {0, 0, 0, 0}},
        {{19, 9, 1, 1}, {19, 9, 1, 1}},     {{-1, 0, largest, 1}, {0, 0, 20, 1}},
    };
    for (auto const &[rect, clipped] : cases)
        EXPECT_EQ(clipToFrame(rect, 10, 20), clipped)
            << rect.x << ", " << rect.y << ", " << rect.width << ", " << rect.height;
    // x + width is 2^31, which wraps to the smallest int; from there back to the left edge it wraps once more.
    EXPECT_EQ(clipToFrame({128, 0, 2147483520, 5}, 10, 20), (Rect<int>{128, 0, 2147483520, 5}));
}

} // namespace
} // namespace zun
