// The program graphPipeline: checks a description and prints its graph as DOT.

#include <iostream>

#include <CLI/CLI.hpp>

#include "cli/Program.h"
#include "observers/Drawing.h"

namespace {

int printGraph(zun::cli::DescriptionArguments const &arguments) {
    zun::engine::Graph const graph = zun::cli::readAndCheck(arguments);
    if (!graph.passed()) return zun::cli::failed;
    std::cout << zun::observers::dotGraph(graph);
    return zun::cli::fine;
}

} // namespace

int main(int argc, char **argv) {
    CLI::App program{"Checks a pipeline description and prints its graph in Graphviz's language.", "graphPipeline"};
    zun::cli::DescriptionArguments arguments;
    zun::cli::addDescriptionArguments(program, arguments);
    program.footer(
        "Errors and warnings go to the standard error stream, as with zun check.\n"
        "Exit status: 0 when the graph was printed, 1 when the description has errors, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  graphPipeline examples/first.yaml > first.dot\n"
        "  graphPipeline examples/first.yaml | dot -Tsvg > first.svg");
    return zun::cli::runProgram(program, argc, argv, [&] { return printGraph(arguments); });
}
