// zun draw: draws a description as a graph, with what the check found and, if there are any, the times of a run.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "cli/Program.h"
#include "containers/Exception.h"
#include "media/files/AtomicFile.h"
#include "observers/Drawing.h"
#include "observers/Graphviz.h"
#include "observers/Statistics.h"
#include "observers/Writable.h"

namespace zun::cli {
namespace {

namespace fs = std::filesystem;

struct DrawArguments {
    DescriptionArguments description;
    std::string output, statistics;
};

std::string whatIsWrongWithOutput(std::string const &file) {
    std::string const ending = fs::path(file).extension().string();
    for (char const *known : {".svg", ".png", ".pdf", ".dot"})
        if (ending == known) return "";
    return "'" + file + "' doesn't say what to draw: end it with .svg, .png, .pdf or .dot";
}

void writeFile(std::string const &path, std::string const &bytes) {
    media::AtomicFile file(observers::requireWritable(path));
    file.write(bytes);
    file.commit();
}

observers::RunStatistics readStatisticsFile(std::string const &path) {
    std::ifstream file(path, std::ios::binary);
    std::string const text{std::istreambuf_iterator<char>(file), {}};
    if (!file.is_open()) throw Exception("'" + path + "' can't be read");
    try {
        return observers::readStatistics(text);
    } catch (Exception const &error) {
        throw Exception("'" + path + "' " + error.what());
    }
}

void writePicture(std::string const &path, std::string const &dot) {
    std::string const format = fs::path(path).extension().string().substr(1);
    if (format == "dot") return writeFile(path, dot);
    std::string picture;
    try {
        picture = observers::graphviz(dot, format);
    } catch (Exception const &error) {
        std::string const instead = fs::path(path).replace_extension(".dot").string();
        writeFile(instead, dot);
        throw Exception(std::string(error.what()) + "; '" + instead + "' holds the graph for it");
    }
    writeFile(path, picture);
}

int draw(DrawArguments const &arguments) {
    std::optional<observers::RunStatistics> statistics;
    if (!arguments.statistics.empty()) statistics = readStatisticsFile(arguments.statistics);
    engine::Graph const graph = readAndCheck(arguments.description);
    if (graph.nodes.empty()) return failed;
    std::string const dot = observers::drawing(graph, statistics ? &*statistics : nullptr);
    if (arguments.output.empty())
        std::cout << dot;
    else
        writePicture(arguments.output, dot);
    return fine;
}

} // namespace

void addDrawCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("draw", "Draw a description as a graph");
    auto const arguments = std::make_shared<DrawArguments>();
    addDescriptionArguments(*command, arguments->description);
    command
        ->add_option("-o,--output", arguments->output,
                     "Write a picture: .svg, .png, .pdf, or .dot for the graph itself")
        ->type_name("FILE")
        ->check(CLI::Validator([](std::string &file) { return whatIsWrongWithOutput(file); }, ""));
    command
        ->add_option("--stats", arguments->statistics,
                     "Colour the nodes by their share of the time, as zun run --stats=FILE.json has measured it")
        ->type_name("FILE");
    command->footer(
        "Without -o, the graph goes to the standard output, in the language of Graphviz. A description with errors is\n"
        "drawn, too, as far as it is known: nodes with errors have a red border, those with warnings an orange one.\n"
        "Pictures are drawn by Graphviz, Debian's package graphviz.\n"
        "Exit status: 0 when the graph was drawn, 1 when it can't be, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  zun draw examples/first.yaml -o /tmp/first.svg\n"
        "  zun run examples/first.yaml -D out=/tmp --stats=/tmp/first.json\n"
        "  zun draw examples/first.yaml --stats /tmp/first.json -o /tmp/first.png");
    command->callback([arguments, &chosen] { chosen = [arguments] { return draw(*arguments); }; });
}

} // namespace zun::cli
