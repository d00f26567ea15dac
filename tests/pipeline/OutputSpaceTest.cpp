#include <limits>

#include <gtest/gtest.h>

#include "pipeline/PipelineNode.h"

namespace zun {
namespace {

TEST(OutputSpace, IsCountedPerThreadOrAbsolutelyIn32Bits) {
    constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max();
    constexpr std::int32_t smallest = std::numeric_limits<std::int32_t>::min();
    struct {
        std::int32_t limit;
        std::uint32_t threads;
        std::uint64_t buffered;
        std::int32_t space;
    } const cases[] = {
        {0, 8, 0, largest},
        {0, 8, 1000, largest},
        {3, 8, 1, 23},
        {2, 1, 2, 0},
        {2, 0, 0, 0},
        {-3, 8, 1, 2},
        {-3, 8, 5, -2},
        {2, 2, 9, -5},
        {1, 4, (std::uint64_t(1) << 32) + 3, 1},
        {largest, 2, 0, -2},
        {1 << 30, 4, 7, -7},
        {smallest, 8, 0, smallest},
        {smallest, 8, 1, largest},
        {-1, 8, 0xFFFFFFFF, 2},
    };
    for (auto const &[limit, threads, buffered, space] : cases)
        EXPECT_EQ(outputSpace(limit, threads, buffered), space) << limit << " x " << threads << " - " << buffered;
}

} // namespace
} // namespace zun
