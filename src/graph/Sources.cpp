// Connects what sources tell of their frames to the nodes that the frames reach.
#include <algorithm>
#include <deque>
#include <map>
#include <set>

#include "graph/GraphBuilder.h"
#include "pipeline/NodeRegistry.h"
#include "pipeline/PipelineNode.h"

namespace zun::engine {
namespace {

using Nodes = std::vector<NodeDescription>;

PortBinding const *binding(std::vector<PortBinding> const &ports, std::string const &name) {
    auto const found = std::find_if(ports.begin(), ports.end(), [&](PortBinding const &p) { return p.port == name; });
    return found == ports.end() ? nullptr : &*found;
}

NodeFacts const *factsOf(NodeDescription const &node) {
    NodeRegistry::Entry const *const type = NodeRegistry::find(node.type);
    return type == nullptr ? nullptr : &type->facts;
}

/// Whether the node can be asked for what it tells of its frames: it has such an output, which is not bound to "-".
bool isSource(NodeDescription const &node) {
    NodeFacts const *const facts = factsOf(node);
    NodeFacts::Output const *const output = facts != nullptr ? facts->outputBesideFrames() : nullptr;
    if (output == nullptr) return false;
    PortBinding const *const bound = binding(node.outputs, output->name);
    return bound == nullptr || bound->stream != noStream;
}

/// The sources that a node's inputs come from, the nearest first.
std::vector<NodeDescription *> sourcesOf(NodeDescription &node,
                                         std::map<std::string, NodeDescription *> const &writers) {
    std::vector<NodeDescription *> sources;
    std::deque<NodeDescription *> next{&node};
    std::set<NodeDescription *> seen{&node};
    while (!next.empty()) {
        NodeDescription &current = *next.front();
        next.pop_front();
        if (&current != &node && isSource(current)) sources.push_back(&current);
        for (PortBinding const &input : current.inputs)
            if (auto const writer = writers.find(input.stream); writer != writers.end())
                if (seen.insert(writer->second).second) next.push_back(writer->second);
    }
    return sources;
}

bool moves(NodeDescription const &source) {
    try {
        NodeRegistry::Entry const &type = *NodeRegistry::find(source.type);
        std::unique_ptr<PipelineNode> const built(type.factory({nullptr, 0}, source.config()));
        return type.facts.forecast != nullptr && type.facts.forecast(*built, nullptr).moves;
    } catch (std::exception const &) {
        return false; // the node itself is checked later
    }
}

/// The stream on which a source tells of its frames. Where the description has none, it is made, and without a limit:
/// the records are small, and must not hold back the frames.
std::string streamBeside(NodeDescription &source, std::map<std::string, NodeDescription *> &writers,
                         std::set<std::string> &implied) {
    std::string const &port = factsOf(source)->outputBesideFrames()->name;
    if (PortBinding const *const bound = binding(source.outputs, port)) return bound->stream;
    std::string name = source.name + "." + port;
    while (writers.contains(name)) name += "'";
    source.outputs.push_back({port, name, source.place});
    source.limits.push_back({port, 0, source.place});
    writers[name] = &source;
    implied.insert(name);
    return name;
}

} // namespace

void GraphBuilder::connectSources(Description &description) {
    std::map<std::string, NodeDescription *> writers;
    for (NodeDescription &node : description.nodes)
        for (PortBinding const &output : node.outputs)
            if (output.stream != noStream && !output.stream.empty()) writers.emplace(output.stream, &node);
    for (NodeDescription &node : description.nodes) {
        NodeFacts const *const facts = factsOf(node);
        NodeFacts::Input const *const input = facts != nullptr ? facts->inputBesideFrames() : nullptr;
        if (input == nullptr || binding(node.inputs, input->name) != nullptr) continue;
        std::vector<NodeDescription *> const sources = sourcesOf(node, writers);
        if (sources.empty()) continue;
        NodeDescription *chosen = sources.front();
        if (sources.size() > 1)
            for (std::size_t i = sources.size(); i-- > 0;)
                if (moves(*sources[i])) chosen = sources[i];
        node.inputs.push_back({input->name, streamBeside(*chosen, writers, implied), node.place});
    }
}

} // namespace zun::engine
