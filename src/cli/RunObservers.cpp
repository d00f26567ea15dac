#include "cli/RunObservers.h"

#include <algorithm>
#include <iostream>

#include <CLI/CLI.hpp>

#include "cli/StatisticsTable.h"
#include "cli/Terminal.h"
#include "cli/Text.h"
#include "containers/Exception.h"
#include "observers/Writable.h"
#include "vexa_core/MatAlloc.h"

namespace zun::cli {
namespace {

constexpr char const *asTable = "table", *asJson = "json";

/// Does what an option asks for; what goes wrong begins with the option.
template <class Action>
auto forOption(std::string const &option, Action const &action) {
    try {
        return action();
    } catch (Exception const &error) {
        throw Exception(option + ": " + error.what());
    }
}

std::string whatIsWrongWithTap(std::string const &text) {
    try {
        observers::parseTap(text);
        return "";
    } catch (Exception const &error) {
        return error.what();
    }
}

/// CLI11 gives a flag without a value as "true".
std::string whatIsWrongWithStats(std::string &text) {
    if (text == "true") text = asTable;
    if (text == asTable || text == asJson || text.ends_with(".json")) return "";
    return "'" + text + "' is neither json nor a file that ends with .json";
}

/// The node that writes the standard output, if one does.
engine::GraphNode const *writerOfOutput(engine::Graph const &graph) {
    auto const isOutput = [](engine::GraphNode const &node, engine::OptionSetting const &option) {
        NodeFacts::Option const *const fact = node.type->facts.findOption(option.name);
        return fact != nullptr && fact->sense.kind == OptionKind::Path && option.value.stringValue == "-";
    };
    for (engine::GraphNode const &node : graph.nodes)
        for (engine::OptionSetting const &option : node.description->options)
            if (node.outputs.empty() && isOutput(node, option)) return &node;
    return nullptr;
}

void requireFreeOutput(engine::Graph const &graph) {
    if (engine::GraphNode const *const writer = writerOfOutput(graph))
        throw Exception("node " + writer->label() +
                        " writes to the standard output, too: write to a file with --stats=FILE.json");
}

std::string memoryLines(engine::Progress const &progress) {
    MatAlloc::Counters const counters = MatAlloc::getGlobalMatAlloc()->counters();
    std::uint64_t const reusedPercent = counters.requests == 0 ? 0 : 100 * counters.reused / counters.requests;
    return "streams: at most " + readableBytes(progress.bytesPeak) + " in flight\n" +
           "frame storage: " + counted(counters.requests, "block") + " handed out, " + std::to_string(reusedPercent) +
           " % of them reused; at most " + readableBytes(counters.bytesPeak) + " in use, now " +
           readableBytes(counters.bytesLive) + " in use and " + readableBytes(counters.bytesIdle) + " idle";
}

} // namespace

void addObserverOptions(CLI::App &command, ObserverArguments &arguments) {
    command
        .add_option("--tap", arguments.taps,
                    "Write what is on a stream, at TICKS such as 5 or 0:100:10, to files: frames to "
                    "STREAM-{tick:05}.png, all else to STREAM.jsonl, or to PATTERN")
        ->type_name("STREAM[@TICKS][=PATTERN]")
        ->allow_extra_args(false)
        ->check(CLI::Validator([](std::string &text) { return whatIsWrongWithTap(text); }, ""));
    command
        .add_flag("--stats", arguments.stats,
                  "Print how long nodes took and waited, what bounds the run, and how much memory it used. As "
                  "--stats=json, print JSON to the standard output; as --stats=FILE.json, write it to a file")
        ->transform(CLI::Validator([](std::string &text) { return whatIsWrongWithStats(text); }, ""));
    command
        .add_option("--trace", arguments.trace, "Write what each thread did, and when, for a viewer of Chrome traces")
        ->type_name("FILE");
}

RunObservers::RunObservers(ObserverArguments const &arguments, engine::Graph const &graph, bool oneThread)
    : statsTo(arguments.stats), list(printWarning) {
    list.add(progressSeen, "the progress");
    if (!statsTo.empty()) {
        forOption("--stats", [&] {
            if (statsTo == asJson) requireFreeOutput(graph);
            if (statsTo != asTable && statsTo != asJson) statisticsFile.emplace(observers::requireWritable(statsTo));
        });
        list.add(statistics.emplace(oneThread), "the statistics");
    }
    if (!arguments.trace.empty()) {
        forOption("--trace", [&] { trace.emplace(arguments.trace, printWarning); });
        list.add(*trace, "the trace");
    }
    addTaps(arguments, graph);
}

void RunObservers::addTaps(ObserverArguments const &arguments, engine::Graph const &graph) {
    for (std::string const &text : arguments.taps) {
        taps.push_back(forOption("--tap " + text, [&] {
            return std::make_unique<observers::Tap>(observers::parseTap(text), graph, printWarning);
        }));
        list.add(*taps.back(), taps.back()->label());
    }
    forOption("--tap", [&] { observers::requireDistinctFiles(taps, graph); });
}

void RunObservers::report() {
    if (!statistics || !statistics->ended()) return;
    if (statsTo == asTable) {
        Terminal::standardError().write(statisticsTable(statistics->result()) + "\n" + memoryLines(progressSeen));
    } else if (statsTo == asJson) {
        std::cout << observers::statisticsJson(statistics->result());
    } else {
        try {
            statisticsFile->write(observers::statisticsJson(statistics->result()));
            statisticsFile->commit();
        } catch (Exception const &error) {
            printWarning(std::string("the statistics are lost: ") + error.what());
        }
    }
}

} // namespace zun::cli
