// Running a pipeline.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "graph/Graph.h"
#include "pipeline/Tick.h"
#include "run/Control.h"
#include "run/Observer.h"

namespace zun::engine {

struct RunOptions {
    enum class Executor {
        Sequential, ///< one tick after the other, one node after the other: the reference
        Shuffled,   ///< one thread that pretends to be several and takes what can run in random order
        Threads,
    };

    Executor executor = Executor::Threads;
    unsigned threads = 0;       ///< 0: all cores. The shuffled executor pretends to have as many
    std::uint64_t seed = 0;     ///< of the shuffled executor
    Tick first = 0;             ///< first tick
    Tick end = endless;         ///< first tick that is not run
    std::uint64_t maxBytes = 0; ///< bytes in flight on all streams together; 0: a quarter of the machine's memory
    bool trust = false;         ///< run nodes without their guards
    std::vector<OptionChange> changes = {};
    Observer *observer = nullptr; ///< sees what the run does
};

/// A node failed, or the run can't go on. The message names node, tick and stream.
class RunError : public std::runtime_error {
public:
    RunError(std::string const &message, std::string nodeName, Tick failedTick)
        : std::runtime_error(message), node(std::move(nodeName)), tick(failedTick) {}

    std::string node; ///< empty for a stall
    Tick tick;
};

/// Builds the nodes of a graph that passed its check, and runs them from the first tick until the shortest generator
/// ends. Values are the same to the bit for every executor and number of threads. Returns the number of ticks run.
///
/// Throws RunError for the lowest tick at which a node failed; every node has then processed the ticks before, been
/// flushed, and no thread is left. Throws zun::Exception if the graph has errors, a node can't be built, an option
/// change names none or can't be converted, or the run would have no end.
Tick run(Graph const &graph, RunOptions const &options, RunControl &control);

} // namespace zun::engine
