#include <memory>
#include <numeric>
#include <random>
#include <type_traits>

#include <gtest/gtest.h>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Variant.h"
#include "support/Frames.h"

namespace zun {
namespace {

using test::elements;

static_assert(sizeof(Vec3b) == 3 && alignof(Vec3b) == 1 && sizeof(Vec3f) == 12 && sizeof(Vec4b) == 4);
static_assert(sizeof(Vec<int, 4>) == 16 && sizeof(Vec<unsigned char, 1>) == 1);
static_assert(std::is_aggregate_v<Vec3f> && std::is_trivially_copyable_v<Vec3f>);
static_assert(std::is_same_v<Mat<float, 2>, Mat<float, 2, MatOptions<1, 1>>>);
static_assert(std::is_same_v<decltype(Mat<float, 2>::data), std::shared_ptr<Vec<float, 1>>>);
static_assert(std::is_same_v<decltype(Mat<Vec3b, 2>::data), std::shared_ptr<Vec3b>>);
static_assert(std::has_virtual_destructor_v<Variant>);

Mat<int, 2> counted(std::uint32_t rows, std::uint32_t columns) {
    Mat<int, 2> mat({rows, columns});
    std::iota(mat.first(), mat.first() + mat.count, 0);
    return mat;
}

TEST(Mat, IsDenseWithTheStridesOfItsShape) {
    Mat<float, 2> const mat({3, 7});
    EXPECT_EQ(mat.count, 21u);
    EXPECT_EQ(mat.strides, (Shape<2>{7, 1}));
    EXPECT_EQ(mat.data.use_count(), 1);
    Mat<Vec<int, 4>, 1> const list({5});
    EXPECT_EQ(list.count, 5u);
    EXPECT_EQ(list.strides, (Shape<1>{1}));
    EXPECT_EQ((denseStrides<3>({2, 3, 4})), (Shape<3>{12, 4, 1}));
}

TEST(Mat, OfNoElementAsksForZeroBytesAndHasStorage) {
    for (Shape<2> const shape : {Shape<2>{0, 5}, Shape<2>{5, 0}, Shape<2>{0, 0}}) {
        std::uint64_t const before = MatAlloc::getGlobalMatAlloc()->counters().requests;
        Mat<Vec3b, 2> const mat(shape, Vec3b{1, 2, 3});
        EXPECT_EQ(MatAlloc::getGlobalMatAlloc()->counters().requests, before + 1);
        EXPECT_EQ(mat.count, 0u);
        EXPECT_EQ(mat.shape, shape);
        EXPECT_EQ(mat.clone().shape, shape);
    }
}

TEST(Mat, CountWrapsAtTwoToThe32) {
    unsigned char byte = 0;
    EXPECT_EQ((Mat<unsigned char, 2>::wrap(&byte, {65536, 65536}).count), 0u);
    EXPECT_EQ((Mat<unsigned char, 2>::wrap(&byte, {65536, 65537}).count), 65536u);
    EXPECT_EQ((Mat<unsigned char, 2>::wrap(&byte, {1, 4294967295u}).count), 4294967295u);
    EXPECT_EQ((Mat<Vec3b, 2>({65536, 65537}).count), 65536u);
}

TEST(Mat, SetsEveryElementToTheGivenValue) {
    EXPECT_EQ(elements(Mat<Vec3b, 2>({2, 3}, {7, 8, 9})), std::vector<Vec3b>(6, Vec3b{7, 8, 9}));
    EXPECT_EQ(elements(Mat<float, 2>({4, 1}, -0.5f)), std::vector<float>(4, -0.5f));
}

TEST(Mat, HeaderCopiesShareStorageUntilTheLastGoes) {
    auto const allocator = MatAlloc::getGlobalMatAlloc();
    std::uint64_t const before = allocator->counters().bytesLive;
    Mat<int, 2> first({300, 300}, 1);
    {
        Mat<int, 2> const second = first;
        second.first()[5] = 42;
        EXPECT_EQ(first.first()[5], 42);
        EXPECT_EQ(first.data.use_count(), 2);
        first = Mat<int, 2>();
        EXPECT_GE(allocator->counters().bytesLive, before + 300 * 300 * 4);
    }
    EXPECT_EQ(allocator->counters().bytesLive, before);
}

TEST(Mat, CloneSharesNothing) {
    std::mt19937 random(1);
    auto const source = test::randomFrame<Vec3f>(5, 9, random);
    auto const copy = source.clone();
    EXPECT_EQ(elements(copy), elements(source));
    EXPECT_EQ(copy.shape, source.shape);
    copy.first()[0] = {-1, -1, -1};
    EXPECT_NE(elements(copy), elements(source));
}

TEST(Mat, ReshapeIsAFurtherHeaderOnTheSameStorage) {
    auto const mat = counted(4, 6);
    auto const flat = mat.reshape({2, 12});
    EXPECT_EQ(flat.first(), mat.first());
    EXPECT_EQ(mat.data.use_count(), 2);
    EXPECT_EQ(flat.shape, (Shape<2>{2, 12}));
    EXPECT_EQ(flat.strides, (Shape<2>{12, 1}));
    EXPECT_EQ(mat.reshape({1, 3}).count, 3u);
}

TEST(Mat, WrapTakesNoReferenceAndFreesNothing) {
    std::vector<int> memory{1, 2, 3, 4, 5, 6};
    {
        auto const mat = Mat<int, 2>::wrap(memory.data(), {2, 3});
        EXPECT_EQ(mat.first(), memory.data());
        EXPECT_EQ(mat.strides, (Shape<2>{3, 1}));
        Mat<int, 2>(mat).first()[4] = 50;
    }
    EXPECT_EQ(memory[4], 50);
}

TEST(Mat, OwnerIsPassedOnByHeadersAndLeftOutOfNewStorage) {
    auto const kept = std::make_shared<int>(1);
    auto mat = counted(4, 4);
    mat.owner = kept;
    Mat<int, 2> const copied = mat;
    Mat<int, 2> assigned;
    assigned = copied;
    EXPECT_EQ(assigned.owner, kept);
    EXPECT_EQ(mat.reshape({2, 8}).owner, kept);
    EXPECT_EQ(mat.clone().owner, nullptr);
    EXPECT_EQ(mat.region(0, 0, 2, 2).owner, nullptr);
    EXPECT_EQ(mat.region(0, 0, 2, 2).toMat().owner, nullptr);
    EXPECT_EQ(cropReplicate(mat, 0, 0, 4, 4).owner, nullptr);
    EXPECT_EQ((Mat<int, 2>::wrap(mat.first(), {4, 4}).owner), nullptr);
    EXPECT_EQ((Mat<int, 2>({4, 4}).owner), nullptr);
}

TEST(MatView, IsWalkedByTheSourcesStrides) {
    auto const mat = counted(5, 8);
    auto const view = mat.region(2, 1, 3, 4);
    EXPECT_EQ(view.count, 12u);
    EXPECT_EQ(view.shape, (Shape<2>{4, 3}));
    EXPECT_EQ(view.strides, (Shape<2>{8, 1}));
    EXPECT_EQ(view.data, mat.first() + 10);
    EXPECT_EQ(view.at(3, 2), 36);
    EXPECT_EQ(mat.data.use_count(), 1) << "a view takes no reference";
}

TEST(MatView, BecomesADenseMatOnStorageOfItsOwn) {
    auto const mat = counted(5, 8);
    auto const cut = mat.region(2, 1, 3, 2).toMat();
    EXPECT_EQ(cut.strides, (Shape<2>{3, 1}));
    EXPECT_EQ(elements(cut), (std::vector<int>{10, 11, 12, 18, 19, 20}));
    cut.first()[0] = -1;
    EXPECT_EQ(mat.first()[10], 10);
    EXPECT_EQ(mat.region(3, 3, 0, 2).toMat().shape, (Shape<2>{2, 0}));
}

TEST(MatView, OfEveryOtherElementIsCopiedElementByElement) {
    auto const mat = counted(4, 6);
    MatView<int, 2> view = mat.region(1, 0, 2, 3);
    view.strides = {6, 2};
    EXPECT_EQ(elements(view.toMat()), (std::vector<int>{1, 3, 7, 9, 13, 15}));
}

struct Compared {
    int value;
    static inline int comparisons = 0;
    friend bool operator==(Compared const &a, Compared const &b) {
        comparisons++;
        return a.value == b.value;
    }
};

TEST(MatView, EqualityLooksAtShapeAndElementsUpToTheFirstDifference) {
    auto const mat = counted(4, 6);
    EXPECT_TRUE(mat.region(1, 1, 3, 2) == mat.clone().region(1, 1, 3, 2));
    EXPECT_TRUE(mat.region(1, 1, 3, 2) == mat.region(1, 1, 3, 2).toMat().region(0, 0, 3, 2)) << "strides don't matter";
    EXPECT_FALSE(mat.region(0, 0, 3, 2) == mat.region(0, 0, 2, 3));
    EXPECT_FALSE(mat.region(0, 0, 3, 2) == mat.region(1, 0, 3, 2));
    EXPECT_TRUE(mat.region(0, 0, 0, 2) == mat.region(1, 1, 3, 0)) << "no element on either side";
    EXPECT_FALSE(mat.region(0, 0, 0, 2) == mat.region(0, 0, 1, 2));

    Mat<Compared, 2> const a({3, 3}, Compared{1}), b = a.clone();
    b.first()[4].value = 2;
    EXPECT_FALSE(a.region(0, 0, 3, 3) == b.region(0, 0, 3, 3));
    EXPECT_EQ(Compared::comparisons, 5);
}

} // namespace
} // namespace zun
