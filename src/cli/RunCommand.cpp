// zun run: runs a pipeline.

#include <algorithm>
#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Interrupt.h"
#include "cli/Program.h"
#include "cli/ProgressDisplay.h"
#include "cli/RunObservers.h"
#include "cli/Terminal.h"
#include "cli/Text.h"
#include "cli/TickRange.h"
#include "cli/Watch.h"
#include "description/Scalars.h"
#include "description/Setting.h"
#include "run/Run.h"

namespace zun::cli {
namespace {

using Kind = engine::RunOptions::Executor;

std::map<std::string, Kind> const executors{
    {"threads", Kind::Threads}, {"sequential", Kind::Sequential}, {"shuffled", Kind::Shuffled}};

constexpr unsigned mostThreads = 1024;

struct RunArguments {
    DescriptionArguments description;
    engine::RunOptions options;
    TickRange ticks;
    std::string frames, executor = "threads";
    std::vector<std::string> changes;
    ObserverArguments observers;
    bool progress = false, verbose = false, watch = false;
};

/// Reads "tick:node.option=value". Returns what is wrong, or nothing.
std::string readChange(std::string const &text, std::vector<engine::OptionChange> &changes) {
    std::size_t const colon = text.find(':');
    std::optional<Tick> const tick =
        colon != std::string::npos ? parseTick(std::string_view(text).substr(0, colon)) : std::nullopt;
    std::optional<engine::Setting> const setting = tick ? engine::parseSetting(text.substr(colon + 1)) : std::nullopt;
    if (!setting) return "'" + text + "' is not of the form tick:node.option=value";
    try {
        changes.push_back({*tick, setting->node, setting->option, engine::parseValue(setting->value)});
    } catch (std::exception const &error) {
        return error.what();
    }
    return "";
}

/// Runs and returns the ticks that were run.
Tick runWatched(RunArguments const &arguments, engine::Graph const &graph, RunObservers &observers,
                engine::RunControl &control) {
    Interrupt const interrupt(control.stop);
    std::optional<ProgressDisplay> display;
    std::optional<Watch> watch;
    if (arguments.watch) watch.emplace(arguments.description, graph, control);
    if (arguments.progress) display.emplace(observers.progress());
    engine::RunOptions options = arguments.options;
    options.first = arguments.ticks.first;
    options.end = arguments.ticks.end;
    options.observer = &observers.all();
    return engine::run(graph, options, control);
}

int runDescription(RunArguments const &arguments) {
    // Where nothing compares types before a node runs, what the nodes log of them is all there is.
    showLog(arguments.verbose || arguments.options.trust);
    engine::Graph const graph = readAndCheck(arguments.description);
    if (!graph.passed()) return failed;

    RunObservers observers(arguments.observers, graph, arguments.options.executor != Kind::Threads);
    engine::RunControl control;
    auto const start = std::chrono::steady_clock::now();
    int status = fine;
    try {
        Tick const ticks = runWatched(arguments, graph, observers, control);
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        if (control.stop) {
            printError("stopped after " + counted(ticks, "tick") + "; what was written for them is complete");
            status = failed;
        } else if (ticks == 0) {
            printWarning("no tick was run: a source has none" +
                         (arguments.frames.empty() ? "" : " in --frames " + arguments.frames));
        }
        if (arguments.progress)
            Terminal::standardError().write(
                counted(ticks, "tick") + " done in " + readableRate(elapsed.count()) + " s, " +
                readableRate(static_cast<double>(ticks) / std::max(elapsed.count(), 1e-9)) + " a second");
    } catch (engine::RunError const &error) {
        printError(error.what());
        status = failed;
    }
    observers.report();
    return status;
}

void addRunOptions(CLI::App &command, RunArguments &arguments) {
    engine::RunOptions &options = arguments.options;
    command
        .add_option("--frames", arguments.frames,
                    "Run the ticks from A up to, but not including, B; either may be left out")
        ->type_name("A:B")
        ->check(CLI::Validator([&arguments](std::string &text) { return readTickRange(text, arguments.ticks); }, ""));
    command
        .add_option("--change", arguments.changes,
                    "Give an option of a node a new value from a tick on, as in 100:mark.colour=0x00FF00")
        ->type_name("TICK:NODE.OPTION=VALUE")
        ->allow_extra_args(false)
        ->check(CLI::Validator([&options](std::string &text) { return readChange(text, options.changes); }, ""));
    command
        .add_option("--threads", options.threads,
                    "Threads that run nodes, and that each decoder and encoder may use (default: one for each core)")
        ->type_name("N")
        ->check(CLI::Range(1u, mostThreads).description(""));
    command
        .add_option("--executor", arguments.executor,
                    "threads; or, for comparison, sequential or shuffled. All give the same results")
        ->type_name("NAME")
        ->check(CLI::IsMember(executors).description(""));
    command.add_option("--seed", options.seed, "Seed of the shuffled executor (default: 0)")->type_name("N");
    command
        .add_option("--max-memory", options.maxBytes,
                    "Bytes that may be in flight on all streams together, such as 500M or 2G (default: a quarter of "
                    "the machine's memory)")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false).description(""));
    command.add_flag(
        "--trust", options.trust,
        "Don't check values before nodes read them: wrong ones may crash the process. Also prints what nodes log");
    command.add_flag(
        "--watch", arguments.watch,
        "Take option values that change in FILE into the run; a message says from which tick on they hold");
    command.add_flag("--progress", arguments.progress, "Show ticks done, rate and time left");
    addObserverOptions(command, arguments.observers);
    command.add_flag("--verbose", arguments.verbose, "Print what nodes log: why one failed, and where in its source");
}

} // namespace

void addRunCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("run", "Run a pipeline");
    auto const arguments = std::make_shared<RunArguments>();
    addDescriptionArguments(*command, arguments->description);
    addRunOptions(*command, *arguments);
    command->footer(
        "The first Ctrl-C ends the run once the ticks that have begun are complete; the second ends it at once.\n"
        "SIGTERM and SIGHUP do the same.\n"
        "Exit status: 0 when the run completed, 1 when it failed or the description has errors, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  zun run examples/first.yaml -D out=/tmp --progress\n"
        "  zun run film.yaml --frames 100:200 --threads 4 --set mark.colour=0x00FF00\n"
        "  zun run film.yaml --plugin ./build/stars.so\n"
        "  zun run film.yaml --stats --tap edges@100 --tap boxes=/tmp/boxes.jsonl --trace /tmp/film.trace.json");
    command->callback([arguments, &chosen] {
        arguments->options.executor = executors.at(arguments->executor);
        arguments->description.threads = arguments->options.threads;
        chosen = [arguments] { return runDescription(*arguments); };
    });
}

} // namespace zun::cli
