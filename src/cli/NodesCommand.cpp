// zun nodes: lists the node types, all or those with a word, or prints what is known of one.

#include <cctype>
#include <iostream>
#include <map>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "catalogue/NodeText.h"
#include "catalogue/NodeTypes.h"
#include "cli/Program.h"
#include "cli/Terminal.h"
#include "pipeline/NodeRegistry.h"

namespace zun::cli {
namespace {

using Json = nlohmann::ordered_json;
using Entry = NodeRegistry::Entry;
using Texts = std::map<std::string, std::string>;

Json describe(CommonMeta const &meta, Texts const &texts) {
    Json json{{"name", meta.name}, {"type", meta.type}, {"optional", meta.optional}};
    json["default"] = meta.optional ? Json(meta.defaultValue) : Json(nullptr);
    json["about"] = engine::textFor(texts, meta.name);
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

void print(std::vector<Entry const *> const &entries, bool json) {
    if (json) {
        Json list = Json::array();
        for (Entry const *entry : entries) list.push_back(describe(*entry));
        std::cout << list.dump(2) << '\n';
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (Entry const *entry : entries) rows.push_back({entry->type, entry->documentation.summary});
    std::cout << engine::alignedTable(rows);
}

std::string lowerCase(std::string text) {
    for (char &c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

/// The types whose name or summary holds a word, in upper or lower case.
std::vector<Entry const *> typesWith(std::string const &word) {
    std::vector<Entry const *> found;
    for (Entry const *entry : NodeRegistry::entries())
        if (lowerCase(entry->type + '\n' + entry->documentation.summary).find(lowerCase(word)) != std::string::npos)
            found.push_back(entry);
    return found;
}

struct NodesArguments {
    std::string type;
    bool json = false;
    std::vector<std::string> plugins;
};

int showNodes(NodesArguments const &arguments) {
    loadNodeTypes(arguments.plugins);
    if (arguments.type.empty()) {
        print(NodeRegistry::entries(), arguments.json);
        return fine;
    }
    if (Entry const *const entry = NodeRegistry::find(arguments.type)) {
        std::cout << (arguments.json ? describe(*entry).dump(2) + '\n' : engine::nodeText(*entry));
        return fine;
    }
    std::vector<Entry const *> const found = typesWith(arguments.type);
    if (found.empty()) {
        printError(engine::unknownType(arguments.type) + " (zun nodes lists them all)");
        return failed;
    }
    print(found, arguments.json);
    return fine;
}

} // namespace

void addNodesCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command =
        program.add_subcommand("nodes", "List the node types, search them for a word, or describe one");
    auto const arguments = std::make_shared<NodesArguments>();
    command
        ->add_option("TYPE", arguments->type,
                     "The type to describe: its streams, options and defaults; or a word that names and summaries hold")
        ->type_name("");
    command->add_flag("--json", arguments->json, "Print JSON");
    addPluginOption(*command, arguments->plugins);
    command->footer("Exit status: 0 on success, 1 for an unknown type, 2 for wrong usage.\n\n"
                    "Examples:\n"
                    "  zun nodes\n"
                    "  zun nodes blur\n"
                    "  zun nodes DrawPoints\n"
                    "  zun nodes 'Crop<Vec3b>' --json");
    command->callback([arguments, &chosen] { chosen = [arguments] { return showNodes(*arguments); }; });
}

} // namespace zun::cli
