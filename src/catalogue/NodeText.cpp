#include "catalogue/NodeText.h"

#include <algorithm>
#include <cctype>

namespace zun::engine {
namespace {

using Rows = std::vector<std::vector<std::string>>;

/// A text as a description can hold it in a flow mapping: in quotes where it would mean something else without.
std::string yamlScalar(std::string const &text) {
    bool plain = !text.empty() && text != "null" && text != "~" && text != "-";
    for (char const c : text)
        plain = plain &&
                (std::isalnum(static_cast<unsigned char>(c)) != 0 || std::string("_./+-").find(c) != std::string::npos);
    if (plain) return text;
    std::string quoted = "\"";
    for (char const c : text) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + "\"";
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

std::string useText(NodeRegistry::Entry const &entry) {
    NodeSpecification const &specification = entry.specification;
    std::string text = "\nin a description\n  - type: " + entry.type + "\n";
    if (!specification.inputs.empty()) text += "    inputs: " + flowMapping(specification.inputs, false) + "\n";
    if (!specification.outputs.empty()) text += "    outputs: " + flowMapping(specification.outputs, true) + "\n";
    if (specification.options.empty()) return text;
    std::string options;
    for (auto const &[name, option] : specification.options)
        options +=
            (options.empty() ? "" : ", ") + name + ": " + (option.optional ? yamlScalar(option.defaultValue) : "...");
    return text + "    options: {" + options + "}\n";
}

/// "; 0 nearest, 1 mean": the values of an option that stand for something.
std::string senseText(NodeFacts::Option const *option) {
    if (option == nullptr) return "";
    std::string text;
    for (OptionChoice const &choice : option->sense.choices)
        text += (text.empty() ? "; " : ", ") + std::to_string(choice.value) + " " + choice.name;
    return text;
}

std::string titled(std::string const &title, Rows const &rows) {
    return rows.empty() ? "" : "\n" + title + "\n" + alignedTable(rows);
}

} // namespace

std::string textFor(std::map<std::string, std::string> const &texts, std::string const &name) {
    auto const found = texts.find(name);
    return found == texts.end() ? "" : found->second;
}

std::string alignedTable(Rows const &rows) {
    std::vector<std::size_t> widths;
    for (auto const &row : rows) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); i++) widths[i] = std::max(widths[i], row[i].size());
    }
    std::string text;
    for (auto const &row : rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); i++) {
            line += "  " + row[i];
            if (i + 1 < row.size()) line.append(widths[i] - row[i].size(), ' ');
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string nodeText(NodeRegistry::Entry const &entry) {
    NodeSpecification const &specification = entry.specification;
    NodeDocumentation const &about = entry.documentation;
    auto const type = [&](CommonMeta const &meta) { return chooseParameters(meta.type, specification, entry.type); };
    Rows inputs, outputs, options;
    for (auto const &[name, input] : specification.inputs)
        if (!input.internal) inputs.push_back({name, type(input), presence(input), textFor(about.inputs, name)});
    for (auto const &[name, output] : specification.outputs)
        if (!output.internal)
            outputs.push_back(
                {name, type(output), "limit " + std::to_string(output.limit), textFor(about.outputs, name)});
    for (auto const &[name, option] : specification.options) {
        std::string const fallback = option.optional ? "default " + yamlScalar(option.defaultValue) : "required";
        std::string const sense = senseText(entry.facts.findOption(name));
        options.push_back({name, option.type, fallback, textFor(about.options, name) + sense});
    }
    return entry.type + ": " + about.summary + "\n" + titled("inputs", inputs) + titled("outputs", outputs) +
           titled("options", options) + useText(entry);
}

} // namespace zun::engine
