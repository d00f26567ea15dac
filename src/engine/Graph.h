// The nodes of a run, built, and the streams between them.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/Description.h"
#include "engine/Facts.h"
#include "engine/Run.h"
#include "engine/ValueTypes.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/PipelineState.h"

namespace zun::engine {

struct GraphStream {
    std::string name;
    std::size_t producer = 0;
    std::vector<std::size_t> consumers;      ///< nodes, each once
    std::int32_t capacity = 0;               ///< values that may be on the stream at once
    std::int32_t limit = 0;                  ///< as the node has it
    std::atomic<std::uint64_t> buffered = 0; ///< values that wait for a reader now

    /// Whether anything written to the stream is kept.
    bool read() const { return !consumers.empty(); }
};

struct GraphNode {
    /// An input stream; a node that reads one stream through two ports has it once.
    struct Input {
        std::size_t stream = 0;
        std::vector<std::string> ports;
        ValueType const *expected = nullptr; ///< null where any type will do
        bool changedInPlace = false;         ///< the node writes into the frames that it reads here
    };

    struct Output {
        std::size_t stream = 0;
        std::string port;
    };

    /// A new value of an option, of the option's own type.
    struct Change {
        Tick from = 0;
        std::string option;
        OptionNode given;
        std::shared_ptr<Variant> value;
    };

    std::string label; ///< 'name' (Type), for messages
    std::string name;
    std::size_t index = 0; ///< place in the description
    int rank = 0;          ///< steps to the farthest sink; sources come after all others
    NodeConfig config{""};
    NodeFacts const *facts = nullptr;
    std::unique_ptr<PipelineNode> node;
    std::vector<Input> inputs;
    std::vector<Output> outputs;
    std::vector<Change> changes;    ///< in the order of their ticks
    std::size_t changesStarted = 0; ///< of these, how many a task has taken with it

    bool changeDue(Tick tick) const { return changesStarted < changes.size() && changes[changesStarted].from <= tick; }

    // What the node says of itself, asked once.
    bool selfParallel = false;
    bool sideEffects = false;
    bool generator = false;
};

/// Built from a description that passed check(); what the check can't see, such as a node whose constructor fails, is
/// thrown as zun::Exception with the node's name. Not thread-safe, but for the streams' counters.
class Graph {
public:
    Graph(Description const &description, NodeFactsTable const &facts, PipelineState &state);

    std::vector<GraphNode> nodes; ///< in the order of the description
    std::deque<GraphStream> streams;
    std::vector<std::size_t> order; ///< nodes: generators first, and each behind those that it reads from

    /// Notes an option change for its node. Throws zun::Exception if there is no such node or option, or no conversion.
    void addChange(OptionChange const &change);

    GraphStream const *findStream(std::string const &name) const;

private:
    void build(NodeDescription const &description, NodeFactsTable const &facts, PipelineState &state);
    void connect(GraphNode &node, NodeDescription const &description);
    std::size_t streamNamed(std::string const &name) const;
    void sortNodes();
    void rankNodes();

    std::map<std::string, std::size_t> streamIndex;
};

} // namespace zun::engine
