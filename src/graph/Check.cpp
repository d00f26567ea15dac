#include "graph/Check.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "graph/GraphBuilder.h"
#include "pipeline/NodeSpecification.h"
#include "pipeline/PipelineNode.h"

namespace zun::engine {
namespace {

/// The limit of an output, of the description or else the type's own.
std::int32_t limitOf(GraphNode const &node, GraphPort const &output) {
    for (LimitSetting const &limit : node.description->limits)
        if (limit.port == output.name) return limit.limit;
    if (node.type == nullptr) return 0;
    auto const &outputs = node.type->specification.outputs;
    auto const found = outputs.find(output.name);
    return found == outputs.end() ? 0 : found->second.limit;
}

} // namespace

GraphBuilder::GraphBuilder(Description description) {
    for (Diagnostic const &known : description.diagnostics) diagnostics.add(known);
    connectSources(description);
    graph.description = std::make_shared<Description const>(std::move(description));
    graph.nodes.resize(graph.description->nodes.size());
}

Graph GraphBuilder::build() {
    for (std::size_t i = 0; i < graph.nodes.size(); i++) {
        GraphNode &node = graph.nodes[i];
        node.index = i;
        node.description = &graph.description->nodes[i];
        checkNode(node);
        connect(node);
    }
    meant.resize(graph.streams.size());
    checkStreams();
    findCycles();
    sortNodes();
    askForForecasts();
    graph.diagnostics = diagnostics.takeSorted();
    return std::move(graph);
}

std::size_t GraphBuilder::streamNamed(std::string const &name) {
    auto const [entry, isNew] = streamIndex.emplace(name, graph.streams.size());
    if (isNew) {
        GraphStream &stream = graph.streams.emplace_back();
        stream.name = name;
        stream.implied = implied.contains(name);
    }
    return entry->second;
}

void GraphBuilder::connect(GraphNode &node) {
    unsigned const hardwareThreads = std::thread::hardware_concurrency();
    for (std::size_t i = 0; i < node.outputs.size(); i++) {
        GraphStream &stream = graph.streams[node.outputs[i].stream];
        stream.writers.push_back({node.index, i});
        if (stream.writers.size() > 1) continue;
        stream.limit = limitOf(node, node.outputs[i]);
        stream.capacity = outputSpace(stream.limit, hardwareThreads, 0);
    }
    if (node.type != nullptr) node.readOfRow.assign(node.type->facts.inputs.size(), noRead);
    for (std::size_t i = 0; i < node.inputs.size(); i++) {
        GraphPort const &input = node.inputs[i];
        GraphStream &stream = graph.streams[input.stream];
        stream.readers.push_back({node.index, i});
        auto read = std::find_if(node.reads.begin(), node.reads.end(),
                                 [&](StreamRead const &known) { return known.stream == input.stream; });
        if (read == node.reads.end()) {
            read = node.reads.insert(read, StreamRead{input.stream, {}, nullptr, false});
            stream.consumers.push_back(node.index);
        }
        read->inputs.push_back(i);
        if (input.row != unknownRow) node.readOfRow[input.row] = static_cast<std::size_t>(read - node.reads.begin());
        if (input.value != nullptr) read->expected = input.value;
        read->changedInPlace = read->changedInPlace || input.changedInPlace;
    }
}

void GraphBuilder::error(GraphNode &node, Place const &place, std::string const &port, std::string const &message) {
    node.failed = true;
    diagnostics.add(
        {Diagnostic::Severity::Error, place, node.description->name, port, "node " + node.label() + " " + message});
}

void GraphBuilder::warning(GraphNode const &node, Place const &place, std::string const &port,
                           std::string const &message) {
    diagnostics.add(
        {Diagnostic::Severity::Warning, place, node.description->name, port, "node " + node.label() + message});
}

void GraphBuilder::note(GraphNode const &node, std::string const &message) {
    diagnostics.add({Diagnostic::Severity::Note, node.description->typePlace, node.description->name, "",
                     "node " + node.label() + " " + message});
}

Graph check(Description description) { return GraphBuilder(std::move(description)).build(); }

} // namespace zun::engine
