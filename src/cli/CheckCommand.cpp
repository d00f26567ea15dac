// zun check: tells everything that is wrong with a description, and what a run of it will hold.

#include <algorithm>
#include <iomanip>
#include <iostream>

#include <CLI/CLI.hpp>

#include "cli/Program.h"
#include "cli/Terminal.h"
#include "cli/Text.h"

namespace zun::cli {
namespace {

std::string roomOf(engine::StreamEstimate const &stream) {
    std::string const count =
        stream.values == 0 ? "any number of values" : counted(std::uint64_t(stream.values), "value");
    if (!stream.bytesPerValue) return count + " of a size that shows when it runs";
    return count + " of " + std::to_string(*stream.bytesPerValue) + " bytes";
}

void printMemory(engine::CheckReport const &report) {
    std::size_t widest = 0;
    for (engine::StreamEstimate const &stream : report.streams) widest = std::max(widest, stream.stream.size());
    std::cout << "A run holds at most, waiting on its streams:\n";
    bool allKnown = true;
    for (engine::StreamEstimate const &stream : report.streams) {
        std::cout << "  " << std::left << std::setw(static_cast<int>(widest)) << stream.stream << "  " << roomOf(stream)
                  << '\n';
        allKnown = allKnown && stream.values > 0 && stream.bytesPerValue;
    }
    std::cout << "Together " << (allKnown ? "" : "for the known sizes ") << report.knownBytes << " bytes ("
              << readableBytes(report.knownBytes) << ").\n";
}

int checkDescription(DescriptionArguments const &arguments) {
    CheckedDescription const checked = readAndCheck(arguments);
    auto const &findings = checked.report.findings;
    auto const errors = std::count_if(findings.begin(), findings.end(), [](engine::Finding const &finding) {
        return finding.severity == engine::Finding::Severity::Error;
    });
    auto const warnings = static_cast<std::ptrdiff_t>(findings.size()) - errors;
    Terminal::standardError().write(arguments.file + ": " + counted(std::uint64_t(errors), "error") + ", " +
                                    counted(std::uint64_t(warnings), "warning"));
    if (errors > 0) return failed;
    if (!checked.report.streams.empty()) printMemory(checked.report);
    return fine;
}

} // namespace

void addCheckCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("check", "Tell everything that is wrong with a description");
    auto const arguments = std::make_shared<DescriptionArguments>();
    addDescriptionArguments(*command, *arguments);
    command->footer(
        "Findings go to the standard error stream, all at once: file:line:column, what is wrong, what to do.\n"
        "The memory that a run holds at most goes to the standard output.\n"
        "Exit status: 0 without errors, 1 with errors, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  zun check examples/first.yaml\n"
        "  zun check pipeline.yaml -D photo=cup.png --set cut.clamp=true");
    command->callback([arguments, &chosen] { chosen = [arguments] { return checkDescription(*arguments); }; });
}

} // namespace zun::cli
