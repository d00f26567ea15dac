// Cycles, and the order of the nodes.
#include <algorithm>
#include <functional>
#include <queue>

#include "graph/GraphBuilder.h"

namespace zun::engine {
namespace {

/// Walks along the streams, depth first and without recursion, because a pipeline may be long. A stream that leads back
/// to a node on the path closes a cycle.
class CycleFinder {
public:
    struct Edge {
        StreamEnd to;
        std::size_t stream = 0;
    };

    /// One way through nodes: path[i] leads by the edge edges[i] to the next, and the last to the first.
    struct Cycle {
        std::vector<std::size_t> path;
        std::vector<Edge> edges;
    };

    explicit CycleFinder(Graph const &graph)
        : followers(graph.nodes.size()), states(graph.nodes.size()), positions(graph.nodes.size()) {
        for (std::size_t i = 0; i < graph.streams.size(); i++) {
            GraphStream const &stream = graph.streams[i];
            if (stream.writers.empty()) continue; // a second writer is an error of its own
            for (StreamEnd const reader : stream.readers) addEdge(stream.producer(), {reader, i});
        }
    }

    std::vector<Cycle> find() {
        for (std::size_t start = 0; start < followers.size(); start++) {
            if (states[start] != State::New) continue;
            enter(start);
            while (!path.empty()) walkOn();
        }
        return std::move(found);
    }

private:
    enum class State { New, OnPath, Done };
    struct Step {
        std::size_t node = 0;
        std::size_t next = 0; ///< follower to visit
    };

    /// Two ports of one node on one stream make one edge.
    void addEdge(std::size_t from, Edge const &edge) {
        auto &edges = followers[from];
        bool const known = !edges.empty() && edges.back().to.node == edge.to.node && edges.back().stream == edge.stream;
        if (!known) edges.push_back(edge);
    }

    void enter(std::size_t node) {
        states[node] = State::OnPath;
        positions[node] = path.size();
        path.push_back({node});
    }

    void walkOn() {
        Step &step = path.back();
        if (step.next == followers[step.node].size()) {
            states[step.node] = State::Done;
            path.pop_back();
            return;
        }
        std::size_t const to = followers[step.node][step.next++].to.node;
        if (states[to] == State::OnPath)
            noteCycle(positions[to]);
        else if (states[to] == State::New)
            enter(to);
    }

    void noteCycle(std::size_t begin) {
        Cycle cycle;
        for (std::size_t i = begin; i < path.size(); i++) {
            cycle.path.push_back(path[i].node);
            cycle.edges.push_back(followers[path[i].node][path[i].next - 1]);
        }
        found.push_back(std::move(cycle));
    }

    std::vector<std::vector<Edge>> followers; ///< by node
    std::vector<State> states;
    std::vector<std::size_t> positions; ///< of the nodes on the path
    std::vector<Step> path;
    std::vector<Cycle> found;
};

} // namespace

void GraphBuilder::findCycles() {
    constexpr std::size_t most = 20; // nodes that a message names
    for (auto const &[path, edges] : CycleFinder(graph).find()) {
        std::string round;
        for (std::size_t i = 0; i < path.size(); i++) {
            GraphNode &node = graph.nodes[path[i]];
            node.failed = true;
            if (i < most)
                round += "node " + node.label() + " -> stream " + quoted(graph.streams[edges[i].stream].name) + " -> ";
            else if (i == most)
                round += "... -> ";
        }
        diagnostics.error(graph.input(edges.back().to).place,
                          "the streams run in a cycle: " + round + "node " + graph.nodes[path.front()].label() +
                              "; no node of it could ever begin, so take one stream out");
    }
}

/// Of the nodes whose inputs are written, the first in the description comes next.
void GraphBuilder::sortNodes() {
    std::vector<std::size_t> unwritten(graph.nodes.size());
    std::priority_queue<std::size_t, std::vector<std::size_t>, std::greater<>> next;
    for (GraphNode const &node : graph.nodes) {
        for (StreamRead const &read : node.reads) unwritten[node.index] += !graph.streams[read.stream].writers.empty();
        if (unwritten[node.index] == 0) next.push(node.index);
    }
    while (!next.empty()) {
        GraphNode const &node = graph.nodes[next.top()];
        next.pop();
        graph.order.push_back(node.index);
        for (std::size_t i = 0; i < node.outputs.size(); i++) {
            GraphStream const &stream = graph.streams[node.outputs[i].stream];
            if (stream.producer() != node.index || stream.writers.front().port != i) continue; // written twice
            for (std::size_t const consumer : stream.consumers)
                if (--unwritten[consumer] == 0) next.push(consumer);
        }
    }
    for (auto last = graph.order.rbegin(); last != graph.order.rend(); ++last) {
        GraphNode &node = graph.nodes[*last];
        for (GraphPort const &output : node.outputs)
            for (std::size_t const consumer : graph.streams[output.stream].consumers)
                node.rank = std::max(node.rank, graph.nodes[consumer].rank + 1);
    }
    for (GraphNode &node : graph.nodes)
        if (node.inputs.empty()) node.rank = std::numeric_limits<int>::max();
}

} // namespace zun::engine
