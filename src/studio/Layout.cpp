#include "studio/Layout.h"

#include <cmath>
#include <functional>
#include <iomanip>
#include <sstream>

#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "observers/Graphviz.h"

namespace zun::studio {
namespace {

using engine::Graph;
using nlohmann::json;

constexpr double inch = 72; // pixels; Graphviz counts in inches
constexpr double nodeWidth = 168, nodeHeight = 44, streamWidth = 132, streamHeight = 112;

/// Boxes have names of ours, "n0" and "s3", because those of the description may hold any sign.
std::string box(char kind, std::size_t index, double width, double height) {
    std::ostringstream text;
    text << kind << index << " [width=" << width / inch << ", height=" << height / inch << "];\n";
    return text.str();
}

std::string dotText(Graph const &graph, Direction direction) {
    std::ostringstream dot;
    dot << "digraph {\nrankdir=" << (direction == Direction::LeftToRight ? "LR" : "TB")
        << "; nodesep=0.35; ranksep=0.4;\nnode [shape=box, fixedsize=true, label=\"\"];\nedge [arrowhead=none];\n";
    for (engine::GraphNode const &node : graph.nodes) dot << box('n', node.index, nodeWidth, nodeHeight);
    for (std::size_t i = 0; i < graph.streams.size(); i++) {
        engine::GraphStream const &stream = graph.streams[i];
        if (stream.implied) continue;
        dot << box('s', i, streamWidth, streamHeight) << 'n' << stream.producer() << " -> s" << i << ";\n";
        for (std::size_t const reader : stream.consumers) dot << 's' << i << " -> n" << reader << ";\n";
    }
    dot << "}\n";
    return dot.str();
}

/// A number of the plain format, as pixels, to a hundredth.
double pixels(std::istream &line) {
    double inches = 0;
    line >> inches;
    return std::round(inches * inch * 100) / 100;
}

class PlainReader {
public:
    explicit PlainReader(Graph const &readGraph) : graph(readGraph) {
        layout = {{"width", 0},
                  {"height", 0},
                  {"nodes", json::object()},
                  {"streams", json::object()},
                  {"edges", json::array()}};
    }

    json read(std::string const &plain) {
        std::istringstream lines(plain);
        for (std::string text; std::getline(lines, text);) {
            std::istringstream line(text);
            std::string word;
            line >> word;
            if (word == "graph") readSize(line);
            if (word == "node") readBox(line);
            if (word == "edge") readEdge(line);
            if (!line) throw Exception("Graphviz wrote a layout that can't be read: " + text);
        }
        return std::move(layout);
    }

private:
    void readSize(std::istream &line) {
        double scale = 1;
        line >> scale;
        layout["width"] = pixels(line);
        layout["height"] = height = pixels(line);
    }

    std::string const &nameOf(std::string const &box) const {
        std::size_t const index = std::stoul(box.substr(1));
        return box[0] == 'n' ? graph.nodes.at(index).description->name : graph.streams.at(index).name;
    }

    void readBox(std::istream &line) {
        std::string name;
        line >> name;
        double const x = pixels(line), y = pixels(line), boxWidth = pixels(line), boxHeight = pixels(line);
        layout[name[0] == 'n' ? "nodes" : "streams"][nameOf(name)] = {
            {"x", x - boxWidth / 2}, {"y", height - y - boxHeight / 2}, {"width", boxWidth}, {"height", boxHeight}};
    }

    void readEdge(std::istream &line) {
        std::string from, to;
        std::size_t count = 0;
        line >> from >> to >> count;
        json points = json::array();
        for (std::size_t i = 0; i < count && line; i++) {
            double const x = pixels(line), y = pixels(line);
            points.push_back({x, height - y});
        }
        layout["edges"].push_back({{"from", nameOf(from)}, {"to", nameOf(to)}, {"points", std::move(points)}});
    }

    Graph const &graph;
    json layout;
    double height = 0;
};

} // namespace

std::string structureOf(Graph const &graph) {
    std::string text = dotText(graph, Direction::LeftToRight);
    for (engine::GraphNode const &node : graph.nodes) text += node.description->name + "\n";
    for (engine::GraphStream const &stream : graph.streams) text += stream.name + "\n";
    std::ostringstream hash;
    hash << std::hex << std::setw(16) << std::setfill('0') << std::hash<std::string>()(text);
    return hash.str();
}

std::string layoutText(Graph const &graph, Direction direction) {
    std::string const plain = observers::graphviz(dotText(graph, direction), "plain");
    return PlainReader(graph).read(plain).dump(-1, ' ', false, json::error_handler_t::replace);
}

void requireGraphviz() { observers::graphviz("digraph {}", "plain"); }

} // namespace zun::studio
