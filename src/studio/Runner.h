// A run of a whole description, with its nodes' effects, while somebody watches.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "graph/Graph.h"
#include "pipeline/Tick.h"
#include "run/Control.h"

namespace zun::studio {

struct RunState {
    struct Node {
        std::string name;
        double share = 0; ///< of the time that all nodes took
        double mean = 0;  ///< milliseconds a tick
    };

    char const *state = "idle"; ///< "idle", "running", "done", "failed" or "stopped"
    Tick done = 0;              ///< ticks
    std::optional<Tick> total;
    double seconds = 0;
    std::string message;     ///< why it failed, or what bounded its speed
    std::vector<Node> nodes; ///< in the order of the description; after the run
};

/// One run at a time. Thread-safe.
class Runner {
public:
    /// `onEnd` is called on the run's thread, without a lock.
    explicit Runner(std::function<void()> onEnd);
    ~Runner(); ///< stops a run and waits for its end
    Runner(Runner const &) = delete;
    Runner &operator=(Runner const &) = delete;

    /// Begins to run a graph that passed its check; false where a run goes on.
    bool start(std::shared_ptr<engine::Graph const> graph);

    /// The ticks that began are completed.
    void stop();

    RunState state() const;
    bool running() const;

private:
    struct Watch;

    void run(engine::Graph const &graph, engine::RunControl &control, Watch &watch);

    std::function<void()> const ended;
    mutable std::mutex mutex;
    RunState last; ///< while one runs, its `state` alone
    std::shared_ptr<engine::RunControl> control;
    std::shared_ptr<Watch> watch;
    std::chrono::steady_clock::time_point begun;
    std::jthread thread;
};

} // namespace zun::studio
