#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

#include "pipeline/PipelineNode.h"

namespace zun {
namespace {

/// A node that has nothing of its own beyond what it must.
class Plain : public PipelineNode {
public:
    Plain() : PipelineNode({nullptr, -7}, NodeConfig("Plain")) {}

    std::string getType() override { return "Plain"; }
    void process(Tick) override {}
    std::shared_ptr<PipelineNode> createInstance(NodeConstructionInfo const &, NodeConfig const &) override {
        return nullptr;
    }
    std::set<std::string> const &getInputStreams() override { return streams; }
    std::set<std::string> const &getOutputStreams() override { return streams; }
    std::vector<OutputLimit> getOutputLimits() override { return {}; }
    std::int32_t getOutputBufferSpace() override { return 0; }
    void setOption(std::string const &, Variant &) override {}

private:
    std::set<std::string> streams;
};

TEST(PipelineNode, BaseOperationsMeanAnOrdinaryNode) {
    Plain node;
    EXPECT_TRUE(node.getCircularInputs().empty());
    EXPECT_TRUE(node.getSingleTickInputs().empty());
    EXPECT_FALSE(node.canSelfParallelise());
    EXPECT_FALSE(node.hasSideEffects());
    EXPECT_TRUE(node.readyForProcessingInputs());
    EXPECT_FALSE(node.isGenerator());
    EXPECT_FALSE(node.processProgressNeverPossible());
    EXPECT_EQ(node.getRunUntil(12), 12u);
    EXPECT_EQ(node.getRunUntil(endless), endless);
    EXPECT_EQ(node.minTicksOnStreamForProgress(5, "stream"), 1u);
    EXPECT_EQ(node.getIndex(), -7);
    node.initialize();
    node.flush(0);
}

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
