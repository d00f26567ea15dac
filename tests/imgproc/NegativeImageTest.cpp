#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;

Frame negative(Frame const &frame) {
    test::ImgprocNode node("NegativeImage");
    return test::held<Frame>(node.output({{"input", test::valueOf(frame)}}));
}

TEST(NegativeImage, ComplementsEveryByteOntoStorageOfItsOwn) {
    std::mt19937 random(1);
    for (Shape<2> const shape : {Shape<2>{1, 1}, Shape<2>{3, 5}, Shape<2>{7, 11}, Shape<2>{64, 33}}) {
        Frame const frame = test::randomFrame<Vec3b>(shape[0], shape[1], random), before = frame.clone();
        Frame const result = negative(frame);
        EXPECT_EQ(result.shape, shape);
        EXPECT_EQ(result.strides, (Shape<2>{shape[1], 1}));
        EXPECT_EQ(result.owner, nullptr);
        for (std::uint32_t i = 0; i < frame.count; i++)
            for (int channel = 0; channel < 3; channel++)
                ASSERT_EQ(result.first()[i][channel], 255 - frame.first()[i][channel]) << i;
        EXPECT_EQ(test::elements(frame), test::elements(before)) << "the input is not changed";
        EXPECT_EQ(test::elements(negative(result)), test::elements(frame)) << "twice gives the frame back";
    }
}

TEST(NegativeImage, PassesAnEmptyFrameOn) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 4}, Shape<2>{4, 0}})
        EXPECT_EQ(negative(Frame(shape)).shape, shape);
    EXPECT_EQ(negative(Frame()).count, 0u);
}

} // namespace
} // namespace zun
