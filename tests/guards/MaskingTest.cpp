#include <limits>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mask.h"
#include "containers/Mat.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Bytes = Mat<unsigned char, 2>;

void expectRefusal(std::optional<engine::Refusal> const &refusal, std::string const &port, std::string const &part) {
    ASSERT_EQ(refusal.has_value(), !part.empty()) << (refusal ? refusal->reason : "not refused: " + part);
    if (!refusal) return;
    EXPECT_EQ(refusal->port, port);
    EXPECT_NE(refusal->reason.find(part), std::string::npos) << refusal->reason;
}

TEST(MaskFactoryGuard, RefusesBoxesThatNoMaskCanHold) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    struct {
        Box box;
        char const *fault;
    } const cases[] = {
        {{-9, -9, 3, 3}, ""},
        {{nan, nan, 3, 3}, ""},
        {{0, 0, 0, nan}, ""},
        {{0, 0, -5, .4f}, ""},
        {{0, 0, 65536, 65535}, ""},
        {{0, 0, 65536, 65536}, "box 1, rounded to (x 0, y 0, width 65536, height 65536), is larger"},
        {{0, 0, -5, 3}, "negative size"},
        {{0, 0, -5, -3}, "box 1, rounded to (x 0, y 0, width -5, height -3), has a negative size"},
        {{0, 0, nan, 1}, "negative size"},
    };
    test::Guarded const node("MaskFactory", {{"maskShape", OptionNode::ofInt(1)}});
    for (auto const &[box, fault] : cases)
        expectRefusal(node.refusal({{"rectangles", test::valueOf(std::vector<Box>{{0, 0, 1, 1}, box})}}), "rectangles",
                      fault);
    Box const half{0, 0, 65536, 40000};
    expectRefusal(node.refusal({{"rectangles", test::valueOf(std::vector<Box>{half, half})}}), "rectangles",
                  "box 1, rounded to (x 0, y 0, width 65536, height 40000), brings the masks to more than 4 GiB");
}

test::Values inputs(Rect<int> const &rectangle, Shape<2> const &mask, Shape<2> const &source, Frame const &target) {
    std::vector<Mask> const masks{{{0, 0, 1, 1}, Bytes({1, 1}, 1)}, {rectangle, Bytes(mask, 1)}};
    std::vector<Frame> const sources{Frame({9, 9}, {1, 2, 3}), Frame(source, {1, 2, 3})};
    return {{"masks", test::valueOf(masks)},
            {"sourceFrames", test::valueOf(sources)},
            {"targetFrames", test::valueOf(target)}};
}

TEST(ApplyMaskGuard, RefusesMasksThatLeaveAFrame) {
    struct {
        Rect<int> rectangle; // in a target of 4 rows and 6 columns
        Shape<2> mask, source;
        char const *fault, *faultOfContent; // with and without fullSize
    } const cases[] = {
        {{0, 0, 6, 4}, {4, 6}, {4, 6}, "", ""},
        {{1, 2, 3, 2}, {1, 4}, {9, 9}, "", ""}, // fewer elements than the rectangle
        {{1, 1, 3, 2}, {2, 3}, {3, 3}, "source frame 1 of 3 rows and 3 columns is too small: mask 1", ""},
        {{0, 0, 3, 2}, {2, 3}, {1, 5}, "source frame 1", "source frame 1 of 1 rows and 5 columns has fewer pixels"},
        {{1, 0, 6, 4}, {4, 6}, {9, 9}, "leaves the target frame of 4 rows and 6 columns", "leaves the target"},
        {{0, 1, 6, 4}, {4, 6}, {9, 9}, "mask 1 (x 0, y 1, width 6, height 4) leaves", "leaves the target"},
        {{-1, 1, 2, 2}, {2, 2}, {9, 9}, "leaves the target", "leaves the target"},
        {{0, -1, 2, 2}, {2, 2}, {9, 9}, "leaves the target", "leaves the target"},
        {{2147483647, 0, 1, 1}, {1, 1}, {9, 9}, "leaves the target", "leaves the target"},
        {{0, 0, 3, 2}, {7, 1}, {9, 9}, "mask 1 (x 0, y 0, width 3, height 2) has 7 elements", "has 7 elements"},
        {{0, 0, -2, -2}, {2, 2}, {9, 9}, "no area", "no area"},
        {{0, 0, 0, 4}, {1, 1}, {9, 9}, "no area", "no area"},
        {{-50, 90, -3, 0}, {0, 3}, {0, 0}, "", ""}, // no element: nothing is pasted
    };
    Frame const target({4, 6}, {0, 0, 0});
    Frame spread = target;
    spread.strides[0] = 7;
    for (bool const fullSize : {true, false}) {
        test::Guarded const node("ApplyMask", {{"fullSize", OptionNode::ofBool(fullSize)}});
        for (auto const &[rectangle, mask, source, fault, faultOfContent] : cases) {
            std::string const part = fullSize ? fault : faultOfContent;
            expectRefusal(node.refusal(inputs(rectangle, mask, source, target)),
                          part.starts_with("source") ? "sourceFrames" : "masks", part);
        }
        expectRefusal(node.refusal(inputs({0, 0, 6, 4}, {4, 6}, {9, 9}, spread)), "masks", "leads out of the memory");
        auto odd = inputs({90, 0, 1, 1}, {1, 1}, {9, 9}, target);
        odd["sourceFrames"] = test::valueOf(std::vector<Frame>(3));
        expectRefusal(node.refusal(odd), "", ""); // the node's own to refuse
    }
}

} // namespace
} // namespace zun
