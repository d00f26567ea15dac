// Shows where a run stands while it goes on.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "run/Progress.h"

namespace zun::cli {

/// Watches a run from a thread of its own, from construction to destruction: one line that is rewritten in place on a
/// terminal, a line every few seconds elsewhere.
class ProgressDisplay {
public:
    explicit ProgressDisplay(engine::Progress const &progress);
    ~ProgressDisplay();
    ProgressDisplay(ProgressDisplay const &) = delete;
    ProgressDisplay &operator=(ProgressDisplay const &) = delete;

private:
    void watch(std::stop_token const &stop);

    engine::Progress const &progress;
    std::chrono::steady_clock::time_point const start;
    std::mutex mutex;
    std::condition_variable_any ended;
    std::jthread watcher; ///< the last field, so that it stops first
};

/// Ticks done, rate, time left and bytes in flight, as one line.
std::string progressLine(Tick done, Tick total, std::uint64_t bytesInFlight, double seconds);

} // namespace zun::cli
