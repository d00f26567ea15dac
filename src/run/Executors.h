// The three ways to run nodes. All give the same values.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "run/Run.h"
#include "run/RunNodes.h"

namespace zun::engine {

/// The settings of a run with nothing left open.
struct RunPlan {
    Tick first = 0;
    Tick end = endless; ///< first tick that is not run
    unsigned threads = 1;
    std::uint64_t seed = 0;
    std::uint64_t maxBytes = 0;
    bool trust = false;
    Observer *observer = nullptr;
};

struct Failure {
    std::string message;
    std::string node;      ///< empty for a stall
    std::size_t index = 0; ///< the node's place in the description
    Tick tick = 0;

    /// Of several failures the one at the lowest tick counts, and at one tick the one that is first in the
    /// description.
    bool precedes(Failure const &other) const { return tick != other.tick ? tick < other.tick : index < other.index; }
};

struct Outcome {
    Tick doneBelow = 0;              ///< all nodes have completed the ticks from the first to here
    std::vector<Tick> nodeDoneBelow; ///< the same for each node
    std::optional<Failure> failure;
};

class Executor {
public:
    virtual ~Executor() = default;

    /// Runs nodes that are initialised, from the plan's first tick on. Returns with no thread left.
    virtual Outcome run(RunNodes &nodes, RunPlan const &plan, RunControl &control) = 0;
};

std::unique_ptr<Executor> makeExecutor(RunOptions::Executor kind);

} // namespace zun::engine
