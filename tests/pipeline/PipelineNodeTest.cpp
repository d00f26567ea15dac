#include <cstddef>
#include <cstring>
#include <limits>

#include <gtest/gtest.h>

#include "pipeline/NodeRegistry.h"
#include "pipeline/PipelineNode.h"
#include "support/OneNode.h"

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
    using Row = std::tuple<std::int32_t, std::uint32_t, std::uint64_t, std::int32_t>;
    for (auto const &[limit, threads, buffered, space] :
         {Row(0, 8, 1000, largest), Row(3, 8, 1, 23), Row(2, 0, 0, 0), Row(-3, 8, 1, 2), Row(-3, 8, 5, -2),
          Row(2, 2, 9, -5), Row(1, 4, (std::uint64_t(1) << 32) + 3, 1), Row(largest, 2, 0, -2), Row(1 << 30, 4, 7, -7),
          Row(smallest, 8, 0, smallest), Row(smallest, 8, 1, largest), Row(-1, 8, 0xFFFFFFFF, 2)})
        EXPECT_EQ(outputSpace(limit, threads, buffered), space) << limit << " x " << threads << " - " << buffered;
}

TEST(NodeRegistry, KeepsTheFirstMeaningOfATypeStringAndReportsBothLibraries) {
    test::loadLibrary(FIRST_CLAIM);
    NodeRegistry::Entry const *const first = NodeRegistry::find("Claimed");
    EXPECT_EQ(NodeRegistry::takeConflicts(), std::vector<std::string>());

    test::loadLibrary(SECOND_CLAIM);
    EXPECT_EQ(
        NodeRegistry::takeConflicts(),
        std::vector<std::string>{"node type \"Claimed\" is registered twice: by " FIRST_CLAIM " and by " SECOND_CLAIM});
    EXPECT_EQ(NodeRegistry::takeConflicts(), std::vector<std::string>()) << "told once";
    EXPECT_EQ(NodeRegistry::find("Claimed"), first);
    EXPECT_EQ(first->library, FIRST_CLAIM);
    EXPECT_EQ(first->documentation.summary, "first_claim");

    std::vector<std::string> types;
    for (auto const *entry : NodeRegistry::entries()) types.push_back(entry->type);
    EXPECT_EQ(types, (std::vector<std::string>{"Claimed", "Claimed by first_claim", "Claimed by second_claim"}));
}

} // namespace
} // namespace zun
