// The program zun: runs, checks, draws and shows pipelines, describes node types, and removes what killed runs left.

#include <CLI/CLI.hpp>

#include "cli/Program.h"

int main(int argc, char **argv) {
    CLI::App program{"Runs image-processing pipelines that a YAML file describes.", "zun"};
    zun::cli::Action action;
    zun::cli::addRunCommand(program, action);
    zun::cli::addCheckCommand(program, action);
    zun::cli::addDrawCommand(program, action);
    zun::cli::addStudioCommand(program, action);
    zun::cli::addInspectCommand(program, action);
    zun::cli::addNodesCommand(program, action);
    zun::cli::addCleanCommand(program, action);
    program.require_subcommand(1);
    program.footer(
        "Each command has a --help of its own.\n"
        "ZUN_TARGET=AVX2 (or SSE4, plain, ...) in the environment selects an instruction set other than the best\n"
        "that the machine has; the results are the same.\n\n"
        "Examples:\n"
        "  zun nodes                                    the node types\n"
        "  zun check examples/first.yaml                every error and warning, at once\n"
        "  zun run examples/first.yaml -D out=/tmp\n"
        "  zun studio examples/coins.yaml --open        look at its values, and change it");
    return zun::cli::runProgram(program, argc, argv, [&] { return action(); });
}
