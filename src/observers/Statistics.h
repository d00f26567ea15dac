// How long each node of a run took and waited, what its streams held, and what bounded the run.
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "run/Observer.h"

namespace zun::observers {

struct NodeStatistics {
    std::string name, type;
    bool isSource = false;                               ///< it reads no stream
    bool overlapped = false;                             ///< two of its ticks ran at once
    std::uint64_t ticks = 0;                             ///< that ended, also by a failure
    double busySeconds = 0;                              ///< in guard and process(), the sum over all ticks
    double share = 0;                                    ///< of the busy time of all nodes, from 0 to 1
    double meanMilliseconds = 0;                         ///< of a tick
    double p95Milliseconds = 0;                          ///< 95 of 100 ticks take no longer, to within an eighth
    std::array<double, engine::waitKinds> waitSeconds{}; ///< by engine::Wait; while none of its ticks ran
    std::uint64_t bytesWritten = 0;                      ///< on all outputs that are connected

    double waited(engine::Wait kind) const { return waitSeconds[static_cast<std::size_t>(kind)]; }
};

struct StreamStatistics {
    std::string name;
    std::uint64_t peakValues = 0, peakBytes = 0; ///< that waited for readers
};

struct RunStatistics {
    std::uint64_t ticks = 0;
    double seconds = 0;
    unsigned workers = 0;
    double busySeconds = 0;                      ///< of all workers, in nodes
    double idleSeconds = 0;                      ///< of all workers, outside of nodes; what taps take is in it
    std::uint64_t peakValues = 0, peakBytes = 0; ///< that waited on all streams together
    std::vector<NodeStatistics> nodes;           ///< as in the description
    std::vector<StreamStatistics> streams;       ///< those of the description that somebody reads
    std::string bound;                           ///< what bounded the run, in a sentence or two; "" where nothing ran

    double ticksPerSecond() const { return seconds > 0 ? static_cast<double>(ticks) / seconds : 0; }
};

/// What bounds a run. The first of these rules that holds says it:
///  - fewer than ten ticks say nothing;
///  - the workers are busy for nine tenths of the time: the cores;
///  - a node whose ticks never overlapped is busy for eight tenths: that node, or the source;
///  - a source had no frame to give for half of the time: the source;
///  - a node waited a quarter of the time for the cap on bytes: the cap;
///  - else nothing does alone.
std::string boundOf(RunStatistics const &statistics);

/// As a JSON object, and back; docs/observing.md has its form. Reading throws zun::Exception for other texts.
std::string statisticsJson(RunStatistics const &statistics);
RunStatistics readStatistics(std::string const &json);

/// Measures a run. Its memory doesn't grow with the ticks.
class Statistics final : public engine::Observer {
public:
    /// `oneThread`: the executor runs everything on one thread, however many workers it speaks of.
    explicit Statistics(bool oneThread = false) : single(oneThread) {}

    /// What was measured; after runEnded().
    RunStatistics const &result() const { return statistics; }
    bool ended() const { return complete; }

    void runBegins(engine::Graph const &graph, unsigned workers, Tick first, Tick total) override;
    void runEnded(Tick ticks) override;
    void tickBegins(unsigned worker, std::size_t node, Tick tick) override;
    void tickEnds(unsigned worker, std::size_t node, Tick tick, bool failed) override;
    void valueWritten(unsigned worker, std::size_t stream, Tick tick, Variant const &value,
                      ValueType const *type) override;
    void advanced(Tick ticksDone, std::uint64_t bytesInFlight) override;
    void streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) override;
    void nodeWaits(std::size_t node, Tick tick, engine::Wait reason) override;

private:
    using Clock = std::chrono::steady_clock;

    /// Durations are counted by their eighth of a power of two.
    static constexpr std::size_t bucketsPerOctave = 8, octaves = 40;

    struct NodeTimes {
        std::atomic<std::uint64_t> ticks = 0, nanoseconds = 0, bytes = 0;
        std::atomic<int> running = 0;
        std::atomic<bool> overlapped = false;
        std::array<std::atomic<std::uint32_t>, bucketsPerOctave * octaves> buckets{};
        engine::Wait wait = engine::Wait::Nothing; ///< since `waitsSince`
        Clock::time_point waitsSince;
        std::array<std::uint64_t, engine::waitKinds> waited{}; ///< nanoseconds
    };

    struct alignas(64) WorkerTime {
        Clock::time_point begin;
    };

    static std::size_t bucketOf(std::uint64_t nanoseconds);
    static double millisecondsOf(std::size_t bucket);
    static double percentile95(NodeTimes const &times);
    NodeStatistics summary(engine::GraphNode const &node, Clock::time_point now);

    bool const single;
    bool complete = false;
    engine::Graph const *graph = nullptr;
    Clock::time_point start;
    std::vector<WorkerTime> workers;
    std::deque<NodeTimes> nodes;
    std::vector<StreamStatistics> streams;
    std::vector<std::uint64_t> held; ///< values, by stream
    std::uint64_t valuesHeld = 0;
    RunStatistics statistics;
};

} // namespace zun::observers
