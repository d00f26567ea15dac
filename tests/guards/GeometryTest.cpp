#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mat.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Options = std::map<std::string, OptionNode>;

Options ints(std::map<std::string, int> const &values) {
    Options options;
    for (auto const &[name, value] : values) options[name] = OptionNode::ofInt(value);
    return options;
}

void expectReason(std::optional<engine::Refusal> const &refusal, std::string const &port, std::string const &reason) {
    ASSERT_EQ(refusal.has_value(), !reason.empty()) << (refusal ? refusal->reason : reason);
    if (!refusal) return;
    EXPECT_EQ(refusal->port, port);
    EXPECT_NE(refusal->reason.find(reason), std::string::npos) << refusal->reason;
}

TEST(ResizeImageGuard, RefusesResultsWithoutPixelsOrWithTooMany) {
    constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();
    struct {
        Shape<2> frame;
        std::map<std::string, int> options;
        char const *reason;
    } const cases[] = {
        {{1, 1000}, {}, ""},
        {{1, 1000}, {{"width", 500}}, ""}, // half a row is one
        {{1, 1000}, {{"width", 499}}, "1 rows and 1000 columns would become one of 0 rows and 499 columns"},
        {{1, 1000}, {{"width", 100}, {"algorithm", 0}}, "0 rows"},
        {{1, 1000}, {{"width", 100}, {"algorithm", 3}}, ""}, // the node's own to refuse
        {{1, 1000}, {{"width", 100}, {"height", 1}}, ""},
        {{1, 40000}, {{"width", 1}, {"height", 1}}, "0 columns"},
        {{4, 4}, {{"width", -2}}, "-2 rows and -2 columns"},
        {{4, 4}, {{"largestSize", smallest}}, "65532 rows"},
        {{4, 4}, {{"largestSize", largest}}, "65532 rows and 65532 columns, which is larger than any frame"},
        {{4, 4}, {{"height", -4}, {"width", 4}}, "-4 rows and 4 columns"},
        {{0, 5}, {{"width", 10}}, "0 rows and 10 columns"},
        {{0, 5}, {{"width", 5}}, ""},
        {{0, 0}, {{"width", 10}}, ""},
        {{0, 0}, {{"height", smallest}}, ""},
        {{100, 100}, {{"width", 40000}, {"height", 35700}}, ""}, // a little less than 4 GiB
        {{100, 100},
         {{"width", 40000}, {"height", 35800}},
         "35800 rows and 40000 columns, which is larger than any frame"},
    };
    for (auto const &[shape, options, reason] : cases)
        expectReason(test::Guarded("ResizeImage", ints(options)).refusal({{"input", test::valueOf(Frame(shape))}}),
                     "input", reason);
    Options held = ints({{"width", -2}});
    held["allowDownscale"] = OptionNode::ofBool(false);
    EXPECT_FALSE(test::Guarded("ResizeImage", held).refusal({{"input", test::valueOf(Frame({4, 4}))}})) << "stays";
}

TEST(ResizeImageGuard, PassesExactlyWhatTheNodeCanScale) {
    std::mt19937 random(1);
    int passed = 0, refused = 0;
    auto const number = [&](int low, int high) { return low + static_cast<int>(random() % unsigned(high - low + 1)); };
    for (int round = 0; round < 3000; round++) {
        auto options = ints({{"algorithm", number(0, 2)}, {"width", number(-2, 9)}, {"height", number(-2, 9)}});
        if (round % 3 == 0) options["largestSize"] = OptionNode::ofInt(number(-2, 9));
        for (char const *allow : {"allowDownscale", "allowUpscale"})
            options[allow] = OptionNode::ofBool(random() % 2 == 0);
        test::Guarded node("ResizeImage", options);
        Frame const frame({unsigned(number(0, 5)), unsigned(number(0, 40))}, {1, 2, 3});
        test::Values const inputs{{"input", test::valueOf(frame)}};
        if (auto const refusal = node.refusal(inputs)) {
            refused++;
            ASSERT_NE(refusal->reason.find("at least 1"), std::string::npos) << refusal->reason;
            continue;
        }
        passed++;
        Frame const result = test::held<Frame>(node.output(inputs)); // dies of a division by zero if it must
        ASSERT_LT(result.count, 100000u);
        ASSERT_EQ(result.count == 0, frame.count == 0);
    }
    EXPECT_GT(passed, 1000);
    EXPECT_GT(refused, 500);
}

TEST(WarpAffineGuard, RefusesSmallTransformsAndImpossibleSizes) {
    constexpr int largest = std::numeric_limits<int>::max();
    struct {
        Shape<2> transform;
        Vec2i size;
        char const *port, *reason;
    } const cases[] = {
        {{2, 3}, {4, 5}, "", ""},
        {{3, 3}, {0, 5}, "", ""},
        {{2, 4}, {largest, 0}, "", ""},
        {{1, 6}, {4, 5}, "transform", "1 rows and 6 columns"},
        {{3, 2}, {4, 5}, "transform", "3 rows and 2 columns"},
        {{0, 0}, {4, 5}, "transform", "0 rows and 0 columns"},
        {{2, 3}, {-1, 5}, "image", "(-1, 5), which holds a negative number"},
        {{2, 3}, {4, -5}, "image", "(4, -5)"},
        {{2, 3}, {40000, 35791}, "", ""},
        {{2, 3}, {40000, 35792}, "image", "larger than any frame"},
        {{2, 3}, {largest, largest}, "image", "larger than any frame"},
    };
    for (auto const &[shape, size, port, reason] : cases) {
        auto const pair = OptionNode::ofVector({OptionNode::ofInt(size[0]), OptionNode::ofInt(size[1])});
        test::Guarded const node("WarpAffine", {{"size", pair}});
        constexpr float nan = std::numeric_limits<float>::quiet_NaN(); // the transform's elements don't matter
        expectReason(node.refusal({{"image", test::valueOf(Frame({2, 2}))},
                                   {"transform", test::valueOf(Mat<float, 2>(shape, nan))}}),
                     port, reason);
    }
}

} // namespace
} // namespace zun
