// Everything that a run did and when, as a file that trace viewers show.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "media/files/AtomicFile.h"
#include "observers/ObserverList.h"
#include "run/Observer.h"

namespace zun::observers {

/// Records a run, and writes it in the Chrome trace format when it ends, also by a failure: a row of slices for each
/// worker, one for each node and tick; what waits on each stream and on all together as counters; option changes and
/// the failure as instants. Past `mostEvents` the oldest are dropped, a thousand or so at a time, with a warning.
class Trace final : public engine::Observer {
public:
    static constexpr std::size_t usualEvents = 4'000'000;

    /// Throws zun::Exception where the file can't be made.
    Trace(std::string const &path, ObserverList::Warn warn, std::size_t mostEvents = usualEvents);

    void runBegins(engine::Graph const &graph, unsigned workers, Tick first, Tick total) override;
    /// Writes the file. Throws zun::Exception where that fails.
    void runEnded(Tick ticks) override;
    void runFailed(engine::GraphNode const *node, Tick tick, std::string const &message) override;
    void optionChanges(unsigned worker, std::size_t node, Tick tick, std::string const &option,
                       std::string const &value) override;
    void tickBegins(unsigned worker, std::size_t node, Tick tick) override;
    void tickEnds(unsigned worker, std::size_t node, Tick tick, bool failed) override;
    void advanced(Tick ticksDone, std::uint64_t bytesInFlight) override;
    void streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) override;

private:
    using Clock = std::chrono::steady_clock;

    struct Event {
        enum class Kind : std::uint16_t { Slice, FailedSlice, Stream, Total } kind = Kind::Slice;
        std::uint16_t worker = 0;
        std::uint32_t index = 0;  ///< of a node or a stream
        std::int64_t begin = 0;   ///< nanoseconds since the run began
        std::uint64_t first = 0;  ///< of a slice its duration in nanoseconds, else values
        std::uint64_t second = 0; ///< of a slice its tick, else bytes
    };

    /// What one worker, or the scheduler, fills before it takes the next; in order of time.
    struct Block {
        static constexpr std::size_t capacity = 1024;
        std::array<Event, capacity> events;
        std::size_t size = 0;
    };

    struct alignas(64) Lane {
        std::unique_ptr<Block> block;
        std::int64_t begin = 0; ///< of the tick that runs
    };

    struct Instant {
        unsigned worker;
        std::int64_t at;
        std::string name; ///< JSON
        std::string arguments;
    };

    class Writer;

    std::int64_t now() const;
    void record(Lane &lane, Event const &event);
    void putAway(Lane &lane);
    void note(unsigned worker, std::string const &name, std::string const &arguments);

    ObserverList::Warn const warning;
    std::size_t const mostBlocks;
    media::AtomicFile file;
    engine::Graph const *graph = nullptr;
    Clock::time_point start;
    std::vector<Lane> lanes;       ///< one for each worker, and one for what the scheduler tells
    std::vector<std::size_t> held; ///< values, by stream
    std::uint64_t valuesHeld = 0;

    std::mutex mutex; ///< of all below
    std::deque<std::unique_ptr<Block>> full;
    std::uint64_t dropped = 0;
    std::vector<Instant> instants;
};

} // namespace zun::observers
