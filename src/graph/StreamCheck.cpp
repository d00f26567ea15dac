// Both ends of each stream.
#include <thread>

#include "graph/GraphBuilder.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/types/TypeExpression.h"

namespace zun::engine {

void GraphBuilder::checkStreams() {
    for (GraphStream const &stream : graph.streams) {
        if (stream.writers.empty()) {
            reportUnwritten(stream);
            continue;
        }
        for (std::size_t i = 1; i < stream.writers.size(); i++) reportWrittenTwice(stream, stream.writers[i]);
        for (StreamEnd const reader : stream.readers) checkTypes(stream, reader);
        warnOfChangeInPlace(stream);
        warnOfStarvation(stream);
    }
    // Only now are all streams known that misspelt names mean.
    for (GraphStream const &stream : graph.streams) warnOfNoReader(stream);
    for (GraphNode const &node : graph.nodes) warnOfNoOutput(node);
}

std::vector<std::string> GraphBuilder::writtenStreams() const {
    std::vector<std::string> names;
    for (GraphStream const &stream : graph.streams)
        if (!stream.writers.empty() && !stream.implied) names.push_back(stream.name);
    return names;
}

void GraphBuilder::reportUnwritten(GraphStream const &stream) {
    std::vector<std::string> const written = writtenStreams();
    for (StreamEnd const reader : stream.readers) {
        GraphPort const &port = graph.input(reader);
        error(graph.nodes[reader.node], port.place, port.name,
              "reads stream " + quoted(stream.name) + " at input " + quoted(port.name) + ", but no node writes it" +
                  diagnostics.knownNames(stream.name, written));
    }
    if (auto const name = diagnostics.nearest(stream.name, written)) meant[streamIndex.at(*name)] = true;
}

void GraphBuilder::reportWrittenTwice(GraphStream const &stream, StreamEnd second) {
    StreamEnd const first = stream.writers.front();
    graph.nodes[first.node].failed = true;
    error(graph.nodes[second.node], graph.output(second).place, graph.output(second).name,
          "writes stream " + quoted(stream.name) + " from output " + quoted(graph.output(second).name) +
              ", but output " + quoted(graph.output(first).name) + " of node " + graph.nodes[first.node].label() +
              " writes it already, at " + graph.output(first).place.text() +
              "; give one of the two streams another name");
}

void GraphBuilder::checkTypes(GraphStream const &stream, StreamEnd reader) {
    StreamEnd const writer = stream.writers.front();
    GraphPort const &from = graph.output(writer), &to = graph.input(reader);
    if (typesAgree(from.type, to.type)) return;
    graph.nodes[writer.node].failed = true;
    error(graph.nodes[reader.node], to.place, to.name,
          "takes " + to.type + " at input " + quoted(to.name) + ", but stream " + quoted(stream.name) + " carries " +
              from.type + " from output " + quoted(from.name) + " of node " + graph.nodes[writer.node].label() +
              " at " + from.place.text());
}

void GraphBuilder::warnOfChangeInPlace(GraphStream const &stream) {
    if (stream.readers.size() < 2) return;
    for (StreamEnd const reader : stream.readers) {
        GraphPort const &port = graph.input(reader);
        if (port.changedInPlace)
            warning(graph.nodes[reader.node], port.place, port.name,
                    " changes the frames that it reads at input " + quoted(port.name) + ", and others read stream " +
                        quoted(stream.name) + ", too: it gets a copy of each frame, which takes time and memory");
    }
}

void GraphBuilder::warnOfStarvation(GraphStream const &stream) {
    if (stream.capacity >= 1) return;
    StreamEnd const writer = stream.writers.front();
    GraphNode const &node = graph.nodes[writer.node];
    GraphPort const &port = graph.output(writer);
    Place place = port.place;
    for (LimitSetting const &setting : node.description->limits)
        if (setting.port == port.name) place = setting.place;
    warning(node, place, port.name,
            " can never run: the limit " + std::to_string(stream.limit) + " of output " + quoted(port.name) +
                " leaves no space for a single value; 2 is usual, 0 is without bound");
}

void GraphBuilder::warnOfNoReader(GraphStream const &stream) {
    bool const isMeant = meant[static_cast<std::size_t>(&stream - graph.streams.data())];
    if (!stream.readers.empty() || isMeant) return;
    StreamEnd const writer = stream.writers.front();
    GraphPort const &port = graph.output(writer);
    warning(graph.nodes[writer.node], port.place, port.name,
            " writes stream " + quoted(stream.name) + " from output " + quoted(port.name) + ", but no node reads it");
}

void GraphBuilder::warnOfNoOutput(GraphNode const &node) {
    if (node.type == nullptr || node.failed) return;
    if (node.outputs.empty() && !node.type->specification.outputs.empty())
        warning(node, node.description->place, "", " has no effect: none of its outputs is connected");
}

} // namespace zun::engine
