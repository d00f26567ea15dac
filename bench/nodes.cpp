// Whole nodes on one thread: reading the streams, allocating, computing and writing, beside OpenCV's nearest operation
// and a memcpy of the frame. All three take turns, so that they see the same machine; the figures are medians.
//
//   bench_nodes [--size 1920x1080] [--seconds 0.3] [--json FILE] [PART OF A NODE'S NAME]

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "NodeCases.h"
#include "engine/Plugins.h"
#include "pipeline/NodeRegistry.h"

namespace {

using namespace zun;

template <class Action>
double millisecondsOf(Action &&action) {
    auto const start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
    auto const middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

struct Times {
    double node = 0;
    std::optional<double> peer, copy;
};

std::set<std::string> namesOf(engine::PortValues const &values) {
    std::set<std::string> names;
    for (auto const &[name, value] : values) names.insert(name);
    return names;
}

Times measure(bench::NodeCase const &given, double seconds) {
    engine::SingleNodePlan plan{given.type, given.options, namesOf(given.inputs), given.outputs, {}};
    if (plan.outputs.empty())
        for (auto const &[port, about] : NodeRegistry::find(given.type)->specification.outputs)
            plan.outputs.insert(port);
    engine::SingleNode node(plan);

    std::vector<char> const from(given.bytes, 1);
    std::vector<char> to(given.bytes, 2);
    std::vector<double> nodeTimes, peerTimes, copyTimes;
    constexpr std::size_t fewest = 7;
    auto const begun = std::chrono::steady_clock::now();
    auto const spent = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count(); };
    while (nodeTimes.size() < fewest || spent() < seconds) {
        nodeTimes.push_back(millisecondsOf([&] { node.process(given.inputs); }));
        if (given.peer) peerTimes.push_back(millisecondsOf(given.peer));
        if (given.bytes > 0)
            copyTimes.push_back(millisecondsOf([&] {
                std::memcpy(to.data(), from.data(), from.size());
                asm volatile("" : : "r"(to.data()) : "memory"); // the copy is wanted
            }));
    }
    Times times{median(nodeTimes), {}, {}};
    if (!peerTimes.empty()) times.peer = median(peerTimes);
    if (!copyTimes.empty()) times.copy = median(copyTimes);
    return times;
}

std::string cell(std::optional<double> value) {
    if (!value) return "-";
    char text[32];
    std::snprintf(text, sizeof text, *value < 10 ? "%.2f" : "%.1f", *value);
    return text;
}

std::optional<double> ratio(double a, std::optional<double> b) { return b ? std::optional(a / *b) : std::nullopt; }

} // namespace

int main(int argc, char **argv) {
    CLI::App program{"Times whole nodes beside OpenCV's nearest operations and memcpy, on one thread"};
    std::string size = "1920x1080", json, part;
    double seconds = 0.3;
    program.add_option("--size", size, "Columns and rows of the frames")->capture_default_str();
    program.add_option("--seconds", seconds, "How long each case is repeated")->capture_default_str();
    program.add_option("--json", json, "Write the figures to this file, too");
    program.add_option("part", part, "Only nodes with this in their names");
    CLI11_PARSE(program, argc, argv);
    int columns = 0, rows = 0;
    if (std::sscanf(size.c_str(), "%dx%d", &columns, &rows) != 2 || columns < 1 || rows < 1) {
        std::cerr << "bench_nodes: --size takes COLUMNSxROWS, such as 1920x1080\n";
        return 2;
    }

    engine::loadPlugin("imgproc");
    nlohmann::ordered_json report = nlohmann::ordered_json::array();
    std::printf("%-33s %-20s %8s %8s %8s %7s %7s  %s\n", "node", "setting", "ms", "peer ms", "copy ms", "/peer",
                "/copy", "peer");
    for (bench::NodeCase const &given : bench::nodeCases(columns, rows)) {
        if (given.type.find(part) == std::string::npos) continue;
        Times const times = measure(given, seconds);
        auto const toPeer = ratio(times.node, times.peer), toCopy = ratio(times.node, times.copy);
        std::printf("%-33s %-20s %8s %8s %8s %7s %7s  %s\n", given.type.c_str(), given.setting.c_str(),
                    cell(times.node).c_str(), cell(times.peer).c_str(), cell(times.copy).c_str(), cell(toPeer).c_str(),
                    cell(toCopy).c_str(), given.peerName.c_str());
        std::fflush(stdout);
        report.push_back({{"node", given.type}, {"setting", given.setting}, {"size", size}, {"ms", times.node}});
        if (times.peer) report.back().update({{"peer", given.peerName}, {"peer_ms", *times.peer}});
        if (times.copy) report.back()["copy_ms"] = *times.copy;
    }
    if (json.empty()) return 0;
    std::ofstream file(json);
    file << report.dump(2) << '\n';
    return file.flush() ? 0 : 1;
}
