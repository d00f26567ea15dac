// What bounds a run, said in a sentence or two.

#include <algorithm>
#include <cmath>
#include <string>

#include "observers/Statistics.h"

namespace zun::observers {
namespace {

using engine::Wait;

constexpr double busyWorkers = 0.9, busyNode = 0.8, emptySource = 0.5, cappedNode = 0.25;

constexpr std::uint64_t fewestTicks = 10;

std::string percent(double share) { return std::to_string(std::lround(100 * share)) + " %"; }

std::string labelOf(NodeStatistics const &node) { return "'" + node.name + "' (" + node.type + ")"; }

/// The node for which `measure` is greatest.
template <class Measure>
NodeStatistics const &most(RunStatistics const &run, Measure const &measure) {
    return *std::max_element(run.nodes.begin(), run.nodes.end(),
                             [&](auto const &a, auto const &b) { return measure(a) < measure(b); });
}

std::string workersAre(unsigned workers) {
    if (workers == 1) return "the one worker is";
    return (workers == 2 ? "both" : "all " + std::to_string(workers)) + " workers are";
}

std::string boundByNode(RunStatistics const &run, NodeStatistics const &node) {
    std::string const subject = node.isSource ? "The source " + labelOf(node) : labelOf(node);
    return subject + " bounds the run: its ticks follow one another and take " +
           percent(node.busySeconds / run.seconds) +
           " of the time. More threads don't help, unless it uses some itself.";
}

} // namespace

std::string boundOf(RunStatistics const &run) {
    if (run.nodes.empty() || run.busySeconds <= 0 || run.seconds <= 0) return "";
    if (run.ticks < fewestTicks) return "The run is too short to say what bounds it.";
    double const busy = run.busySeconds / (run.seconds * run.workers);
    NodeStatistics const &busiest = most(run, [](auto const &node) { return node.busySeconds; });
    if (busy >= busyWorkers)
        return "The cores bound the run: " + workersAre(run.workers) + " busy " + percent(std::min(busy, 1.0)) +
               " of the time, " + percent(busiest.share) + " of it in " + labelOf(busiest) + ".";

    NodeStatistics const &serial = most(run, [](auto const &node) { return node.overlapped ? 0 : node.busySeconds; });
    if (serial.busySeconds >= busyNode * run.seconds) return boundByNode(run, serial);

    auto const empty = [](auto const &node) { return node.isSource ? node.waited(Wait::Others) : 0; };
    if (NodeStatistics const &source = most(run, empty); empty(source) >= emptySource * run.seconds)
        return "The source " + labelOf(source) + " bounds the run: it has nothing to give " +
               percent(empty(source) / run.seconds) + " of the time.";

    auto const capped = [](auto const &node) { return node.waited(Wait::Bytes); };
    if (NodeStatistics const &node = most(run, capped); capped(node) >= cappedNode * run.seconds)
        return "The cap on bytes in flight bounds the run: " + labelOf(node) + " waits for it " +
               percent(capped(node) / run.seconds) + " of the time. A higher --max-memory may help.";

    return "Nothing bounds the run alone: the workers are busy " + percent(busy) + " of the time, and " +
           labelOf(busiest) + ", the busiest node, takes " + percent(busiest.share) +
           " of that. Where nodes wait for space, higher limits may help.";
}

} // namespace zun::observers
