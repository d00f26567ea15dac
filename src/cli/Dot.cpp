#include "cli/Dot.h"

#include <sstream>

namespace zun::cli {
namespace {

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

/// A label of two lines.
std::string label(std::string const &first, std::string const &second) {
    return "\"" + escaped(first) + "\\n" + escaped(second) + "\"";
}

std::string ends(std::string const &tail, std::string const &head) {
    return ", taillabel=" + dotQuoted(tail) + (head.empty() ? "" : ", headlabel=" + dotQuoted(head));
}

/// A text that no node's name begins with.
std::string freePrefix(engine::Graph const &graph) {
    std::string prefix = "unread ";
    for (engine::GraphNode const &node : graph.nodes)
        if (node.description->name.starts_with(prefix)) prefix = node.description->name + ' ';
    return prefix;
}

} // namespace

std::string dotQuoted(std::string const &text) { return "\"" + escaped(text) + "\""; }

std::string dotGraph(engine::Graph const &graph) {
    std::ostringstream dot;
    dot << "digraph pipeline {\n"
           "    rankdir=LR;\n"
           "    node [shape=box, style=rounded, fontname=\"sans-serif\"];\n"
           "    edge [fontname=\"sans-serif\", fontsize=10, labelfontsize=8];\n";
    auto const name = [&](std::size_t node) { return dotQuoted(graph.nodes[node].description->name); };
    for (engine::GraphNode const &node : graph.nodes)
        dot << "    " << name(node.index) << " [label=" << label(node.description->name, node.description->type)
            << "];\n";
    for (engine::GraphNode const &node : graph.nodes)
        for (engine::GraphPort const &input : node.inputs) {
            engine::GraphStream const &stream = graph.streams[input.stream];
            if (stream.implied) continue;
            engine::GraphPort const &output = graph.output(stream.writers.front());
            dot << "    " << name(stream.producer()) << " -> " << name(node.index)
                << " [label=" << label(stream.name, output.type) << ends(output.name, input.name) << "];\n";
        }
    std::string const prefix = freePrefix(graph);
    std::size_t count = 0;
    for (engine::GraphStream const &stream : graph.streams) {
        if (stream.isRead()) continue;
        engine::GraphPort const &output = graph.output(stream.writers.front());
        std::string const end = dotQuoted(prefix + std::to_string(count++));
        dot << "    " << end << " [shape=point];\n    " << name(stream.producer()) << " -> " << end
            << " [style=dashed, label=" << label(stream.name, output.type) << ends(output.name, "") << "];\n";
    }
    dot << "}\n";
    return dot.str();
}

} // namespace zun::cli
