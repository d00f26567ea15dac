#include "observers/Statistics.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace zun::observers {
namespace {

constexpr auto relaxed = std::memory_order_relaxed;

std::uint64_t nanosecondsOf(std::chrono::steady_clock::duration duration) {
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(duration).count());
}

double secondsOf(std::uint64_t nanoseconds) { return static_cast<double>(nanoseconds) / 1e9; }

} // namespace

/// The three bits after the highest one say which eighth of its power of two a number is in.
std::size_t Statistics::bucketOf(std::uint64_t nanoseconds) {
    constexpr int eighthBits = std::countr_zero(bucketsPerOctave);
    auto const octave = static_cast<int>(std::bit_width(nanoseconds | bucketsPerOctave)) - 1;
    auto const eighth = static_cast<std::size_t>(nanoseconds >> (octave - eighthBits)) % bucketsPerOctave;
    auto const bucket = static_cast<std::size_t>(octave - eighthBits) * bucketsPerOctave + eighth;
    return std::min(bucket, bucketsPerOctave * octaves - 1);
}

/// The longest duration of a bucket.
double Statistics::millisecondsOf(std::size_t bucket) {
    auto const octave = static_cast<int>(bucket / bucketsPerOctave);
    auto const eighths = static_cast<double>(bucketsPerOctave + bucket % bucketsPerOctave + 1);
    return std::ldexp(eighths, octave) / 1e6;
}

double Statistics::percentile95(NodeTimes const &times) {
    std::uint64_t const wanted = (95 * times.ticks.load(relaxed) + 99) / 100;
    std::uint64_t seen = 0;
    for (std::size_t i = 0; i < times.buckets.size(); i++) {
        seen += times.buckets[i].load(relaxed);
        if (seen >= wanted && seen > 0) return millisecondsOf(i);
    }
    return 0;
}

void Statistics::runBegins(engine::Graph const &runGraph, unsigned workerCount, Tick, Tick) {
    graph = &runGraph;
    complete = false;
    statistics = {};
    statistics.workers = single ? 1 : workerCount;
    workers.assign(workerCount, {});
    nodes.clear();
    nodes.resize(graph->nodes.size());
    streams.assign(graph->streams.size(), {});
    held.assign(graph->streams.size(), 0);
    valuesHeld = 0;
    start = Clock::now();
    for (NodeTimes &node : nodes) node.waitsSince = start;
}

void Statistics::tickBegins(unsigned worker, std::size_t node, Tick) {
    if (nodes[node].running.fetch_add(1, relaxed) > 0) nodes[node].overlapped.store(true, relaxed);
    workers[worker].begin = Clock::now();
}

void Statistics::tickEnds(unsigned worker, std::size_t node, Tick, bool) {
    std::uint64_t const took = nanosecondsOf(Clock::now() - workers[worker].begin);
    NodeTimes &times = nodes[node];
    times.running.fetch_sub(1, relaxed);
    times.ticks.fetch_add(1, relaxed);
    times.nanoseconds.fetch_add(took, relaxed);
    times.buckets[bucketOf(took)].fetch_add(1, relaxed);
}

void Statistics::valueWritten(unsigned, std::size_t stream, Tick, Variant const &value, ValueType const *type) {
    if (type != nullptr) nodes[graph->streams[stream].producer()].bytes.fetch_add(type->bytes(value), relaxed);
}

void Statistics::advanced(Tick, std::uint64_t bytes) { statistics.peakBytes = std::max(statistics.peakBytes, bytes); }

void Statistics::streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) {
    streams[stream].peakValues = std::max<std::uint64_t>(streams[stream].peakValues, values);
    streams[stream].peakBytes = std::max(streams[stream].peakBytes, bytes);
    if (graph->streams[stream].implied) return;
    valuesHeld = valuesHeld - std::exchange(held[stream], values) + values;
    statistics.peakValues = std::max(statistics.peakValues, valuesHeld);
}

void Statistics::nodeWaits(std::size_t node, Tick, engine::Wait reason) {
    Clock::time_point const now = Clock::now();
    NodeTimes &times = nodes[node];
    times.waited[static_cast<std::size_t>(std::exchange(times.wait, reason))] += nanosecondsOf(now - times.waitsSince);
    times.waitsSince = now;
}

NodeStatistics Statistics::summary(engine::GraphNode const &node, Clock::time_point now) {
    NodeTimes &times = nodes[node.index];
    times.waited[static_cast<std::size_t>(times.wait)] += nanosecondsOf(now - times.waitsSince);
    NodeStatistics one;
    one.name = node.description->name;
    one.type = node.description->type;
    one.isSource = node.reads.empty();
    one.overlapped = times.overlapped.load(relaxed);
    one.ticks = times.ticks.load(relaxed);
    one.busySeconds = secondsOf(times.nanoseconds.load(relaxed));
    one.meanMilliseconds = one.ticks == 0 ? 0 : 1e3 * one.busySeconds / static_cast<double>(one.ticks);
    one.p95Milliseconds = percentile95(times);
    one.bytesWritten = times.bytes.load(relaxed);
    for (std::size_t i = 0; i < engine::waitKinds; i++) one.waitSeconds[i] = secondsOf(times.waited[i]);
    one.waitSeconds[static_cast<std::size_t>(engine::Wait::Nothing)] = 0; // is no wait
    return one;
}

void Statistics::runEnded(Tick ticks) {
    Clock::time_point const now = Clock::now();
    statistics.ticks = ticks;
    statistics.seconds = std::chrono::duration<double>(now - start).count();
    for (engine::GraphNode const &node : graph->nodes) {
        statistics.nodes.push_back(summary(node, now));
        statistics.busySeconds += statistics.nodes.back().busySeconds;
    }
    for (NodeStatistics &node : statistics.nodes)
        node.share = statistics.busySeconds > 0 ? node.busySeconds / statistics.busySeconds : 0;
    statistics.idleSeconds = std::max(0.0, statistics.seconds * statistics.workers - statistics.busySeconds);
    for (std::size_t i = 0; i < streams.size(); i++) {
        engine::GraphStream const &stream = graph->streams[i];
        if (stream.implied || !stream.isRead()) continue;
        streams[i].name = stream.name;
        statistics.streams.push_back(streams[i]);
    }
    statistics.bound = boundOf(statistics);
    complete = true;
}

} // namespace zun::observers
