#include "observers/Drawing.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

namespace zun::observers {
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

/// A text as a quoted string of the language that shows as it is.
std::string dotQuoted(std::string const &text) { return "\"" + escaped(text) + "\""; }

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

/// Writes the graph for people.
class Painter {
public:
    Painter(engine::Graph const &drawn, RunStatistics const *statistics) : graph(drawn), run(statistics) {}

    std::string text() {
        dot << "digraph pipeline {\n"
               "    rankdir=LR;\n"
               "    fontname=\"sans-serif\";\n"
               "    node [shape=box, style=\"rounded,filled\", fillcolor=white, fontname=\"sans-serif\"];\n"
               "    edge [fontname=\"sans-serif\", fontsize=10, labelfontsize=8];\n";
        drawCaption();
        for (engine::GraphNode const &node : graph.nodes) drawNode(node);
        for (std::size_t i = 0; i < graph.streams.size(); i++)
            if (!graph.streams[i].implied) drawStream(i);
        dot << "}\n";
        return dot.str();
    }

private:
    static constexpr std::size_t longestFinding = 60, longestCaption = 160, mostCaptions = 8;
    static constexpr char const *errorColour = "#c00000", *warningColour = "#d07000";

    /// Nodes may have equal names in a description with errors, so they are told apart by their place.
    static std::string nodeId(std::size_t node) { return "n" + std::to_string(node); }

    /// How messages about a node begin.
    static std::string subject(engine::GraphNode const &node) { return "node " + node.label() + " "; }

    /// What concerns a node, or none if it is null; errors before warnings.
    std::vector<Diagnostic const *> findingsOf(engine::GraphNode const *node) const {
        std::vector<Diagnostic const *> findings;
        for (Diagnostic const &one : graph.diagnostics) {
            bool const named = one.node == (node != nullptr ? node->description->name : "");
            // Where two nodes have one name, the message shows which of them is meant.
            bool const other =
                node != nullptr && one.message.starts_with("node ") && !one.message.starts_with(subject(*node));
            if (named && !other && one.severity != Diagnostic::Severity::Note) findings.push_back(&one);
        }
        std::stable_sort(findings.begin(), findings.end(),
                         [](Diagnostic const *a, Diagnostic const *b) { return a->severity < b->severity; });
        return findings;
    }

    static char const *colourOf(Diagnostic const &finding) {
        return finding.severity == Diagnostic::Severity::Error ? errorColour : warningColour;
    }

    /// What concerns no node.
    void drawCaption() {
        auto findings = findingsOf(nullptr);
        if (findings.empty()) return;
        char const *const colour = colourOf(*findings.front());
        findings.resize(std::min(findings.size(), mostCaptions));
        dot << "    labelloc=b; labeljust=l; fontcolor=\"" << colour << "\"; label=\"";
        for (Diagnostic const *finding : findings) dot << escaped(shortened(finding->text(), longestCaption)) << "\\l";
        dot << "\";\n";
    }

    NodeStatistics const *timesOf(std::string const &node) const {
        if (run == nullptr) return nullptr;
        auto const found = std::find_if(run->nodes.begin(), run->nodes.end(),
                                        [&](NodeStatistics const &one) { return one.name == node; });
        return found != run->nodes.end() ? &*found : nullptr;
    }

    void drawNode(engine::GraphNode const &node) {
        std::string const &name = node.description->name;
        std::string label = escaped(name) + "\\n" + escaped(node.description->type);
        std::string tooltip;
        auto const findings = findingsOf(&node);
        NodeStatistics const *const times = timesOf(name);
        if (times != nullptr) label += "\\n" + timeText(*times);
        if (!findings.empty()) {
            std::string message = findings.front()->message;
            if (message.starts_with(subject(node))) message.erase(0, subject(node).size());
            label += "\\n" + escaped(shortened(message, longestFinding));
            for (Diagnostic const *finding : findings) tooltip += finding->text() + "\n";
        }
        dot << "    " << nodeId(node.index) << " [label=\"" << label << '"';
        if (times != nullptr) dot << ", fillcolor=\"" << fillOf(times->share) << '"';
        if (!findings.empty())
            dot << ", color=\"" << colourOf(*findings.front()) << "\", penwidth=2, tooltip=" << dotQuoted(tooltip);
        dot << "];\n";
    }

    static std::string timeText(NodeStatistics const &times) {
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "%.3g ms, %.0f %%", times.meanMilliseconds, 100 * times.share);
        return text.data();
    }

    /// From white for nothing to a strong orange for all of the time, as hue, saturation and value.
    static std::string fillOf(double share) {
        std::array<char, 64> text{};
        std::snprintf(text.data(), text.size(), "0.08 %.3f 1.0", std::clamp(share, 0.0, 1.0));
        return text.data();
    }

    /// An end of a stream that has no node.
    std::string loosePoint(char const *colour) {
        std::string const id = "p" + std::to_string(points++);
        dot << "    " << id << " [shape=point, color=\"" << colour << "\"];\n";
        return id;
    }

    void drawStream(std::size_t index) {
        engine::GraphStream const &stream = graph.streams[index];
        struct End {
            std::string id, port, type;
        };
        std::vector<End> from, to;
        for (engine::StreamEnd const end : stream.writers)
            from.push_back({nodeId(end.node), graph.output(end).name, graph.output(end).type});
        for (engine::StreamEnd const end : stream.readers)
            to.push_back({nodeId(end.node), graph.input(end).name, graph.input(end).type});
        bool const written = !from.empty(), read = !to.empty();
        if (!written) from.push_back({loosePoint(errorColour), "", to.empty() ? "" : to.front().type});
        if (!read) to.push_back({loosePoint("#808080"), "", ""});
        for (End const &tail : from)
            for (End const &head : to) {
                dot << "    " << tail.id << " -> " << head.id << " [label=" << label(stream.name, tail.type)
                    << ends(tail.port, head.port);
                if (!written) dot << ", color=\"" << errorColour << '"';
                dot << (read ? "];\n" : ", style=dashed];\n");
            }
    }

    engine::Graph const &graph;
    RunStatistics const *const run;
    std::ostringstream dot;
    std::size_t points = 0;
};

} // namespace

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

std::string drawing(engine::Graph const &graph, RunStatistics const *statistics) {
    return Painter(graph, statistics).text();
}

} // namespace zun::observers
