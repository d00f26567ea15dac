#include "cli/StatisticsTable.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "cli/Text.h"

namespace zun::cli {
namespace {

using engine::Wait;
using Row = std::vector<std::string>;

/// The first column stands left, the others right, two spaces apart.
std::string aligned(std::vector<Row> const &rows) {
    std::vector<std::size_t> widths(rows.front().size(), 0);
    for (Row const &row : rows)
        for (std::size_t i = 0; i < row.size(); i++) widths[i] = std::max(widths[i], row[i].size());
    std::string text;
    for (Row const &row : rows) {
        for (std::size_t i = 0; i < row.size(); i++) {
            std::string const space(widths[i] - row[i].size(), ' ');
            text += i == 0 ? row[i] + space : "  " + space + row[i];
        }
        text += '\n';
    }
    return text;
}

std::string percent(double share) { return std::to_string(std::lround(100 * share)) + " %"; }

Row rowOf(observers::NodeStatistics const &node) {
    std::uint64_t const each = node.ticks == 0 ? 0 : node.bytesWritten / node.ticks;
    return {node.name + " (" + node.type + ")",
            std::to_string(node.ticks),
            readableRate(node.meanMilliseconds),
            readableRate(node.p95Milliseconds),
            percent(node.share),
            readableRate(node.waited(Wait::Input)),
            readableRate(node.waited(Wait::Space)),
            readableRate(node.waited(Wait::Bytes)),
            readableRate(node.waited(Wait::Others)),
            readableRate(node.waited(Wait::Thread)),
            readableBytes(node.bytesWritten),
            readableBytes(each)};
}

} // namespace

std::string statisticsTable(observers::RunStatistics const &run) {
    std::vector<Row> nodes{{"node", "ticks", "mean ms", "p95 ms", "busy", "input s", "space s", "bytes s", "others s",
                            "thread s", "written", "a tick"}};
    for (observers::NodeStatistics const &node : run.nodes) nodes.push_back(rowOf(node));
    std::vector<Row> streams{{"stream", "values at most", "bytes at most"}};
    for (observers::StreamStatistics const &stream : run.streams)
        streams.push_back({stream.name, std::to_string(stream.peakValues), readableBytes(stream.peakBytes)});
    std::string text = aligned(nodes);
    if (!run.streams.empty()) text += aligned(streams);
    double const all = run.seconds * run.workers;
    text += counted(run.ticks, "tick") + " in " + readableRate(run.seconds) + " s, " +
            readableRate(run.ticksPerSecond()) + " a second; " + counted(run.workers, "worker") + ", idle " +
            percent(all > 0 ? run.idleSeconds / all : 0) + " of the time";
    return run.bound.empty() ? text : text + "\n" + run.bound;
}

} // namespace zun::cli
