// zun check: prints every error and warning of a description, and how much memory its streams take.

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Program.h"
#include "cli/Terminal.h"
#include "cli/Text.h"

namespace zun::cli {
namespace {

std::string contentOf(engine::GraphStream const &stream) {
    std::string const count =
        stream.isBounded() ? counted(static_cast<std::uint64_t>(stream.capacity), "value") : "any number of values";
    if (!stream.bytesPerValue) return count + ", whose size is known only during the run";
    return count + " of " + std::to_string(*stream.bytesPerValue) + " bytes";
}

void printMemory(engine::Graph const &graph) {
    std::vector<engine::GraphStream const *> holding;
    for (engine::GraphStream const &stream : graph.streams)
        if (stream.isRead() && stream.capacity > 0 && !stream.implied) holding.push_back(&stream);
    if (holding.empty()) return;
    std::size_t widest = 0;
    for (engine::GraphStream const *stream : holding) widest = std::max(widest, stream->name.size());
    std::cout << "A run holds at most, waiting on its streams:\n";
    bool allKnown = true;
    for (engine::GraphStream const *stream : holding) {
        std::cout << "  " << std::left << std::setw(static_cast<int>(widest)) << stream->name << "  "
                  << contentOf(*stream) << '\n';
        allKnown = allKnown && stream->isBounded() && stream->bytesPerValue;
    }
    std::cout << "Together " << (allKnown ? "" : "for the known sizes ") << graph.knownBytes << " bytes ("
              << readableBytes(graph.knownBytes) << ").\n";
}

int checkDescription(DescriptionArguments const &arguments) {
    engine::Graph const graph = readAndCheck(arguments);
    auto const count = [&](Diagnostic::Severity severity) {
        return static_cast<std::uint64_t>(
            std::count_if(graph.diagnostics.begin(), graph.diagnostics.end(),
                          [&](Diagnostic const &one) { return one.severity == severity; }));
    };
    Terminal::standardError().write(arguments.file + ": " + counted(count(Diagnostic::Severity::Error), "error") +
                                    ", " + counted(count(Diagnostic::Severity::Warning), "warning"));
    if (!graph.passed()) return failed;
    printMemory(graph);
    return fine;
}

} // namespace

void addCheckCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("check", "Check a description and print every error and warning");
    auto const arguments = std::make_shared<DescriptionArguments>();
    addDescriptionArguments(*command, *arguments);
    command->footer(
        "Errors and warnings go to the standard error stream: file:line:column, what is wrong, what to do.\n"
        "The most that the streams of a run hold goes to the standard output.\n"
        "Exit status: 0 without errors, 1 with errors, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  zun check examples/first.yaml\n"
        "  zun check pipeline.yaml -D photo=cup.png --set cut.clamp=true");
    command->callback([arguments, &chosen] { chosen = [arguments] { return checkDescription(*arguments); }; });
}

} // namespace zun::cli
