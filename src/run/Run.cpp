#include "run/Run.h"

#include <algorithm>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "containers/Exception.h"
#include "run/Executors.h"
#include "run/RunNodes.h"
#include "run/Task.h"
#include "vexa_core/Memory.h"

namespace zun::engine {
namespace {

/// Calls initialize() on each node, and flush() on every node on which that was called, whatever happens.
class NodeLifetimes {
public:
    NodeLifetimes(RunNodes &nodes, Tick first) : run(nodes), firstTick(first) {}
    NodeLifetimes(NodeLifetimes const &) = delete;
    NodeLifetimes &operator=(NodeLifetimes const &) = delete;
    ~NodeLifetimes() { flush(std::vector<Tick>(run.nodes.size(), firstTick)); }

    void initialise() {
        while (begun < run.order.size()) {
            RunNode &node = run.nodes[run.order[begun++]]; // also one that fails gives back what it took
            try {
                node.node->initialize();
            } catch (std::exception const &error) {
                throw RunError("node " + node.label + " could not start: " + error.what(), node.name(), firstTick);
            }
        }
    }

    /// Flushes every node, once, and returns the first failure in the order of the description.
    std::optional<Failure> flush(std::vector<Tick> const &doneBelow) {
        std::optional<Failure> failure;
        std::size_t const count = std::exchange(begun, 0);
        for (std::size_t i = 0; i < count; i++) {
            RunNode &node = run.nodes[run.order[i]];
            Tick const tick = doneBelow[node.index()];
            try {
                node.node->flush(tick);
            } catch (std::exception const &error) {
                Failure candidate{"node " + node.label + " failed to complete its work after " + std::to_string(tick) +
                                      (tick == 1 ? " tick: " : " ticks: ") + error.what(),
                                  node.name(), node.index(), 0};
                if (!failure || candidate.precedes(*failure)) failure = std::move(candidate);
            }
        }
        return failure;
    }

private:
    RunNodes &run;
    std::size_t begun = 0; ///< nodes, in the order of the run, on which initialize() was called
    Tick const firstTick;
};

/// The first tick that the shortest generator can't reach.
Tick findEnd(RunNodes &run, RunOptions const &options) {
    Tick end = options.end;
    bool bounded = end != endless;
    for (RunNode &node : run.nodes) {
        end = std::min(end, node.node->getRunUntil(options.end));
        bounded = bounded || node.generator;
    }
    if (!bounded)
        throw Exception("nothing ends this run: no node of the description is a source of frames with an end, so say "
                        "which ticks to run (--frames 0:100)");
    return end;
}

/// Tells the observer of the run's begin, failure and end.
class Report {
public:
    Report(Graph const &runGraph, RunPlan const &plan) : graph(runGraph), observer(plan.observer) {
        Tick const total = plan.end != endless && plan.end > plan.first ? plan.end - plan.first : 0;
        if (observer != nullptr) observer->runBegins(graph, plan.threads, plan.first, total);
    }

    void end(Outcome const &outcome, Tick ticks) const {
        if (observer == nullptr) return;
        if (std::optional<Failure> const &failure = outcome.failure) {
            GraphNode const *const node = failure->node.empty() ? nullptr : &graph.nodes[failure->index];
            observer->runFailed(node, failure->tick, failure->message);
        }
        observer->runEnded(ticks);
    }

private:
    Graph const &graph;
    Observer *const observer;
};

} // namespace

Tick run(Graph const &graph, RunOptions const &options, RunControl &control) {
    TaskState state;
    RunNodes nodes(graph, state);
    state.setNodes(&nodes);
    for (OptionChange const &change : options.changes) nodes.addChange(change);

    NodeLifetimes lifetimes(nodes, options.first);
    lifetimes.initialise();
    RunPlan plan;
    plan.first = options.first;
    plan.end = findEnd(nodes, options);
    plan.threads = options.threads != 0 ? options.threads : std::max(std::thread::hardware_concurrency(), 1u);
    plan.seed = options.seed;
    plan.maxBytes = options.maxBytes != 0 ? options.maxBytes : quarterOfMemory();
    plan.trust = options.trust;
    plan.observer = options.observer;

    Report const report(graph, plan);
    Outcome const outcome = makeExecutor(options.executor)->run(nodes, plan, control);
    Tick const ticks = outcome.doneBelow > plan.first ? outcome.doneBelow - plan.first : 0;
    report.end(outcome, ticks);
    std::optional<Failure> const flushFailure = lifetimes.flush(outcome.nodeDoneBelow);
    if (outcome.failure) {
        std::string const more = flushFailure ? "\n" + flushFailure->message : "";
        throw RunError(outcome.failure->message + more, outcome.failure->node, outcome.failure->tick);
    }
    if (flushFailure) throw RunError(flushFailure->message, flushFailure->node, outcome.doneBelow);
    return ticks;
}

} // namespace zun::engine
