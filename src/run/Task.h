// One node's work for one tick.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pipeline/PipelineState.h"
#include "pipeline/Tick.h"
#include "pipeline/types/ValueType.h"
#include "run/RunNodes.h"

namespace zun::engine {

struct Task {
    struct Input {
        std::shared_ptr<Variant> value;  ///< null where the stream has none at this tick
        ValueType const *type = nullptr; ///< of the value; null for a type that nobody has made known
        bool shared = false;             ///< another node has still to read it, or is reading it
    };

    RunNode *node;
    Tick tick = 0;
    std::vector<Input> inputs;                     ///< in the order of the node's reads
    std::vector<std::shared_ptr<Variant>> outputs; ///< in the order of the node's; what process() wrote
    std::optional<std::string> failure;            ///< why process() did not succeed, for the user
    RunNode::Changes changes;                      ///< of the node's options, to be made before process()
    std::optional<double> nanoseconds;             ///< what process() took, where it was timed
    std::uint64_t bytesExpected = 0;               ///< what it will write, as far as the scheduler knows

    explicit Task(RunNode &runNode);

    /// Readies the task for a tick, and takes the option changes that are due with it; a task that has some must run
    /// alone on its node.
    void begin(Tick atTick);

    bool wroteSomething() const;
};

/// Runs a task on this thread: its guard, unless `trust` is true, then process(). A failure is noted in the task; the
/// function itself throws nothing.
void runTask(Task &task, RunNodes const &run, bool trust);

/// The streams as nodes see them: reads and writes go to the task that the calling thread runs, without a lock, and
/// the scheduler moves values between tasks. A node therefore reads and writes on the thread that called its
/// process(), at the tick that it was given.
class TaskState : public PipelineState {
public:
    std::shared_ptr<Variant> getLinearInput(PipelineNode const *node, Tick tick, std::string stream,
                                            bool mustExist) override;
    void setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) override;
    std::uint64_t getStreamBufferCount(std::string const &stream) override;

    /// The nodes whose streams are counted; set once they are built, because they are built with this state.
    void setNodes(RunNodes const *built) { nodes = built; }

private:
    RunNodes const *nodes = nullptr;
};

} // namespace zun::engine
