#include "engine/Graph.h"

#include <algorithm>
#include <limits>
#include <thread>
#include <utility>

#include "containers/Exception.h"
#include "engine/OptionValue.h"
#include "engine/PortTypes.h"
#include "pipeline/NodeRegistry.h"

namespace zun::engine {

Graph::Graph(Description const &description, NodeFactsTable const &facts, PipelineState &state) {
    nodes.reserve(description.nodes.size());
    // Streams exist once a node writes them, so all outputs are connected before the first input.
    for (NodeDescription const &node : description.nodes) build(node, facts, state);
    for (std::size_t i = 0; i < nodes.size(); i++) connect(nodes[i], description.nodes[i]);
    sortNodes();
    rankNodes();
}

void Graph::addChange(OptionChange const &change) {
    auto const node =
        std::find_if(nodes.begin(), nodes.end(), [&](GraphNode const &n) { return n.name == change.node; });
    if (node == nodes.end())
        throw Exception("an option change names the node '" + change.node + "', which is not there");
    auto const &options = NodeRegistry::find(node->config.getType())->specification.options;
    auto const option = options.find(change.option);
    if (option == options.end())
        throw Exception("an option change names '" + change.option + "', which node " + node->label + " doesn't have");
    auto const later = std::find_if(node->changes.begin(), node->changes.end(),
                                    [&](GraphNode::Change const &other) { return other.from > change.from; });
    node->changes.insert(later,
                         {change.from, change.option, change.value, optionVariant(option->second.type, change.value)});
}

GraphStream const *Graph::findStream(std::string const &name) const {
    auto const found = streamIndex.find(name);
    return found == streamIndex.end() ? nullptr : &streams[found->second];
}

std::size_t Graph::streamNamed(std::string const &name) const {
    auto const found = streamIndex.find(name);
    if (found == streamIndex.end()) throw Exception("no node writes the stream '" + name + "'");
    return found->second;
}

void Graph::build(NodeDescription const &description, NodeFactsTable const &facts, PipelineState &state) {
    static NodeFacts const noFacts;
    GraphNode entry;
    entry.label = description.label();
    entry.name = description.name;
    entry.index = nodes.size();
    entry.config = description.config();
    auto const known = facts.find(description.type);
    entry.facts = known != facts.end() ? &known->second : &noFacts;

    NodeRegistry::Entry const *const type = NodeRegistry::find(description.type);
    if (type == nullptr) throw Exception("node " + entry.label + ": no such node type");
    try {
        entry.node.reset(type->factory({&state, static_cast<int>(entry.index)}, entry.config));
    } catch (Exception const &failure) {
        throw Exception("node " + entry.label + " can't be built: " + failure.what());
    }

    PipelineNode &node = *entry.node;
    if (!node.getCircularInputs().empty() || !node.getSingleTickInputs().empty())
        throw Exception("node " + entry.label +
                        " reads a stream at another tick than its own, which this engine can't run");
    entry.selfParallel = node.canSelfParallelise();
    entry.sideEffects = node.hasSideEffects();
    entry.generator = node.isGenerator();

    auto const limits = node.getOutputLimits();
    unsigned const hardwareThreads = std::thread::hardware_concurrency();
    for (PortBinding const &binding : description.outputs) {
        if (binding.stream == noStream) continue;
        auto const limit = std::find_if(limits.begin(), limits.end(),
                                        [&](OutputLimit const &l) { return l.stream == binding.stream; });
        if (limit == limits.end()) throw Exception("node " + entry.label + " has no output '" + binding.port + "'");
        if (!streamIndex.emplace(binding.stream, streams.size()).second)
            throw Exception("two nodes write the stream '" + binding.stream + "'");
        GraphStream &stream = streams.emplace_back();
        stream.name = binding.stream;
        stream.producer = entry.index;
        stream.limit = static_cast<std::int32_t>(limit->limit);
        stream.capacity = outputSpace(stream.limit, hardwareThreads, 0);
        entry.outputs.push_back({streams.size() - 1, binding.port});
    }
    nodes.push_back(std::move(entry));
}

void Graph::connect(GraphNode &node, NodeDescription const &description) {
    std::vector<std::string> const &inPlace = node.facts->changesInPlace;
    for (PortBinding const &binding : description.inputs) {
        if (binding.stream == noStream) continue;
        std::size_t const index = streamNamed(binding.stream);
        if (node.node->minTicksOnStreamForProgress(0, binding.stream) > 1)
            throw Exception("node " + node.label + " looks ahead on stream '" + binding.stream +
                            "', which this engine can't run");
        auto input = std::find_if(node.inputs.begin(), node.inputs.end(),
                                  [&](GraphNode::Input const &known) { return known.stream == index; });
        if (input == node.inputs.end()) {
            input = node.inputs.insert(node.inputs.end(), GraphNode::Input{});
            input->stream = index;
            streams[index].consumers.push_back(node.index);
        }
        input->ports.push_back(binding.port);
        ValueType const *const expected = valueTypeNamed(inputType(description, binding.port));
        if (expected != nullptr) input->expected = expected;
        if (std::find(inPlace.begin(), inPlace.end(), binding.port) != inPlace.end()) input->changedInPlace = true;
    }
}

void Graph::sortNodes() {
    std::vector<bool> placed(nodes.size(), false);
    auto const place = [&](GraphNode const &node) {
        order.push_back(node.index);
        placed[node.index] = true;
    };
    for (GraphNode const &node : nodes)
        if (node.generator && node.inputs.empty()) place(node);
    while (order.size() < nodes.size()) {
        std::size_t const before = order.size();
        for (GraphNode const &node : nodes) {
            auto const written = [&](GraphNode::Input const &input) {
                return placed[streams[static_cast<std::size_t>(input.stream)].producer];
            };
            if (!placed[node.index] && std::all_of(node.inputs.begin(), node.inputs.end(), written)) place(node);
        }
        if (order.size() == before) throw Exception("the streams run in a cycle");
    }
}

void Graph::rankNodes() {
    for (auto last = order.rbegin(); last != order.rend(); ++last) {
        GraphNode &node = nodes[*last];
        for (GraphNode::Output const &output : node.outputs)
            for (std::size_t consumer : streams[output.stream].consumers)
                node.rank = std::max(node.rank, nodes[consumer].rank + 1);
    }
    for (GraphNode &node : nodes)
        if (node.inputs.empty()) node.rank = std::numeric_limits<int>::max();
}

} // namespace zun::engine
