#include <cstddef>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "pipeline/PipelineNode.h"

namespace zun {
namespace {

#if defined(__x86_64__)
/// The place of a virtual operation in the table of its class, as a pointer to it holds it on this platform.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    std::ptrdiff_t encoded = 0;
    static_assert(sizeof operation >= sizeof encoded);
    std::memcpy(&encoded, &operation, sizeof encoded);
    return (encoded - 1) / static_cast<std::ptrdiff_t>(sizeof(void *));
}

std::vector<std::ptrdiff_t> slotsOf(auto... operations) { return {slotOf(operations)...}; }

TEST(PipelineNode, OperationsKeepTheirSlots) {
    using Node = PipelineNode;
    std::vector<std::ptrdiff_t> slots =
        slotsOf(&Node::getCircularInputs, &Node::getSingleTickInputs, &Node::getType, &Node::process, &Node::flush,
                &Node::initialize, &Node::canSelfParallelise, &Node::hasSideEffects, &Node::readyForProcessingInputs,
                &Node::createInstance, &Node::isGenerator, &Node::getRunUntil, &Node::processProgressNeverPossible,
                &Node::getInputStreams, &Node::getOutputStreams, &Node::getOutputLimits, &Node::getOutputBufferSpace,
                &Node::minTicksOnStreamForProgress, &Node::setOption);
    slots.insert(slots.begin() + 2, {2, 3}); // the destructor has two
    for (std::size_t i = 0; i < slots.size(); i++) EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i));
}
#endif

TEST(OutputSpace, IsCountedPerThreadOrAbsolutelyIn32Bits) {
    constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max(), smallest = -largest - 1;
    struct {
        std::int32_t limit;
        std::uint32_t threads;
        std::uint64_t buffered;
        std::int32_t space;
    } const cases[] = {{0, 8, 1000, largest},
                       {3, 8, 1, 23},
                       {2, 0, 0, 0},
                       {-3, 8, 1, 2},
                       {-3, 8, 5, -2},
                       {2, 2, 9, -5},
                       {1, 4, (std::uint64_t(1) << 32) + 3, 1},
                       {largest, 2, 0, -2},
                       {1 << 30, 4, 7, -7},
                       {smallest, 8, 0, smallest},
                       {smallest, 8, 1, largest},
                       {-1, 8, 0xFFFFFFFF, 2}};
    for (auto const &[limit, threads, buffered, space] : cases)
        EXPECT_EQ(outputSpace(limit, threads, buffered), space) << limit << " x " << threads << " - " << buffered;
}

} // namespace
} // namespace zun
