#include "pipeline/PipelineNode.h"

#include <limits>

#include "pipeline/PipelineState.h"

namespace zun {

std::int32_t outputSpace(std::int32_t limit, std::uint32_t hardwareThreads, std::uint64_t buffered) {
    if (limit == 0) return std::numeric_limits<std::int32_t>::max();
    auto const factor = static_cast<std::uint32_t>(limit);
    std::uint32_t const space = limit > 0 ? factor * hardwareThreads : 0u - factor;
    return static_cast<std::int32_t>(space - static_cast<std::uint32_t>(buffered));
}

PipelineState::~PipelineState() = default;

PipelineNode::PipelineNode(NodeConstructionInfo const &info, NodeConfig const &)
    : state(info.state), nodeIndex(info.index) {}
PipelineNode::~PipelineNode() = default;

std::set<std::string> PipelineNode::getCircularInputs() { return {}; }
std::set<std::string> PipelineNode::getSingleTickInputs() { return {}; }
void PipelineNode::flush(Tick) {}
void PipelineNode::initialize() {}
bool PipelineNode::canSelfParallelise() const { return false; }
bool PipelineNode::hasSideEffects() const { return false; }
bool PipelineNode::readyForProcessingInputs() const { return true; }
bool PipelineNode::isGenerator() const { return false; }
Tick PipelineNode::getRunUntil(Tick end) { return end; }
bool PipelineNode::processProgressNeverPossible() { return false; }
std::uint64_t PipelineNode::minTicksOnStreamForProgress(Tick, std::string const &) const { return 1; }

} // namespace zun
