#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Rect.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/LiteralCrop.h"

namespace zun {
namespace {

using ByteFrame = Mat<Vec3b, 2>;
using FloatFrame = Mat<Vec3f, 2>;

template <class T>
Mat<T, 2> cut(std::string const &type, Mat<T, 2> const &frame, Box const &box, bool clamp) {
    test::ImgprocNode node(type, {{"clamp", OptionNode::ofBool(clamp)}});
    return test::held<Mat<T, 2>>(node.output({{"image", test::valueOf(frame)}, {"box", test::valueOf(box)}}));
}

/// Each node that cuts frames of a pixel type.
template <class T>
struct CropNodes : testing::Test {
    using Pixel = T;
    static std::vector<std::string> types() {
        return {std::is_same_v<T, Vec3b> ? "Crop<Vec3b>" : "Crop<Vec3f>", "CropAny"};
    }
};
using Pixels = testing::Types<Vec3b, Vec3f>;
TYPED_TEST_SUITE(CropNodes, Pixels);

/// A frame of 4 rows and 6 columns, and what comes of a box: where the cut lies in it, or what it shows.
TYPED_TEST(CropNodes, CutOrPadAsAsked) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    struct {
        Box box;
        bool clamp;
        Rect<int> cut; // of the frame, edges repeated
    } const cases[] = {
        {{0, 0, 6, 4}, false, {0, 0, 6, 4}},
        {{1, 1, 3, 2}, false, {1, 1, 3, 2}},
        {{1, 1, 3, 2}, true, {1, 1, 3, 2}},
        {{-1, -1, 4, 3}, false, {-1, -1, 4, 3}},
        {{-1, -1, 4, 3}, true, {0, 0, 3, 2}},
        {{4, 2, 9, 9}, true, {4, 2, 2, 2}},
        {{-3, -3, 20, 20}, false, {-3, -3, 20, 20}},
        {{0.4f, 0, 2.2f, 1}, false, {0, 0, 2, 1}}, // width 2, though the right edge is at 2.6
        {{-0.5f, 0.5f, 2, 2}, false, {-1, 1, 2, 2}},
        {{2.5f, 0, 1.5f, 1}, true, {3, 0, 2, 1}},
        {{10, 0, 3, 2}, true, {0, 0, 0, 0}},
        {{0, -9, 3, 2}, true, {0, 0, 0, 0}},
        {{2, 2, 0.4f, 2}, true, {0, 0, 0, 0}},
        {{2, 2, -3, 2}, true, {0, 0, 0, 0}},
        {{nan, nan, nan, nan}, true, {0, 0, 0, 0}},
        {{2, 1, 0, 2}, false, {2, 1, 0, 2}},
        {{0, -5, 3, 5}, false, {0, -5, 3, 5}},
        {{-9, 4, 3, 2}, false, {-9, 4, 3, 2}}, // no row overlaps: zeros
    };
    std::mt19937 random(3);
    auto const frame = test::randomFrame<TypeParam>(4, 6, random);
    auto const before = test::elements(frame);
    for (std::string const &type : this->types())
        for (auto const &[box, clamp, where] : cases) {
            SCOPED_TRACE(type + " " + std::to_string(box.x) + ", " + std::to_string(box.y));
            auto const result = cut(type, frame, box, clamp);
            auto const expected = test::literalCrop(before, 4, 6, where.x, where.y, where.width, where.height);
            ASSERT_TRUE(expected.has_value());
            EXPECT_EQ(result.shape,
                      (Shape<2>{static_cast<unsigned>(where.height), static_cast<unsigned>(where.width)}));
            EXPECT_EQ(result.strides, (Shape<2>{static_cast<unsigned>(where.width), 1}));
            EXPECT_EQ(test::elements(result), *expected);
            EXPECT_NE(result.first(), frame.first());
        }
    EXPECT_EQ(test::elements(frame), before);
}

TYPED_TEST(CropNodes, DontClampUnlessToldTo) {
    std::mt19937 random(4);
    auto const frame = test::randomFrame<TypeParam>(4, 6, random);
    for (std::string const &type : this->types()) {
        test::ImgprocNode node(type);
        auto const shape = [&] {
            return test::held<Mat<TypeParam, 2>>(
                       node.output({{"image", test::valueOf(frame)}, {"box", test::valueOf(Box{-1, 0, 3, 3})}}))
                .shape;
        };
        EXPECT_EQ(shape(), (Shape<2>{3, 3}));
        VariantType<bool> on(true);
        node.setOption("clamp", on);
        EXPECT_EQ(shape(), (Shape<2>{3, 2}));
    }
}

TEST(Crop, NamesTheTemplateInItsMessages) {
    VariantType<int> number(1);
    std::string const condition = "dynamic_cast<zun::VariantType<bool> *>(&value)";
    for (std::string const type : {"Crop<Vec3b>", "Crop<Vec3f>"}) {
        test::ImgprocNode node(type);
        test::expectFailureAt([&] { node.setOption("clamp", number); }, "Option clamp of Crop<T> is not of type bool",
                              "imgproc/Crop:", condition);
    }
    test::ImgprocNode any("CropAny");
    test::expectFailureAt([&] { any.setOption("clamp", number); }, "Option clamp of CropAny is not of type bool",
                          "imgproc/CropAny:", condition);
}

TEST(CropAny, RefusesFramesOfAnyOtherPixel) {
    test::ImgprocNode node("CropAny");
    auto const box = test::valueOf(Box{0, 0, 1, 1});
    for (auto const &image : {test::valueOf(Mat<unsigned char, 2>({2, 2}, 0)), test::valueOf(Mat<Vec4b, 2>({2, 2})),
                              test::valueOf(Mat<float, 2>({2, 2}, 0)), std::shared_ptr<Variant>()})
        test::expectFailureAt(
            [&] {
                node.output({{"image", image}, {"box", box}});
            },
            "CropAny: image input is neither float or byte image", "imgproc/CropAny:", "byteImage || floatImage");
}

TEST(CropAny, TakesEitherPixelFromTickToTick) {
    test::ImgprocNode node("CropAny");
    auto const box = test::valueOf(Box{0, 0, 1, 1});
    auto const write = [&](std::shared_ptr<Variant> image) { return node.output({{"image", image}, {"box", box}}); };
    EXPECT_EQ(test::held<ByteFrame>(write(test::valueOf(ByteFrame({2, 2}, {1, 2, 3})))).first()[0], (Vec3b{1, 2, 3}));
    EXPECT_EQ(test::held<FloatFrame>(write(test::valueOf(FloatFrame({2, 2}, {.5f, 2, 3})))).first()[0],
              (Vec3f{.5f, 2, 3}));
}

} // namespace
} // namespace zun
