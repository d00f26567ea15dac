#include <cstddef>
#include <cstring>

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

TEST(PipelineNode, OperationsKeepTheirSlots) {
    using Node = PipelineNode;
    std::ptrdiff_t const slots[] = {slotOf(&Node::getCircularInputs),
                                    slotOf(&Node::getSingleTickInputs),
                                    2,
                                    3, // the destructor has two
                                    slotOf(&Node::getType),
                                    slotOf(&Node::process),
                                    slotOf(&Node::flush),
                                    slotOf(&Node::initialize),
                                    slotOf(&Node::canSelfParallelise),
                                    slotOf(&Node::hasSideEffects),
                                    slotOf(&Node::readyForProcessingInputs),
                                    slotOf(&Node::createInstance),
                                    slotOf(&Node::isGenerator),
                                    slotOf(&Node::getRunUntil),
                                    slotOf(&Node::processProgressNeverPossible),
                                    slotOf(&Node::getInputStreams),
                                    slotOf(&Node::getOutputStreams),
                                    slotOf(&Node::getOutputLimits),
                                    slotOf(&Node::getOutputBufferSpace),
                                    slotOf(&Node::minTicksOnStreamForProgress),
                                    slotOf(&Node::setOption)};
    for (std::size_t i = 0; i < std::size(slots); i++) EXPECT_EQ(slots[i], static_cast<std::ptrdiff_t>(i));
}
#endif

} // namespace
} // namespace zun
