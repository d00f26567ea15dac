// How a host steers a run that goes on.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "pipeline/Tick.h"
#include "pipeline/config/OptionNode.h"

namespace zun::engine {

/// A new value for an option of a node, from a tick on. The node takes it when none of its ticks is running.
struct OptionChange {
    Tick from = 0;
    std::string node; ///< its name
    std::string option;
    OptionNode value;
};

/// One for each run. All operations are thread-safe.
class RunControl {
public:
    /// Set by the host to end the run early: ticks that began are completed.
    std::atomic<bool> stop = false;

    /// A change that was given during the run, and what became of it.
    struct Answer {
        OptionChange change; ///< `from` is the tick from which on it holds
        std::string refusal; ///< why it was not made; empty if it was
    };

    /// Changes options together, all from the first tick on that no node has begun. Their `from` is not used.
    void change(std::vector<OptionChange> changes) {
        std::lock_guard const lock(mutex);
        for (OptionChange &one : changes) given.push_back(std::move(one));
        waiting = !given.empty();
    }

    /// The answers since the last call. A change that the run had no tick left for has none.
    std::vector<Answer> answers() {
        std::lock_guard const lock(mutex);
        return std::exchange(answered, {});
    }

    // For the run.

    bool hasChanges() const { return waiting.load(std::memory_order_relaxed); }

    /// Hands each change to `make`, which returns the answer.
    template <class Make>
    void makeChanges(Make const &make) {
        std::lock_guard const lock(mutex);
        for (OptionChange &one : given) answered.push_back(make(std::move(one)));
        given.clear();
        waiting = false;
    }

private:
    std::mutex mutex;
    std::atomic<bool> waiting = false; ///< `given` holds something
    std::vector<OptionChange> given;
    std::vector<Answer> answered;
};

} // namespace zun::engine
