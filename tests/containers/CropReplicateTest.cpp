#include <random>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "support/Frames.h"
#include "support/LiteralCrop.h"

namespace zun {
namespace {

using test::elements;

TEST(CropReplicate, LeavesRowsZeroWhereNoRowOverlaps) {
    Mat<int, 2> const ones({2, 2}, 1);
    for (auto const &[x, y] : {std::pair(0, -4), {0, -3}, {0, 2}, {0, 9}, {-50, 2}})
        EXPECT_EQ(elements(cropReplicate(ones, x, y, 2, 3)), std::vector<int>(6, 0)) << x << ", " << y;
}

TEST(CropReplicate, TakesARectangleWithoutColumnsOrRows) {
    Mat<int, 2> const mat({2, 2}, 1);
    EXPECT_EQ(cropReplicate(mat, 1, -1, 0, 5).shape, (Shape<2>{5, 0}));
    EXPECT_EQ(cropReplicate(mat, -1, 1, 4, 0).shape, (Shape<2>{0, 4}));
}

/// Random sources and rectangles that share columns with them, on rows anywhere.
template <class T>
void compareWithTheLiteralSteps(unsigned seed) {
    std::mt19937 random(seed);
    auto const between = [&](int low, int high) { return low + static_cast<int>(random() % unsigned(high - low + 1)); };
    for (int round = 0; round < 4000; round++) {
        int const rows = between(1, 8), columns = between(1, 8);
        auto const source = test::randomFrame<T>(static_cast<unsigned>(rows), static_cast<unsigned>(columns), random);
        int const x = between(-9, columns - 1), width = between(std::max(1, 1 - x), columns + 9 - x);
        int const y = between(-12, rows + 4), height = between(0, 20);
        auto const result = cropReplicate(source, x, y, width, height);
        ASSERT_NE(result.first(), source.first());
        ASSERT_EQ(elements(result), test::literalCrop(elements(source), rows, columns, x, y, width, height))
            << rows << " x " << columns << " at " << x << ", " << y << ", " << width << ", " << height;
    }
}

TEST(CropReplicate, FollowsItsSteps) {
    compareWithTheLiteralSteps<unsigned char>(3);
    compareWithTheLiteralSteps<Vec3f>(5);
}

} // namespace
} // namespace zun
