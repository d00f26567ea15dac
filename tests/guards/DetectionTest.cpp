#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mat.h"

namespace zun {
namespace {

TEST(FindContoursGuard, RefusesFramesWhoseLabelsDoNotFitInMemory) {
    struct {
        Shape<2> shape;
        bool refused;
    } const cases[] = {
        {{0, 0}, false},
        {{4, 6}, false},
        {{0, (1u << 29) - 2}, false}, // two rows of border
        {{0, (1u << 29) - 1}, true},
        {{(1u << 29) - 1, 0}, true},
        {{0, 0xfffffffe}, true}, // with the border, sides and count wrap
        {{0xffffffff, 0}, true},
        {{65536, 65536}, true},
    };
    test::Guarded const node("FindContours");
    for (auto const &[shape, refused] : cases) {
        Mat<unsigned char, 2> frame;
        frame.shape = shape;
        auto const refusal = node.refusal({{"input", test::valueOf(frame)}});
        EXPECT_EQ(refusal.has_value(), refused) << shape[0] << " " << shape[1];
        if (!refusal) continue;
        EXPECT_EQ(refusal->port, "input");
        std::string const size = std::to_string(shape[0]) + " rows and " + std::to_string(shape[1]) + " columns";
        EXPECT_NE(refusal->reason.find(size), std::string::npos) << refusal->reason;
    }
}

} // namespace
} // namespace zun
