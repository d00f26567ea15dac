#include "run/RunNodes.h"

#include <algorithm>
#include <utility>

#include "containers/Exception.h"
#include "pipeline/NearestName.h"

namespace zun::engine {

RunNodes::RunNodes(Graph const &checked, PipelineState &state)
    : graph(checked), buffered(checked.streams.size()), order(checked.order) {
    if (!graph.passed()) throw Exception("a description with errors can't be run");
    for (std::size_t i = 0; i < graph.streams.size(); i++) streamIndex.emplace(graph.streams[i].name, i);
    nodes.reserve(graph.nodes.size());
    for (GraphNode const &node : graph.nodes) build(node, state);
    std::stable_partition(order.begin(), order.end(),
                          [&](std::size_t i) { return nodes[i].generator && graph.nodes[i].inputs.empty(); });
}

void RunNodes::build(GraphNode const &wiring, PipelineState &state) {
    RunNode &entry = nodes.emplace_back();
    entry.wiring = &wiring;
    entry.label = wiring.label();
    for (StreamRead const &read : wiring.reads) entry.reads.push_back(streamName(read.stream));
    for (GraphPort const &output : wiring.outputs) entry.writes.push_back(streamName(output.stream));
    try {
        entry.node.reset(wiring.type->factory({&state, static_cast<int>(wiring.index)}, wiring.description->config()));
    } catch (Exception const &failure) {
        throw Exception("node " + entry.label + " can't be built: " + failure.what());
    }

    PipelineNode &node = *entry.node;
    if (!node.getCircularInputs().empty() || !node.getSingleTickInputs().empty())
        throw Exception("node " + entry.label +
                        " reads a stream at another tick than its own, which this engine can't run");
    for (StreamRead const &read : wiring.reads)
        if (node.minTicksOnStreamForProgress(0, streamName(read.stream)) > 1)
            throw Exception("node " + entry.label + " looks ahead on stream '" + streamName(read.stream) +
                            "', which this engine can't run");
    entry.selfParallel = node.canSelfParallelise();
    entry.sideEffects = node.hasSideEffects();
    entry.generator = node.isGenerator();
}

std::shared_ptr<RunNode::Change const> RunNode::takeChange() {
    std::shared_ptr<Change const> const taken = changes[changesStarted++];
    nextChange = changesStarted < changes.size() ? changes[changesStarted]->from : endless;
    return taken;
}

void RunNodes::addChange(OptionChange const &change) {
    auto const node =
        std::find_if(nodes.begin(), nodes.end(), [&](RunNode const &n) { return n.name() == change.node; });
    if (node == nodes.end()) {
        std::vector<std::string> names;
        for (RunNode const &known : nodes) names.push_back(known.name());
        throw Exception("an option change names the node '" + change.node + "', which is not there" +
                        suggestion(change.node, names));
    }
    NodeRegistry::Entry const &type = *node->wiring->type;
    NodeFacts::Option const *const option = type.facts.findOption(change.option);
    if (option == nullptr)
        throw Exception("an option change names '" + change.option + "', which node " + node->label + " doesn't have" +
                        suggestion(change.option, keysOf(type.specification.options)));
    auto const later = std::find_if(node->changes.begin(), node->changes.end(),
                                    [&](auto const &other) { return other->from > change.from; });
    node->changes.insert(
        later, std::make_shared<RunNode::Change>(RunNode::Change{change.from, change.option, change.value.text,
                                                                 option->conversion.convert(change.value)}));
    node->nextChange = node->changes[node->changesStarted]->from;
}

void RunNodes::adoptChanges(RunControl &control, Tick tick) {
    control.makeChanges([&](OptionChange change) {
        RunControl::Answer answer{std::move(change), ""};
        answer.change.from = tick;
        try {
            addChange(answer.change);
        } catch (std::exception const &error) {
            answer.refusal = error.what();
        }
        return answer;
    });
}

std::uint64_t RunNodes::bufferedOn(std::string const &stream) const {
    auto const found = streamIndex.find(stream);
    return found == streamIndex.end() ? 0 : buffered[found->second].load(std::memory_order_relaxed);
}

} // namespace zun::engine
