#include <random>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "support/Frames.h"
#include "support/LiteralCrop.h"

namespace zun {
namespace {

using test::elements;

std::vector<int> cropped(Mat<int, 2> const &source, int x, int y, int width, int height) {
    return elements(cropReplicate(source, x, y, width, height));
}

Mat<int, 2> twoByTwo() {
    Mat<int, 2> mat({2, 2});
    for (int i = 0; i < 4; i++) mat.first()[i] = i + 1;
    return mat;
}

TEST(CropReplicate, RepeatsTheNearestCornerAndEdge) {
    EXPECT_EQ(cropped(twoByTwo(), -1, -1, 4, 4), (std::vector<int>{1, 1, 2, 2, 1, 1, 2, 2, 3, 3, 4, 4, 3, 3, 4, 4}));
    EXPECT_EQ(cropped(twoByTwo(), 1, 1, 3, 1), (std::vector<int>{4, 4, 4}));
    EXPECT_EQ(cropped(twoByTwo(), -2, 1, 3, 2), (std::vector<int>{3, 3, 3, 3, 3, 3}));
}

TEST(CropReplicate, OfTheWholeSourceIsAClone) {
    std::mt19937 random(2);
    auto const source = test::randomFrame<Vec3b>(7, 5, random);
    auto const whole = cropReplicate(source, 0, 0, 5, 7);
    EXPECT_EQ(elements(whole), elements(source));
    EXPECT_NE(whole.first(), source.first());
}

TEST(CropReplicate, LeavesRowsZeroWhereNoRowOverlaps) {
    for (int const y : {-4, -3, 2, 9}) EXPECT_EQ(cropped(twoByTwo(), 0, y, 2, 3), std::vector<int>(6, 0)) << y;
    EXPECT_EQ(cropped(twoByTwo(), -50, 2, 2, 3), std::vector<int>(6, 0)) << "wholly left, but no row overlaps";
}

TEST(CropReplicate, TakesARectangleWithoutColumnsOrRows) {
    EXPECT_EQ(cropReplicate(twoByTwo(), 1, -1, 0, 5).shape, (Shape<2>{5, 0}));
    EXPECT_EQ(cropReplicate(twoByTwo(), -1, 1, 4, 0).shape, (Shape<2>{0, 4}));
}

/// Random sources and rectangles that share columns with them, on rows anywhere.
template <class T>
void compareWithTheLiteralSteps(unsigned seed) {
    std::mt19937 random(seed);
    auto const between = [&](int low, int high) { return low + static_cast<int>(random() % unsigned(high - low + 1)); };
    for (int round = 0; round < 4000; round++) {
        int const rows = between(1, 8), columns = between(1, 8);
        auto const source = test::randomFrame<T>(static_cast<unsigned>(rows), static_cast<unsigned>(columns), random);
        int const x = between(-9, columns - 1), width = between(1 - x, columns + 9 - x);
        int const y = between(-12, rows + 4), height = between(0, 20);
        if (width < 1) continue;
        auto const expected = test::literalCrop(elements(source), rows, columns, x, y, width, height);
        ASSERT_TRUE(expected.has_value());
        ASSERT_EQ(elements(cropReplicate(source, x, y, width, height)), *expected)
            << rows << " x " << columns << " at " << x << ", " << y << ", " << width << ", " << height;
    }
}

TEST(CropReplicate, FollowsItsStepsOnBytes) { compareWithTheLiteralSteps<unsigned char>(3); }
TEST(CropReplicate, FollowsItsStepsOnBytePixels) { compareWithTheLiteralSteps<Vec3b>(4); }
TEST(CropReplicate, FollowsItsStepsOnFloatPixels) { compareWithTheLiteralSteps<Vec3f>(5); }

} // namespace
} // namespace zun
