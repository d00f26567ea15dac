#include "cli/Dot.h"

#include <map>
#include <sstream>

#include "containers/Exception.h"
#include "engine/PortTypes.h"
#include "pipeline/NodeRegistry.h"

namespace zun::cli {
namespace {

using engine::Description;
using engine::NodeDescription;
using engine::NodeFactsTable;
using engine::PortBinding;

struct Source {
    NodeDescription const *node;
    PortBinding const *port;
    bool read = false;
};

std::string escaped(std::string const &text) {
    std::string result;
    for (char const c : text) {
        if (c == '"' || c == '\\') result += '\\';
        if (c == '\n')
            result += "\\n";
        else
            result += c;
    }
    return result;
}

/// Two lines, the second one smaller in meaning.
std::string label(std::string const &first, std::string const &second) {
    return "\"" + escaped(first) + "\\n" + escaped(second) + "\"";
}

/// The type of an output: as the type declares it, or as the option that holds it says.
std::string outputType(NodeDescription const &node, std::string const &port, NodeFactsTable const &facts) {
    auto const known = facts.find(node.type);
    if (known != facts.end()) {
        auto const option = known->second.typeFromOption.find(port);
        if (option != known->second.typeFromOption.end())
            for (engine::OptionSetting const &setting : node.options)
                if (setting.name == option->second) return convertOption<std::string>(setting.value);
    }
    NodeRegistry::Entry const *const type = NodeRegistry::find(node.type);
    if (type == nullptr) return "any";
    auto const output = type->specification.outputs.find(port);
    if (output == type->specification.outputs.end()) return "any";
    return engine::resolveTemplates(output->second.type, type->specification, node.type);
}

std::string ends(std::string const &tail, std::string const &head) {
    return ", taillabel=" + dotQuoted(tail) + (head.empty() ? "" : ", headlabel=" + dotQuoted(head));
}

/// A text that no node's name begins with.
std::string freePrefix(Description const &description) {
    std::string prefix = "unread ";
    for (NodeDescription const &node : description.nodes)
        if (node.name.starts_with(prefix)) prefix = node.name + ' ';
    return prefix;
}

} // namespace

std::string dotQuoted(std::string const &text) { return "\"" + escaped(text) + "\""; }

std::string dotGraph(Description const &description, NodeFactsTable const &facts) {
    std::ostringstream dot;
    dot << "digraph pipeline {\n"
           "    rankdir=LR;\n"
           "    node [shape=box, style=rounded, fontname=\"sans-serif\"];\n"
           "    edge [fontname=\"sans-serif\", fontsize=10, labelfontsize=8];\n";
    std::map<std::string, Source> sources;
    for (NodeDescription const &node : description.nodes) {
        dot << "    " << dotQuoted(node.name) << " [label=" << label(node.name, node.type) << "];\n";
        for (PortBinding const &output : node.outputs)
            if (output.stream != noStream) sources[output.stream] = {&node, &output};
    }
    for (NodeDescription const &node : description.nodes)
        for (PortBinding const &input : node.inputs) {
            auto const source = sources.find(input.stream);
            if (source == sources.end()) continue;
            auto &[from, output, read] = source->second;
            read = true;
            dot << "    " << dotQuoted(from->name) << " -> " << dotQuoted(node.name)
                << " [label=" << label(input.stream, outputType(*from, output->port, facts))
                << ends(output->port, input.port) << "];\n";
        }
    std::string const prefix = freePrefix(description);
    std::size_t count = 0;
    for (auto const &[stream, source] : sources) {
        if (source.read) continue;
        std::string const end = dotQuoted(prefix + std::to_string(count++));
        dot << "    " << end << " [shape=point];\n    " << dotQuoted(source.node->name) << " -> " << end
            << " [style=dashed, label=" << label(stream, outputType(*source.node, source.port->port, facts))
            << ends(source.port->port, "") << "];\n";
    }
    dot << "}\n";
    return dot.str();
}

} // namespace zun::cli
