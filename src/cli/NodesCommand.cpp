// zun nodes: lists the node types, or tells all about one, from their specifications.

#include <algorithm>
#include <iostream>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "cli/Program.h"
#include "cli/Terminal.h"
#include "cli/Text.h"
#include "engine/PortTypes.h"
#include "engine/SingleNode.h"
#include "pipeline/NodeRegistry.h"

namespace zun::cli {
namespace {

using Json = nlohmann::ordered_json;
using Entry = NodeRegistry::Entry;
using Texts = std::map<std::string, std::string>;

std::string textFor(Texts const &texts, std::string const &name) {
    auto const found = texts.find(name);
    return found == texts.end() ? "" : found->second;
}

Json describe(CommonMeta const &meta, Texts const &texts) {
    Json json{{"name", meta.name}, {"type", meta.type}, {"optional", meta.optional}};
    json["default"] = meta.optional ? Json(meta.defaultValue) : Json(nullptr);
    json["about"] = textFor(texts, meta.name);
    return json;
}

Json describe(Entry const &entry) {
    NodeSpecification const &specification = entry.specification;
    NodeDocumentation const &about = entry.documentation;
    Json inputs = Json::array(), outputs = Json::array(), options = Json::array(), templates = Json::array();
    for (auto const &[name, input] : specification.inputs)
        if (!input.internal) inputs.push_back(describe(input, about.inputs));
    for (auto const &[name, output] : specification.outputs) {
        if (output.internal) continue;
        outputs.push_back(describe(output, about.outputs));
        outputs.back()["limit"] = output.limit;
    }
    for (auto const &[name, option] : specification.options) options.push_back(describe(option, about.options));
    for (NodeSpecification::Template const &parameter : specification.templates)
        templates.push_back(
            {{"kind", parameter.kind}, {"parameter", parameter.parameter}, {"choices", parameter.choices}});
    return {{"type", entry.type},
            {"summary", about.summary},
            {"inputs", inputs},
            {"outputs", outputs},
            {"options", options},
            {"templates", templates},
            {"parallel", specification.parallelCode == 1},
            {"library", entry.library}};
}

/// Rows of cells, each column as wide as its widest cell.
void printTable(std::string const &title, std::vector<std::vector<std::string>> const &rows) {
    if (rows.empty()) return;
    std::cout << title;
    std::vector<std::size_t> widths;
    for (auto const &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); i++) widths[i] = std::max(widths[i], row[i].size());
    }
    for (auto const &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); i++) {
            line += "  " + row[i];
            if (i + 1 < row.size()) line.append(widths[i] - row[i].size(), ' ');
        }
        std::cout << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

std::string presence(CommonMeta const &meta) { return meta.optional ? "optional" : "required"; }

/// "{image: ..., points: ...}"; what may be left out only if `all` is true.
template <class Metas>
std::string flowMapping(Metas const &metas, bool all) {
    std::string text;
    for (auto const &[name, meta] : metas)
        if (all || !meta.optional) text += (text.empty() ? "" : ", ") + name + ": ...";
    return "{" + text + "}";
}

void printUse(Entry const &entry) {
    NodeSpecification const &specification = entry.specification;
    std::cout << "\nin a description\n  - type: " << entry.type << '\n';
    if (!specification.inputs.empty()) std::cout << "    inputs: " << flowMapping(specification.inputs, false) << '\n';
    if (!specification.outputs.empty())
        std::cout << "    outputs: " << flowMapping(specification.outputs, true) << '\n';
    if (specification.options.empty()) return;
    std::string options;
    for (auto const &[name, option] : specification.options)
        options +=
            (options.empty() ? "" : ", ") + name + ": " + (option.optional ? yamlScalar(option.defaultValue) : "...");
    std::cout << "    options: {" << options << "}\n";
}

void printEntry(Entry const &entry) {
    NodeSpecification const &specification = entry.specification;
    NodeDocumentation const &about = entry.documentation;
    auto const type = [&](CommonMeta const &meta) {
        return engine::resolveTemplates(meta.type, specification, entry.type);
    };
    std::vector<std::vector<std::string>> inputs, outputs, options;
    for (auto const &[name, input] : specification.inputs)
        if (!input.internal) inputs.push_back({name, type(input), presence(input), textFor(about.inputs, name)});
    for (auto const &[name, output] : specification.outputs)
        if (!output.internal)
            outputs.push_back(
                {name, type(output), "limit " + std::to_string(output.limit), textFor(about.outputs, name)});
    for (auto const &[name, option] : specification.options) {
        std::string const fallback = option.optional ? "default " + yamlScalar(option.defaultValue) : "required";
        options.push_back({name, option.type, fallback, textFor(about.options, name)});
    }
    std::cout << entry.type << ": " << about.summary << '\n';
    printTable("\ninputs\n", inputs);
    printTable("\noutputs\n", outputs);
    printTable("\noptions\n", options);
    printUse(entry);
}

void printList(bool json) {
    std::vector<Entry const *> const entries = NodeRegistry::entries();
    if (json) {
        Json list = Json::array();
        for (Entry const *entry : entries) list.push_back(describe(*entry));
        std::cout << list.dump(2) << '\n';
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (Entry const *entry : entries) rows.push_back({entry->type, entry->documentation.summary});
    printTable("", rows);
}

int reportUnknown(std::string const &type) {
    printError(engine::unknownType(type) + " (zun nodes lists them all)");
    return failed;
}

struct NodesArguments {
    std::string type;
    bool json = false;
    std::vector<std::string> plugins;
};

int showNodes(NodesArguments const &arguments) {
    loadNodeTypes(arguments.plugins);
    if (arguments.type.empty()) {
        printList(arguments.json);
        return fine;
    }
    Entry const *const entry = NodeRegistry::find(arguments.type);
    if (entry == nullptr) return reportUnknown(arguments.type);
    if (arguments.json)
        std::cout << describe(*entry).dump(2) << '\n';
    else
        printEntry(*entry);
    return fine;
}

} // namespace

void addNodesCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("nodes", "List the node types, or tell all about one");
    auto const arguments = std::make_shared<NodesArguments>();
    command->add_option("TYPE", arguments->type, "The type to tell about: its streams, options and defaults")
        ->type_name("");
    command->add_flag("--json", arguments->json, "Print JSON");
    addPluginOption(*command, arguments->plugins);
    command->footer("Exit status: 0 when it went well, 1 for a type that is not known, 2 for wrong usage.\n\n"
                    "Examples:\n"
                    "  zun nodes\n"
                    "  zun nodes DrawPoints\n"
                    "  zun nodes 'Crop<Vec3b>' --json");
    command->callback([arguments, &chosen] { chosen = [arguments] { return showNodes(*arguments); }; });
}

} // namespace zun::cli
