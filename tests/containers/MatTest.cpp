#include <numeric>
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

std::uint64_t requests() { return MatAlloc::getGlobalMatAlloc()->counters().requests; }
std::uint64_t bytesLive() { return MatAlloc::getGlobalMatAlloc()->counters().bytesLive; }

TEST(Mat, HasTheStridesOfADenseArrayWhateverItHolds) {
    Mat<Vec3b, 2> const mat({3, 7}, {7, 8, 9});
    EXPECT_EQ(mat.count, 21u);
    EXPECT_EQ(mat.strides, (Shape<2>{7, 1}));
    EXPECT_EQ(mat.data.use_count(), 1);
    EXPECT_EQ(elements(mat), std::vector<Vec3b>(21, Vec3b{7, 8, 9}));
    EXPECT_EQ((denseStrides<3>({2, 3, 4})), (Shape<3>{12, 4, 1}));
}

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
    EXPECT_EQ((Mat<unsigned char, 2>::wrap(&byte, {1, 4294967295u}).count), 4294967295u);
}

TEST(Mat, HeadersShareStorageUntilTheLastGoesAndClonesDont) {
    std::uint64_t const before = bytesLive();
    {
        auto mat = counted(4, 6);
        auto const flat = mat.reshape({2, 12}), copy = mat.clone();
        EXPECT_EQ(flat.first(), mat.first());
        EXPECT_EQ(flat.shape, (Shape<2>{2, 12}));
        EXPECT_EQ(flat.strides, (Shape<2>{12, 1}));
        EXPECT_EQ(mat.reshape({1, 3}).count, 3u);
        mat = Mat<int, 2>();
        EXPECT_EQ(elements(flat), elements(copy));
        EXPECT_NE(copy.first(), flat.first());
    }
    EXPECT_EQ(bytesLive(), before);
}

TEST(Mat, WrapTakesNoReferenceAndFreesNothing) {
    std::vector<int> memory{1, 2, 3, 4, 5, 6};
    EXPECT_EQ((Mat<int, 2>::wrap(memory.data(), {2, 3}).strides), (Shape<2>{3, 1}));
    EXPECT_EQ((Mat<int, 2>::wrap(memory.data(), {2, 3}).first()), memory.data());
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

} // namespace
} // namespace zun
