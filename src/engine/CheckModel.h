// What check() knows of a description while it goes over it.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "engine/Check.h"
#include "engine/Report.h"
#include "pipeline/NodeRegistry.h"

namespace zun::engine {

struct CheckedPort {
    PortBinding const *binding = nullptr;
    std::string name;         ///< of the port; the one that a misspelt one most likely means
    std::string type = "any"; ///< type expression; "any" for a port that is not known
};

struct CheckedNode {
    NodeDescription const *description = nullptr;
    NodeSpecification const *specification = nullptr; ///< null for an unknown type
    NodeFacts const *facts = nullptr;
    std::vector<CheckedPort> inputs, outputs; ///< the connected ones
    bool failed = false;                      ///< has an error

    std::string label() const { return "node " + description->label(); }
    /// The limit of an output, of the description or else the type's own.
    std::int32_t limitOf(CheckedPort const &output) const;
    void error(Report &report, Place const &place, std::string const &message) {
        failed = true;
        report.error(place, label() + " " + message);
    }
};

/// One end of a stream.
struct StreamEnd {
    std::size_t node = 0;
    std::size_t port = 0; ///< index into the node's inputs or outputs
};

struct CheckedStream {
    std::string name;
    std::vector<StreamEnd> writers, readers;
    bool meant = false; ///< a misspelt name elsewhere most likely means this stream
};

struct CheckedPipeline {
    CheckedPipeline(Description const &description, NodeFactsTable const &facts, Report &findings);

    CheckedPort const &input(StreamEnd end) const { return nodes[end.node].inputs[end.port]; }
    CheckedPort const &output(StreamEnd end) const { return nodes[end.node].outputs[end.port]; }

    Report &report;
    std::vector<CheckedNode> nodes;
    std::vector<CheckedStream> streams; ///< in the order in which the description names them
    std::map<std::string, std::size_t> streamIndex;
    std::vector<std::size_t> order; ///< nodes, each behind those that it reads from, as far as there is no cycle

private:
    void addStreams(std::size_t node);
    CheckedStream &streamNamed(std::string const &name);
};

/// Type, ports, options and limits of a node by itself; fills in the ports.
void checkNode(CheckedNode &node, Report &report);

/// Both ends of each stream: whether there are any, and whether their types agree.
void checkStreams(CheckedPipeline &pipeline);

/// Reports cycles and sorts the nodes.
void checkCycles(CheckedPipeline &pipeline);

/// Asks the nodes without errors for their forecasts, and estimates what the streams will hold.
void estimateSizes(CheckedPipeline &pipeline, CheckReport &result);

} // namespace zun::engine
