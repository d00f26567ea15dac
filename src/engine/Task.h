// One node's work for one tick.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/Graph.h"
#include "pipeline/PipelineState.h"
#include "pipeline/Tick.h"

namespace zun::engine {

struct Task {
    struct Input {
        std::shared_ptr<Variant> value;  ///< null where the stream has none at this tick
        ValueType const *type = nullptr; ///< of the value; null for a type that the engine doesn't know
        bool shared = false;             ///< another node has still to read it, or is reading it
    };

    GraphNode *node = nullptr;
    Tick tick = 0;
    std::vector<Input> inputs;                      ///< in the order of the node's
    std::vector<std::shared_ptr<Variant>> outputs;  ///< in the order of the node's; what process() wrote
    std::optional<std::string> failure;             ///< why process() did not succeed, for the user
    std::vector<GraphNode::Change const *> changes; ///< of the node's options, to be made before process()
    std::optional<double> nanoseconds;              ///< what process() took, where it was timed
    std::uint64_t bytesExpected = 0;                ///< what it will write, as far as the scheduler knows

    /// Readies the task for a node and a tick, and takes the option changes that are due with it; a task that has some
    /// must run alone on its node. Keeps the storage that it has.
    void begin(GraphNode &forNode, Tick atTick);

    bool wroteSomething() const;
};

/// Runs a task on this thread: its guard, unless `trust` is true, then process(). A failure is noted in the task; the
/// function itself throws nothing.
void runTask(Task &task, Graph const &graph, bool trust);

/// The streams as nodes see them: reads and writes go to the task that the calling thread runs, without a lock, and
/// the scheduler moves values between tasks. A node therefore reads and writes on the thread that called its
/// process(), at the tick that it was given.
class TaskState : public PipelineState {
public:
    std::shared_ptr<Variant> getLinearInput(PipelineNode const *node, Tick tick, std::string stream,
                                            bool mustExist) override;
    void setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) override;
    std::uint64_t getStreamBufferCount(std::string const &stream) override;

    /// The graph whose streams are counted; set once it is built, because its nodes are built with this state.
    void setGraph(Graph const *built) { graph = built; }

private:
    Graph const *graph = nullptr;
};

} // namespace zun::engine
