// Whole nodes on one thread: reading the streams, allocating, computing and writing, in their plain and in their best
// form, beside OpenCV's nearest operation and a memcpy that moves as many bytes. All four take turns, so that they see
// the same machine; the figures are medians.
//
//   bench_nodes [--size 1920x1080] [--seconds 0.5] [--json FILE] [--cold] [--markdown] [PART OF A NODE'S NAME]

#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "NodeCases.h"
#include "Table.h"
#include "Timing.h"
#include "catalogue/Plugins.h"
#include "imgproc/kernels/Targets.h"
#include "pipeline/NodeRegistry.h"

namespace {

using namespace zun;
using Json = nlohmann::ordered_json;

std::optional<double> ratio(double a, std::optional<double> b) { return b ? std::optional(a / *b) : std::nullopt; }

/// Medians in milliseconds.
struct Times {
    double plain = 0, best = 0;
    std::optional<double> peer, copy;
};

std::set<std::string> namesOf(engine::PortValues const &values) {
    std::set<std::string> names;
    for (auto const &[name, value] : values) names.insert(name);
    return names;
}

/// What the node writes goes at once, as it does in a pipeline after its last reader.
Times measure(bench::NodeCase const &given, std::string const &best, double seconds, bench::Caches caches) {
    engine::SingleNodePlan plan{given.type, given.options, namesOf(given.inputs), given.outputs, true};
    if (plan.outputs.empty())
        for (auto const &[port, about] : NodeRegistry::find(given.type)->specification.outputs)
            plan.outputs.insert(port);
    engine::SingleNode node(plan);
    auto const runNode = [&] { node.process(given.inputs); };
    std::vector<char> const from(given.bytes, 1);
    std::vector<char> to(given.bytes, 2);
    auto const copy = [&] {
        std::memcpy(to.data(), from.data(), from.size());
        asm volatile("" : : "r"(to.data()) : "memory"); // the copy is wanted
    };

    auto const usePlain = [] { kernels::useTarget(kernels::plainTarget); };
    auto const useBest = [&] { kernels::useTarget(best); };
    std::vector<bench::Turn> turns{{runNode, usePlain}, {runNode, useBest}};
    if (given.peer) turns.push_back({given.peer->run});
    if (given.bytes > 0) turns.push_back({copy});
    std::vector<double> const medians = bench::takeTurns(turns, seconds, caches);
    Times times{medians[0], medians[1], {}, {}};
    if (given.peer) times.peer = medians[2];
    if (given.bytes > 0) times.copy = medians.back();
    return times;
}

/// All figures of a case.
struct Result {
    Result(bench::NodeCase const &of, Times const &measured)
        : given(of), times(measured), toPeer(ratio(times.best, times.peer)), toCopy(ratio(times.best, times.copy)),
          aim(given.peer ? given.peer->aim : given.aimedMilliseconds),
          missed(aim && (given.peer ? *toPeer : times.best) > *aim) {}

    bench::NodeCase const &given;
    Times times;
    std::optional<double> toPeer, toCopy;
    std::optional<double> aim; ///< for the ratio to the peer; without a peer, in milliseconds
    bool missed;

    std::vector<std::string> cells() const {
        using bench::shown;
        std::string const aimed = shown(aim) + (aim && !given.peer ? " ms" : "") + (missed ? " missed" : "");
        return {given.type,
                given.setting,
                shown(times.plain),
                shown(times.best),
                shown(times.peer),
                shown(times.copy),
                shown(toPeer),
                shown(toCopy),
                aimed,
                given.peer ? given.peer->name : ""};
    }

    Json json() const {
        Json row{{"node", given.type}, {"setting", given.setting}, {"plain_ms", times.plain}, {"best_ms", times.best}};
        if (times.peer) row.update({{"peer", given.peer->name}, {"peer_ms", *times.peer}, {"to_peer", *toPeer}});
        if (times.copy) row.update({{"memcpy_ms", *times.copy}, {"to_memcpy", *toCopy}});
        if (aim) row.update({{given.peer ? "aim_to_peer" : "aim_ms", *aim}, {"missed", missed}});
        return row;
    }
};

struct Arguments {
    std::string size = "1920x1080", json, part;
    double seconds = 0.5;
    bool cold = false, markdown = false;
};

bool writeJson(std::string const &file, Json const &report) {
    if (file.empty()) return true;
    std::ofstream out(file);
    out << report.dump(2) << '\n';
    return static_cast<bool>(out.flush());
}

int run(Arguments const &arguments, kernels::FrameSize size) {
    std::string const best = kernels::useTargetOfEnvironment();
    bench::Caches const caches = arguments.cold ? bench::Caches::cold : bench::Caches::warm;
    engine::loadPlugin("imgproc");
    bench::Table const table({{"node", -31},
                              {"setting", -25},
                              {"plain ms", 8},
                              {"best ms", 8},
                              {"peer ms", 8},
                              {"memcpy ms", 9},
                              {"/peer", 6},
                              {"/memcpy", 7},
                              {"aim", 11},
                              {"peer", -20}},
                             arguments.markdown);
    Json rows = Json::array();
    int aims = 0, missed = 0;
    for (bench::NodeCase const &given : bench::nodeCases(size)) {
        if (given.type.find(arguments.part) == std::string::npos) continue;
        Result const result(given, measure(given, best, arguments.seconds, caches));
        table.print(result.cells());
        rows.push_back(result.json());
        aims += result.aim ? 1 : 0;
        missed += result.missed ? 1 : 0;
    }
    char const *const state = arguments.cold ? "cold" : "warm";
    std::printf("\n%d of %d aims reached at %s with %s, caches %s.\n", aims - missed, aims, arguments.size.c_str(),
                best.c_str(), state);
    Json const report{{"size", arguments.size}, {"target", best}, {"caches", state}, {"rows", std::move(rows)}};
    return writeJson(arguments.json, report) ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    CLI::App program{"Times whole nodes beside OpenCV's nearest operations and memcpy, on one thread"};
    Arguments arguments;
    program.add_option("--size", arguments.size, "Columns and rows of the frames")->capture_default_str();
    program.add_option("--seconds", arguments.seconds, "How long each case is repeated")->capture_default_str();
    program.add_option("--json", arguments.json, "Write the figures to this file, too");
    program.add_flag("--cold", arguments.cold, "Empty the caches before each time that is taken");
    program.add_flag("--markdown", arguments.markdown, "Print the table as Markdown");
    program.add_option("part", arguments.part, "Only nodes with this in their names");
    CLI11_PARSE(program, argc, argv);
    try {
        if (auto const size = zun::bench::parseSize(arguments.size)) return run(arguments, *size);
        std::cerr << "bench_nodes: --size takes COLUMNSxROWS, such as 1920x1080\n";
    } catch (std::exception const &error) {
        std::cerr << "bench_nodes: " << error.what() << '\n';
    }
    return 2;
}
