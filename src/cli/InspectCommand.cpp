// zun inspect: writes the values of some ticks into a page that needs no server.

#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "cli/Program.h"
#include "cli/Terminal.h"
#include "cli/Text.h"
#include "cli/TickRange.h"
#include "studio/Layout.h"
#include "studio/Page.h"
#include "studio/Report.h"

namespace zun::cli {
namespace {

struct InspectArguments {
    DescriptionArguments description;
    TickRange ticks{0, 1};
    std::string output, ticksText;
    std::uint64_t keep = usualBytesToKeep();
};

int inspect(InspectArguments const &arguments) {
    studio::requireGraphviz();
    studio::Page const page = studio::installedPage();
    engine::Graph graph = readAndCheck(arguments.description);
    if (!graph.passed()) return failed;
    studio::ReportPlan plan;
    plan.graph = std::make_shared<engine::Graph const>(std::move(graph));
    plan.file = arguments.description.file;
    plan.first = arguments.ticks.first;
    plan.end = arguments.ticks.end;
    plan.mostBytes = arguments.keep;
    studio::ReportFacts const facts = studio::writeReport(plan, page, arguments.output);
    std::cout << arguments.output << ": " << counted(facts.ticks, "tick") << ", " << readableBytes(facts.valueBytes)
              << " of values in a file of " << readableBytes(facts.fileBytes) << "\n";
    return fine;
}

} // namespace

void addInspectCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command =
        program.add_subcommand("inspect", "Write the values of some ticks into a page for a browser");
    auto const arguments = std::make_shared<InspectArguments>();
    addDescriptionArguments(*command, arguments->description);
    command->add_option("-o,--output", arguments->output, "The page to write")->required()->type_name("FILE");
    command
        ->add_option("--ticks", arguments->ticksText,
                     "Show the ticks from A up to, but not including, B; either may be left out (default: 0:1)")
        ->type_name("A:B")
        ->check(CLI::Validator([arguments](std::string &text) { return readTickRange(text, arguments->ticks); }, ""));
    addKeepOption(*command, arguments->keep);
    command->footer(
        "The page holds the values of all streams at these ticks, and can be opened and passed on without zun. Nodes\n"
        "that write files don't run.\n"
        "Needs the program dot, of Debian's package graphviz.\n"
        "Exit status: 0 when the page is written, 1 when it isn't, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  zun inspect examples/coins.yaml -o coins.html\n"
        "  zun inspect film.yaml --ticks 100:103 -o film.html");
    command->callback([arguments, &chosen] { chosen = [arguments] { return inspect(*arguments); }; });
}

} // namespace zun::cli
