#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "support/Frames.h"
#include "support/LiteralCrop.h"

namespace zun {
namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
constexpr float nearlyLargest = 2147483520.0f; // the largest float that is an int

template <class T>
test::Values inputs(Mat<T, 2> const &frame, Box const &box) {
    return {{"image", test::valueOf(frame)}, {"box", test::valueOf(box)}};
}

TEST(CropGuard, RefusesBoxesThatTheNodeWouldFollowOutOfMemory) {
    struct {
        Box box; // on a frame of 4 rows and 6 columns
        char const *fault, *faultClamped;
    } const cases[] = {
        {{0, 0, 6, 4}, "", ""},
        {{-3, -3, 20, 20}, "", ""},
        {{5, 3, 9, 9}, "", ""},
        {{-100, 4, 9, 9}, "", ""}, // wholly below: zeros, wherever its columns are
        {{100, -9, 9, 9}, "", ""}, // wholly above
        {{-5, 0, 5, 4}, "", ""},   // touching the frame from outside repeats its edge
        {{5.5f, 3, 1, 1}, "", ""},
        {{-6, 0, 5, 4}, "wholly left", ""},
        {{-6.4f, 0, 5.4f, 4}, "wholly left", ""},
        {{-6, -9, 5, 10}, "wholly left", ""},
        {{7, 0, 5, 4}, "wholly right", ""},
        {{6.5f, 3, 1, 1}, "wholly right", ""},
        {{90, 3, 5, 40}, "wholly right", ""},
        {{0, 0, -1, 4}, "negative size", ""},
        {{0, 9, 4, -1}, "negative size", ""},
        {{2, -1, 0, 9}, "", ""},
        {{-2, 1, 0, 9}, "", ""},
        {{2, 1, -0.4f, 2}, "", ""},
        {{nan, 0, 3, 3}, "wholly left", ""},
        {{0, nan, 3, 3}, "32-bit", ""},
        {{0, -infinity, 3, 3}, "32-bit", ""},
        {{0, 0, infinity, 3}, "negative size", ""},
        {{0, 0, 3, nan}, "negative size", ""},
        {{-1, -1, 40000, 40000}, "larger than any", ""},
        {{-1, -1, 1, nearlyLargest}, "larger than any", ""},
        {{nearlyLargest, 0, 200, 1}, "32-bit", "32-bit"},
        {{0, nearlyLargest, 1, 200}, "32-bit", "32-bit"},
        // The sum wraps so that the clipped box equals the box: as if it lay inside.
        {{128, 0, nearlyLargest, 4}, "32-bit", "32-bit"},
        {{0, 128, 6, nearlyLargest}, "32-bit", "32-bit"},
    };
    std::mt19937 random(1);
    auto const bytes = inputs(test::randomFrame<Vec3b>(4, 6, random), {});
    auto const floats = inputs(test::randomFrame<Vec3f>(4, 6, random), {});
    auto const expectFault = [](std::optional<engine::Refusal> const &refusal, std::string const &fault) {
        ASSERT_EQ(refusal.has_value(), !fault.empty()) << (refusal ? refusal->reason : "");
        if (!refusal) return;
        EXPECT_EQ(refusal->port, "box");
        EXPECT_NE(refusal->reason.find(fault), std::string::npos) << refusal->reason;
        EXPECT_NE(refusal->reason.find("4 rows, 6 columns"), std::string::npos) << refusal->reason;
    };
    for (bool const clamp : {false, true}) {
        std::map<std::string, OptionNode> const options{{"clamp", OptionNode::ofBool(clamp)}};
        test::Guarded const byteNode("Crop<Vec3b>", options), floatNode("Crop<Vec3f>", options),
            any("CropAny", options);
        for (auto const &[box, fault, faultClamped] : cases) {
            SCOPED_TRACE(testing::Message() << box.x << ", " << box.y << ", " << box.width << ", " << box.height);
            auto const on = [cut = box](test::Values values) {
                values["box"] = test::valueOf(cut);
                return values;
            };
            for (test::Guarded const *node : {&byteNode, &any})
                expectFault(node->refusal(on(bytes)), clamp ? faultClamped : fault);
            for (test::Guarded const *node : {&floatNode, &any})
                expectFault(node->refusal(on(floats)), clamp ? faultClamped : fault);
        }
    }
}

TEST(CropGuard, KnowsFramesWithoutAnEdge) {
    test::Guarded const node("CropAny");
    EXPECT_TRUE(node.refusal(inputs(Mat<Vec3b, 2>({4, 0}), {-1, 0, 3, 3}))) << "no column to repeat";
    EXPECT_TRUE(node.refusal(inputs(Mat<Vec3b, 2>({4, 0}), {0, 0, 3, 3})));
    EXPECT_FALSE(node.refusal(inputs(Mat<Vec3b, 2>({0, 4}), {-1, -1, 9, 9}))) << "no row overlaps: zeros";
    EXPECT_FALSE(node.refusal(inputs(Mat<Vec3b, 2>(), {-1, -1, 9, 9})));
    EXPECT_FALSE(node.refusal({{"image", test::valueOf(Mat<float, 2>({1, 1}))}, {"box", test::valueOf(Box{})}}))
        << "the node's own to refuse";
}

/// Whether there is a reason not to run the node on a box with clamp off.
template <class T>
bool mayBeRefused(Mat<T, 2> const &frame, Rect<int> const &box) {
    if (box.width < 0 || box.height < 0) return true;
    std::int64_t const right = std::int64_t(box.x) + box.width, bottom = std::int64_t(box.y) + box.height;
    constexpr std::int64_t largest = std::numeric_limits<int>::max();
    if (right > largest || bottom > largest || box.y == -largest - 1) return true;
    if (std::uint64_t(box.width) * std::uint64_t(box.height) * sizeof(T) > std::uint64_t(1) << 32) return true;
    bool const sharesRows = bottom > 0 && box.y < std::int64_t(frame.shape[0]);
    bool const meetsColumns = right >= 0 && box.x <= std::int64_t(frame.shape[1]);
    return (sharesRows && !meetsColumns) || !test::literalCrop(test::elements(frame), frame.shape[0], frame.shape[1],
                                                               box.x, box.y, box.width, box.height);
}

/// What passes is run, where a sanitizer sees it leave its memory, and has to come out as defined; what is refused has
/// to have a reason.
template <class T>
void expectExactness(std::string const &type, bool clamp, unsigned seed) {
    test::Guarded node(type, {{"clamp", OptionNode::ofBool(clamp)}});
    std::mt19937 random(seed);
    float const odd[] = {nan, infinity, -infinity, nearlyLargest, -2147483648.0f, 128, 127.5f, -2147483520.0f};
    auto const number = [&](int low, int high) {
        if (random() % 24 == 0) return odd[random() % std::size(odd)];
        return static_cast<float>(low * 4 + static_cast<int>(random() % unsigned((high - low) * 4 + 1))) / 4;
    };
    int passed = 0, refused = 0;
    for (int round = 0; round < 5000; round++) {
        auto const frame = test::randomFrame<T>(unsigned(random() % 7), unsigned(random() % 7), random);
        Box const box{number(-8, 8), number(-8, 8), number(-1, 14), number(-1, 14)};
        Rect<int> const asked = roundToInt(box);
        SCOPED_TRACE(testing::Message() << frame.shape[0] << " x " << frame.shape[1] << " at " << asked.x << ", "
                                        << asked.y << ", " << asked.width << ", " << asked.height);
        auto const values = inputs(frame, box);
        if (auto const refusal = node.refusal(values)) {
            refused++;
            ASSERT_TRUE(mayBeRefused(frame, asked)) << refusal->reason;
            continue;
        }
        passed++;
        auto const result = test::held<Mat<T, 2>>(node.output(values));
        if (clamp || result.count == 0) continue;
        auto const expected = test::literalCrop(test::elements(frame), frame.shape[0], frame.shape[1], asked.x, asked.y,
                                                asked.width, asked.height);
        ASSERT_TRUE(expected.has_value());
        ASSERT_EQ(test::elements(result), *expected);
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GE(refused, clamp ? 0 : 1000);
}

TEST(CropGuard, PassesExactlyWhatIsDefined) {
    expectExactness<Vec3b>("Crop<Vec3b>", false, 2);
    expectExactness<Vec3f>("Crop<Vec3f>", false, 3);
    expectExactness<Vec3b>("CropAny", false, 4);
    expectExactness<Vec3f>("CropAny", false, 5);
    expectExactness<Vec3b>("Crop<Vec3b>", true, 6);
    expectExactness<Vec3f>("CropAny", true, 7);
}

} // namespace
} // namespace zun
