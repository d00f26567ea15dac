// One node by itself, run on values that its caller hands in: no description, no scheduler.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <shared_mutex>
#include <string>

#include "containers/Exception.h"
#include "containers/Variant.h"
#include "pipeline/NodeConfig.h"
#include "pipeline/NodeRegistry.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/PipelineState.h"

namespace zun::engine {

/// A guard's refusal of a node's inputs.
class GuardRefusal : public Exception {
public:
    using Exception::Exception;
};

/// What a single node is built from.
struct SingleNodePlan {
    std::string type;
    std::map<std::string, OptionNode> options;
    std::set<std::string> inputs;  ///< the ports that are connected
    std::set<std::string> outputs; ///< likewise
    bool trust = false;            ///< run without the guard

    /// Port -> the name of its stream, which some nodes take over into what they write; else the port's own name. Two
    /// inputs may have the same stream, and then the same value.
    std::map<std::string, std::string> inputStreams = {}, outputStreams = {};
};

/// Values by port.
using PortValues = std::map<std::string, std::shared_ptr<Variant>>;

/// A node that is built and initialised. process() may be called from several threads at once, and takes as many ticks
/// at a time as the node allows; it waits for setOption() and flush() on another thread, and they for it.
class SingleNode final : private PipelineState {
public:
    /// Throws zun::Exception for a type, port or option that is not known, and whatever the node throws.
    explicit SingleNode(SingleNodePlan plan);
    ~SingleNode() override;
    SingleNode(SingleNode const &) = delete;
    SingleNode &operator=(SingleNode const &) = delete;

    /// Runs the next tick, the first being 0, and returns what the node wrote to its connected outputs. `inputs` holds
    /// a value of the port's type for each connected input. Throws GuardRefusal for a value of another type or where
    /// the guard refuses, unless nodes are trusted, and whatever the node throws.
    PortValues process(PortValues inputs);

    /// The same for a tick of the caller's choice. Ticks of a node that doesn't allow several at a time have to
    /// increase.
    PortValues process(PortValues inputs, Tick tick);

    /// Replaces an option from the next tick on, converted to the option's type.
    void setOption(std::string const &name, OptionNode const &value);

    /// The node's last call, which the destructor makes if nobody has; process() fails from then on. Throws what the
    /// node throws.
    void flush();

    /// What the node says of itself; it is not to be run but by process().
    PipelineNode &built() { return *node; }

    NodeRegistry::Entry const &type() const { return entry; }
    std::set<std::string> const &connectedInputs() const { return plan.inputs; }

private:
    struct Call;
    static thread_local Call *current;

    std::shared_ptr<Variant> getLinearInput(PipelineNode const *node, Tick tick, std::string stream,
                                            bool mustExist) override;
    void setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) override;
    std::uint64_t getStreamBufferCount(std::string const &stream) override;

    PortValues lockAndRun(PortValues inputs, std::optional<Tick> tick);
    PortValues run(PortValues inputs, std::optional<Tick> chosen);
    void checkInputs(Tick tick, PortValues const &inputs) const;

    SingleNodePlan plan;
    NodeRegistry::Entry const &entry;
    std::unique_ptr<PipelineNode> node;
    std::shared_mutex inUse; ///< shared by ticks that may overlap
    std::atomic<Tick> nextTick = 0;
    bool flushed = false;
};

} // namespace zun::engine
