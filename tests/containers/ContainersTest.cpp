#include <limits>
#include <numeric>
#include <type_traits>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "support/Frames.h"

namespace zun {
namespace {

using test::elements;

static_assert(sizeof(Vec3b) == 3 && alignof(Vec3b) == 1 && sizeof(Vec3f) == 12 && sizeof(Vec4b) == 4);
static_assert(sizeof(Vec<int, 4>) == 16 && sizeof(Vec<unsigned char, 1>) == 1);
static_assert(std::is_same_v<Mat<float, 2>, Mat<float, 2, MatOptions<1, 1>>>);
static_assert(std::is_same_v<decltype(Mat<float, 2>::data), std::shared_ptr<Vec<float, 1>>>);
static_assert(std::is_same_v<decltype(Mat<Vec3b, 2>::data), std::shared_ptr<Vec3b>>);

Mat<int, 2> counted(std::uint32_t rows, std::uint32_t columns) {
    Mat<int, 2> mat({rows, columns});
    std::iota(mat.first(), mat.first() + mat.count, 0);
    return mat;
}

std::uint64_t requests() { return MatAlloc::getGlobalMatAlloc()->counters().requests; }
std::uint64_t bytesLive() { return MatAlloc::getGlobalMatAlloc()->counters().bytesLive; }

TEST(Mat, OfNoElementAsksForZeroBytesAndHasStorage) {
    for (Shape<2> const shape : {Shape<2>{0, 5}, Shape<2>{5, 0}, Shape<2>{0, 0}}) {
        std::uint64_t const before = requests();
        Mat<Vec3b, 2> const mat(shape, Vec3b{1, 2, 3});
        EXPECT_EQ(requests(), before + 1);
        EXPECT_EQ(mat.count, 0u);
        EXPECT_EQ(mat.clone().shape, shape);
    }
}

TEST(Mat, CountWrapsAtTwoToThe32) {
    EXPECT_EQ((Mat<Vec3b, 2>({65536, 65537}).count), 65536u);
    unsigned char byte = 0;
    EXPECT_EQ((Mat<unsigned char, 2>::wrap(&byte, {65536, 65536}).count), 0u);
    auto const wrapped = Mat<unsigned char, 2>::wrap(&byte, {1, 4294967295u});
    EXPECT_EQ(wrapped.count, 4294967295u);
    EXPECT_EQ(wrapped.first(), &byte);
    EXPECT_EQ(wrapped.strides, (Shape<2>{4294967295u, 1}));
}

TEST(Mat, HeadersShareStorageUntilTheLastGoesAndClonesDont) {
    std::uint64_t const before = bytesLive();
    {
        auto mat = counted(4, 6);
        auto const flat = mat.reshape({2, 12}), copy = mat.clone();
        EXPECT_EQ(flat.first(), mat.first());
        EXPECT_EQ(flat.shape, (Shape<2>{2, 12}));
        EXPECT_EQ(flat.strides, (Shape<2>{12, 1}));
        EXPECT_EQ((denseStrides<3>({2, 3, 4})), (Shape<3>{12, 4, 1}));
        EXPECT_EQ(mat.reshape({1, 3}).count, 3u);
        mat = Mat<int, 2>();
        EXPECT_EQ(elements(flat), elements(copy));
        EXPECT_NE(copy.first(), flat.first());
    }
    EXPECT_EQ(bytesLive(), before);
}

TEST(Mat, OwnerIsPassedOnByHeadersAndLeftOutOfNewStorage) {
    auto mat = counted(4, 4);
    mat.owner = std::make_shared<int>(1);
    Mat<int, 2> const copied = mat;
    EXPECT_EQ(copied.owner, mat.owner);
    EXPECT_EQ(mat.reshape({2, 8}).owner, mat.owner);
    EXPECT_EQ(mat.clone().owner, nullptr);
    EXPECT_EQ(mat.region(0, 0, 2, 2).owner, nullptr);
    EXPECT_EQ(mat.region(0, 0, 2, 2).toMat().owner, nullptr);
    EXPECT_EQ(cropReplicate(mat, 0, 0, 4, 4).owner, nullptr);
}

TEST(MatView, IsWalkedByTheSourcesStridesAndBecomesADenseMatOnStorageOfItsOwn) {
    auto const mat = counted(5, 8);
    MatView<int, 2> view = mat.region(2, 1, 3, 2);
    EXPECT_EQ(view.count, 6u);
    EXPECT_EQ(view.strides, (Shape<2>{8, 1}));
    EXPECT_EQ(&view.at(1, 2), mat.first() + 20);
    EXPECT_EQ(mat.data.use_count(), 1) << "a view takes no reference";
    auto const cut = view.toMat();
    EXPECT_NE(cut.first(), view.data);
    EXPECT_EQ(cut.strides, (Shape<2>{3, 1}));
    EXPECT_EQ(elements(cut), (std::vector<int>{10, 11, 12, 18, 19, 20}));
    view.strides = {8, 2};
    EXPECT_EQ(elements(view.toMat()), (std::vector<int>{10, 12, 14, 18, 20, 22})) << "every other element";
    EXPECT_EQ(mat.region(3, 3, 0, 2).toMat().shape, (Shape<2>{2, 0}));
}

TEST(MatView, EqualityLooksAtShapeAndElements) {
    auto const mat = counted(4, 6);
    EXPECT_TRUE(mat.region(1, 1, 3, 2) == mat.region(1, 1, 3, 2).toMat().region(0, 0, 3, 2)) << "strides don't matter";
    EXPECT_FALSE(mat.region(0, 0, 3, 2) == mat.region(0, 0, 2, 3));
    EXPECT_FALSE(mat.region(0, 0, 3, 2) == mat.region(1, 0, 3, 2));
    EXPECT_TRUE(mat.region(0, 0, 0, 2) == mat.region(1, 1, 3, 0)) << "no element on either side";
    EXPECT_FALSE(mat.region(0, 0, 0, 2) == mat.region(0, 0, 1, 2));
}

constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();

// A constant expression shows a conversion that the language leaves undefined, which some processors forgive.
static_assert(truncateToInt(2147483648.0) == smallest && truncateToInt(-2147483649.0) == smallest);
static_assert(truncateToInt(2147483647.9) == largest && truncateToInt(-2147483648.9) == smallest);

TEST(Rounding, TakesHalvesAwayFromZeroAndAnythingOutOfRangeToTheSmallestInt) {
    float const infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    constexpr int below = 2147483520;        // the largest float below 2^31
    constexpr float belowHalf = 0.49999997f; // the largest below a half
    using Row = std::tuple<float, int, int>;
    for (auto const &[value, rounded, truncated] :
         {Row(0.4f, 0, 0), Row(0.5f, 1, 0), Row(-0.5f, -1, 0), Row(2.5f, 3, 2), Row(-2.5f, -3, -2), Row(-1.9f, -2, -1),
          Row(belowHalf, 0, 0), Row(below, below, below)}) {
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
    std::pair<Rect<int>, Rect<int>> const cases[] = {
        // what is clipped to 10 rows and 20 columns, and the result
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
