// The nodes of a run, built, and the counters of the streams between them. How they are wired stands in the graph.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "graph/Graph.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/PipelineState.h"
#include "run/Run.h"

namespace zun::engine {

struct RunNode {
    /// A new value of an option, of the option's own type.
    struct Change {
        Tick from = 0;
        std::string option;
        std::string text; ///< of the value, as it was given
        std::shared_ptr<Variant> value;
    };
    using Changes = std::vector<std::shared_ptr<Change const>>;

    GraphNode const *wiring = nullptr;
    std::string label;                           ///< 'name' (Type), for messages
    std::vector<std::string_view> reads, writes; ///< names of the streams, in the order of the wiring
    std::unique_ptr<PipelineNode> node;
    Changes changes;                ///< in the order of their ticks
    std::size_t changesStarted = 0; ///< of these, how many a task has taken with it
    Tick nextChange = endless;      ///< when the first of the others is due

    // What the node says of itself, asked once.
    bool selfParallel = false;
    bool sideEffects = false;
    bool generator = false;

    std::size_t index() const { return wiring->index; }
    std::string const &name() const { return wiring->description->name; }
    bool changeDue(Tick tick) const { return nextChange <= tick; }

    /// The first change that no task has taken, which is due.
    std::shared_ptr<Change const> takeChange();
};

/// Built from a graph that passed its check; what the check can't see, such as a node whose constructor fails, is
/// thrown as zun::Exception with the node's name. The graph has to outlive it. Not thread-safe, but for `buffered`.
class RunNodes {
public:
    RunNodes(Graph const &checked, PipelineState &state);

    Graph const &graph;
    std::vector<RunNode> nodes;                       ///< as Graph::nodes
    std::vector<std::atomic<std::uint64_t>> buffered; ///< as Graph::streams: values that wait for a reader now
    std::vector<std::size_t> order;                   ///< as Graph::order, but sources of frames first

    /// Notes an option change for its node, which has not begun the change's tick. Throws zun::Exception if there is no
    /// such node or option, or no conversion.
    void addChange(OptionChange const &change);

    /// Notes what the host changes from `tick` on, the first that no node has begun.
    void adoptChanges(RunControl &control, Tick tick);

    /// How many values wait on a stream; 0 for one that doesn't exist.
    std::uint64_t bufferedOn(std::string const &stream) const;

    std::string const &streamName(std::size_t stream) const { return graph.streams[stream].name; }

private:
    void build(GraphNode const &wiring, PipelineState &state);

    std::map<std::string, std::size_t> streamIndex;
};

} // namespace zun::engine
