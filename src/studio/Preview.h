// The values of all streams at one tick, for somebody who looks at a pipeline and changes it. Only what depends on a
// change is run again.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "graph/Graph.h"
#include "pipeline/Tick.h"
#include "run/SingleNode.h"
#include "studio/NodeKeys.h"
#include "studio/ValueStore.h"

namespace zun::studio {

struct NodeState {
    bool runs = true; ///< false for one with effects outside
    bool kept = false;
    std::optional<double> milliseconds; ///< what its tick took, now or when its values were made
    std::string error;                  ///< why it failed; empty if it didn't
};

struct StreamState {
    std::optional<KeptValue> value;
    std::string missing; ///< why there is no value
};

struct FrameOrigin {
    std::string file;
    std::uint64_t number = 0;
    double seconds = 0;
};

/// What a graph has at a tick. Names are those of the graph; streams that the check made are among them.
struct Snapshot {
    Tick tick = 0;
    std::map<std::string, NodeState> nodes;
    std::map<std::string, StreamState> streams;
    std::optional<Tick> ticks; ///< how many there are; absent where that isn't known, or there is no end
    bool ticksCertain = true;  ///< false: what a file says of itself
    std::optional<FrameOrigin> frame;
    bool complete = true; ///< false: it was given up
};

/// Runs the nodes of graphs one tick at a time. Values are those of a run that begins at the tick: a node that takes
/// one tick at a time, and isn't a source, is built anew for each. Nodes with effects outside don't run. Not
/// thread-safe, but for the store.
class Preview {
public:
    using Outdated = std::function<bool()>;

    explicit Preview(std::uint64_t bytesToKeep) : kept(bytesToKeep) {}

    /// The values of a graph that passed its check. Asks between nodes whether the answer is still wanted, and gives up
    /// when it is not. What fails is in the answer. Throws std::bad_alloc only.
    Snapshot evaluate(std::shared_ptr<engine::Graph const> const &graph, Tick tick, Outdated const &outdated);

    ValueStore const &store() const { return kept; }

private:
    struct BuiltNode {
        std::unique_ptr<engine::SingleNode> node;
        bool anyTick = false;     ///< it may process any tick, whatever it did before
        std::optional<Tick> last; ///< that it processed
    };

    struct Nature {
        bool runs = true;    ///< has no effects outside
        bool source = false; ///< decides how many ticks there are
    };

    /// What is known of a source's length.
    struct Length {
        Tick until = endless;     ///< no tick from here on has a value
        std::uint64_t stated = 0; ///< by the source itself; 0 for nothing
        std::optional<Tick> seen; ///< the last tick with a value
        bool isKnown() const { return until != endless; }
    };

    static Nature natureOf(engine::GraphNode const &node);
    bool isSource(engine::GraphNode const &node) const { return natures[node.index].source; }
    void evaluateNode(engine::GraphNode const &node, Snapshot &result, Outdated const &outdated);
    void runNode(engine::GraphNode const &node, Snapshot &result, Outdated const &outdated);
    NodeResult process(engine::GraphNode const &node, Tick tick, engine::PortValues inputs);
    engine::PortValues inputsOf(engine::GraphNode const &node, Snapshot const &snapshot) const;
    BuiltNode &nodeFor(engine::GraphNode const &node, Tick tick);
    std::unique_ptr<engine::SingleNode> build(engine::GraphNode const &node, std::set<std::string> outputs) const;
    void adopt(engine::GraphNode const &node, NodeResult const &result, Snapshot &snapshot);
    void leaveOut(engine::GraphNode const &node, Snapshot &snapshot, std::string const &why) const;
    void findEnd(engine::GraphNode const &node, Length &length, Tick ended, Outdated const &outdated);
    void countTicks(Snapshot &snapshot) const;

    std::shared_ptr<engine::Graph const> graph;
    std::vector<Nature> natures;              ///< by node
    std::vector<std::uint64_t> numbers;       ///< likewise
    std::map<std::uint64_t, BuiltNode> built; ///< by the node's number
    std::map<std::uint64_t, Length> lengths;  ///< likewise, of sources
    NodeKeys keys;
    ValueStore kept;
};

} // namespace zun::studio
