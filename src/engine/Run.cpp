#include "engine/Run.h"

#include <algorithm>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "containers/Exception.h"
#include "engine/Executors.h"
#include "engine/Graph.h"
#include "engine/Task.h"
#include "vexa_core/Memory.h"

namespace zun::engine {
namespace {

/// Calls initialize() on each node, and flush() on all that were initialised, whatever happens.
class NodeLifetimes {
public:
    explicit NodeLifetimes(Graph &ofGraph, Tick first) : graph(ofGraph), initialised(0), firstTick(first) {}
    NodeLifetimes(NodeLifetimes const &) = delete;
    NodeLifetimes &operator=(NodeLifetimes const &) = delete;
    ~NodeLifetimes() { flush(std::vector<Tick>(graph.nodes.size(), firstTick)); }

    void initialise() {
        for (; initialised < graph.order.size(); initialised++) {
            GraphNode &node = graph.nodes[graph.order[initialised]];
            try {
                node.node->initialize();
            } catch (std::exception const &error) {
                throw RunError("node " + node.label + " could not start: " + error.what(), node.name, firstTick);
            }
        }
    }

    /// Flushes every node that was initialised, once, and returns the first failure in the order of the description.
    std::optional<Failure> flush(std::vector<Tick> const &doneBelow) {
        std::optional<Failure> failure;
        std::size_t const count = std::exchange(initialised, 0);
        for (std::size_t i = 0; i < count; i++) {
            GraphNode &node = graph.nodes[graph.order[i]];
            Tick const tick = doneBelow[node.index];
            try {
                node.node->flush(tick);
            } catch (std::exception const &error) {
                Failure candidate{"node " + node.label + " failed at its end, behind tick " + std::to_string(tick) +
                                      ": " + error.what(),
                                  node.name, node.index, 0};
                if (!failure || candidate.precedes(*failure)) failure = std::move(candidate);
            }
        }
        return failure;
    }

private:
    Graph &graph;
    std::size_t initialised;
    Tick firstTick;
};

/// The first tick that the shortest generator can't reach.
Tick findEnd(Graph &graph, RunOptions const &options) {
    Tick end = options.end;
    bool bounded = end != endless;
    for (GraphNode &node : graph.nodes) {
        end = std::min(end, node.node->getRunUntil(options.end));
        bounded = bounded || node.generator;
    }
    if (!bounded)
        throw Exception("nothing ends this run: no node of the description is a source of frames with an end, so say "
                        "which ticks to run (--frames 0:100)");
    return end;
}

} // namespace

Tick run(Description const &description, NodeFactsTable const &facts, RunOptions const &options, Progress &progress) {
    TaskState state;
    Graph graph(description, facts, state);
    state.setGraph(&graph);
    for (OptionChange const &change : options.changes) graph.addChange(change);

    NodeLifetimes lifetimes(graph, options.first);
    lifetimes.initialise();
    RunPlan plan;
    plan.first = options.first;
    plan.end = findEnd(graph, options);
    plan.threads = options.threads != 0 ? options.threads : std::max(std::thread::hardware_concurrency(), 1u);
    plan.seed = options.seed;
    plan.maxBytes = options.maxBytes != 0 ? options.maxBytes : quarterOfMemory();
    plan.trust = options.trust;
    if (plan.end != endless && plan.end > plan.first) progress.ticksTotal = plan.end - plan.first;

    Outcome const outcome = makeExecutor(options.executor)->run(graph, plan, progress);
    std::optional<Failure> const flushFailure = lifetimes.flush(outcome.nodeDoneBelow);
    if (outcome.failure) {
        std::string const more = flushFailure ? "\n" + flushFailure->message : "";
        throw RunError(outcome.failure->message + more, outcome.failure->node, outcome.failure->tick);
    }
    if (flushFailure) throw RunError(flushFailure->message, flushFailure->node, outcome.doneBelow);
    return outcome.doneBelow > plan.first ? outcome.doneBelow - plan.first : 0;
}

} // namespace zun::engine
