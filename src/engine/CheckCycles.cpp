// Cycles, and the order of the nodes.
#include <algorithm>

#include "engine/CheckModel.h"

namespace zun::engine {
namespace {

/// Walks along the streams, depth first and without recursion, because a pipeline may be long. A stream that leads back
/// to a node on the path closes a cycle.
class CycleFinder {
public:
    explicit CycleFinder(CheckedPipeline &checked)
        : pipeline(checked), followers(checked.nodes.size()), positions(checked.nodes.size()) {
        for (std::size_t i = 0; i < pipeline.streams.size(); i++) {
            CheckedStream const &stream = pipeline.streams[i];
            if (stream.writers.empty()) continue; // a second writer is an error of its own
            for (StreamEnd const reader : stream.readers) addEdge(stream.writers.front().node, {reader, i});
        }
    }

    void walk() {
        std::vector<State> states(pipeline.nodes.size(), State::New);
        for (std::size_t start = 0; start < pipeline.nodes.size(); start++) {
            if (states[start] != State::New) continue;
            enter(start, states);
            while (!path.empty()) {
                Step &step = path.back();
                if (step.next == followers[step.node].size()) {
                    states[step.node] = State::Done;
                    pipeline.order.push_back(step.node);
                    path.pop_back();
                    continue;
                }
                Edge const &edge = followers[step.node][step.next++];
                if (states[edge.to.node] == State::OnPath)
                    report(edge);
                else if (states[edge.to.node] == State::New)
                    enter(edge.to.node, states);
            }
        }
        std::reverse(pipeline.order.begin(), pipeline.order.end());
    }

private:
    enum class State { New, OnPath, Done };
    struct Edge {
        StreamEnd to;
        std::size_t stream;
    };
    struct Step {
        std::size_t node;
        std::size_t next = 0; ///< follower to visit
    };

    /// Two ports of one node on one stream make one edge.
    void addEdge(std::size_t from, Edge const &edge) {
        auto &edges = followers[from];
        bool const known = !edges.empty() && edges.back().to.node == edge.to.node && edges.back().stream == edge.stream;
        if (!known) edges.push_back(edge);
    }

    void enter(std::size_t node, std::vector<State> &states) {
        states[node] = State::OnPath;
        positions[node] = path.size();
        path.push_back({node});
    }

    /// The path from the node that the edge leads back to, to its end.
    void report(Edge const &closing) {
        constexpr std::size_t most = 20; // nodes that a message names
        std::string round;
        for (std::size_t i = positions[closing.to.node]; i < path.size(); i++) {
            if (i == positions[closing.to.node] + most) {
                round += "... -> ";
                break;
            }
            CheckedNode &node = pipeline.nodes[path[i].node];
            Edge const &edge = i + 1 == path.size() ? closing : followers[path[i].node][path[i].next - 1];
            round += node.label() + " -> stream " + quoted(pipeline.streams[edge.stream].name) + " -> ";
            node.failed = true;
        }
        pipeline.report.error(pipeline.input(closing.to).binding->place,
                              "the streams run in a cycle: " + round + pipeline.nodes[closing.to.node].label() +
                                  "; no node of it could ever begin, so take one stream out");
    }

    CheckedPipeline &pipeline;
    std::vector<std::vector<Edge>> followers; ///< by node
    std::vector<Step> path;
    std::vector<std::size_t> positions; ///< of the nodes on the path
};

} // namespace

void checkCycles(CheckedPipeline &pipeline) { CycleFinder(pipeline).walk(); }

} // namespace zun::engine
