// Where a run stands.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "run/Observer.h"

namespace zun::engine {

/// Counts while the run goes on; may be read from another thread.
class Progress final : public Observer {
public:
    std::atomic<Tick> ticksDone = 0;  ///< ticks that every node has processed
    std::atomic<Tick> ticksTotal = 0; ///< 0 while it is not known
    std::atomic<std::uint64_t> bytesInFlight = 0;
    std::atomic<std::uint64_t> bytesPeak = 0;

    void runBegins(Graph const &, unsigned, Tick, Tick total) override { ticksTotal = total; }
    void advanced(Tick done, std::uint64_t bytes) override {
        ticksDone.store(done, std::memory_order_relaxed);
        bytesInFlight.store(bytes, std::memory_order_relaxed);
        bytesPeak.store(std::max(bytesPeak.load(std::memory_order_relaxed), bytes), std::memory_order_relaxed);
    }
};

} // namespace zun::engine
