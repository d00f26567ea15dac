// A pipeline whose nodes are wired to one another and typed: what check() (graph/Check.h) makes of a description, and
// what a run, a drawing and a statement of memory take.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "description/Description.h"
#include "pipeline/Diagnostic.h"
#include "pipeline/NodeRegistry.h"
#include "pipeline/types/ValueType.h"

namespace zun::engine {

inline constexpr std::size_t unknownRow = std::numeric_limits<std::size_t>::max();
inline constexpr std::size_t noRead = std::numeric_limits<std::size_t>::max();

/// A port of a node that is connected to a stream.
struct GraphPort {
    std::string name;
    std::size_t row = unknownRow;     ///< index in the table of the node's type
    std::string type = "any";         ///< type expression, as the type string and the options settle it
    ValueType const *value = nullptr; ///< of what a reader of the port takes; null for any
    std::size_t stream = 0;           ///< index in Graph::streams
    bool changedInPlace = false;      ///< of an input: the node writes into the frames that it reads
    Place place;                      ///< of the port in the description
};

/// A stream that a node reads, through one of its inputs or several.
struct StreamRead {
    std::size_t stream = 0;
    std::vector<std::size_t> inputs;     ///< indices in GraphNode::inputs, at least one
    ValueType const *expected = nullptr; ///< null where every type will do
    bool changedInPlace = false;
};

struct GraphNode {
    std::size_t index = 0; ///< in Graph::nodes and in the description
    NodeDescription const *description = nullptr;
    NodeRegistry::Entry const *type = nullptr; ///< null for one that is not known
    std::vector<GraphPort> inputs, outputs;    ///< the connected ones, in the order of the description
    std::vector<StreamRead> reads;             ///< each stream once
    std::vector<std::size_t> readOfRow;        ///< for each input of the type's table, index in `reads` or noRead
    int rank = 0;        ///< steps to the farthest sink; nodes without inputs come after all others
    bool failed = false; ///< a diagnostic says that it can't run

    /// `'reader' (ReadFrames)`, as messages name a node.
    std::string label() const { return description->label(); }
};

/// One end of a stream: a node, and an index in its inputs or outputs.
struct StreamEnd {
    std::size_t node = 0;
    std::size_t port = 0;
};

struct GraphStream {
    std::string name;
    bool implied = false;                       ///< made by the check, for what travels beside frames
    std::vector<StreamEnd> writers;             ///< one, in a graph without errors
    std::vector<StreamEnd> readers;             ///< each input that is connected to the stream
    std::vector<std::size_t> consumers;         ///< the nodes that read it, each once
    std::int32_t limit = 0;                     ///< of the description, or else of the node's type
    std::int32_t capacity = 0;                  ///< values that may be on the stream at once; see outputSpace()
    std::optional<std::uint64_t> bytesPerValue; ///< absent where the size is not known ahead of the run

    std::size_t producer() const { return writers.front().node; }

    /// Whether anything written to the stream is kept.
    bool isRead() const { return !consumers.empty(); }

    /// Whether the limit bounds the number of values.
    bool isBounded() const { return limit != 0; }
};

/// A plain value: copies share the description.
struct Graph {
    std::shared_ptr<Description const> description;
    std::vector<GraphNode> nodes;     ///< in the order of the description
    std::vector<GraphStream> streams; ///< in the order in which the description names them
    std::vector<std::size_t> order;   ///< nodes, each after those that it reads from; without those on a cycle
    Diagnostics diagnostics;          ///< in the order of the file
    std::uint64_t knownBytes = 0;     ///< the most that the streams of known size and bounded length hold together

    /// Whether it can be run.
    bool passed() const { return !hasErrors(diagnostics); }

    GraphPort const &output(StreamEnd end) const { return nodes[end.node].outputs[end.port]; }
    GraphPort const &input(StreamEnd end) const { return nodes[end.node].inputs[end.port]; }
};

} // namespace zun::engine
