#include "engine/SingleNode.h"

#include <mutex>
#include <utility>
#include <vector>

#include "engine/Check.h"
#include "engine/OptionValue.h"

namespace zun::engine {
namespace {

std::string suggestion(std::string const &wrong, std::vector<std::string> const &known) {
    std::optional<std::string> const nearest = nearestName(wrong, known);
    return nearest ? "; did you mean '" + *nearest + "'?" : "";
}

NodeRegistry::Entry const &entryOf(std::string const &type) {
    NodeRegistry::Entry const *const entry = NodeRegistry::find(type);
    if (entry == nullptr) throw Exception(unknownType(type));
    return *entry;
}

template <class Ports>
void checkPorts(char const *kind, std::set<std::string> const &named, Ports const &ports, std::string const &type) {
    for (std::string const &name : named) {
        if (ports.contains(name)) continue;
        std::vector<std::string> known;
        for (auto const &[port, about] : ports) known.push_back(port);
        throw Exception("a node of type " + type + " has no " + kind + " '" + name + "'" + suggestion(name, known));
    }
}

/// A port's stream has the port's name.
std::map<std::string, std::string> streamsOf(std::set<std::string> const &ports) {
    std::map<std::string, std::string> streams;
    for (std::string const &port : ports) streams[port] = port;
    return streams;
}

} // namespace

std::string unknownType(std::string const &type) {
    std::vector<std::string> known;
    for (NodeRegistry::Entry const *entry : NodeRegistry::entries()) known.push_back(entry->type);
    return "there is no node type '" + type + "'" + suggestion(type, known);
}

struct SingleNode::Call {
    Tick tick;
    PortValues inputs, outputs;
};

thread_local SingleNode::Call *SingleNode::current = nullptr;

SingleNode::SingleNode(SingleNodePlan nodePlan)
    : plan(std::move(nodePlan)), entry(entryOf(plan.type)),
      config(plan.type, plan.options, streamsOf(plan.inputs), streamsOf(plan.outputs)) {
    checkPorts("input", plan.inputs, entry.specification.inputs, plan.type);
    checkPorts("output", plan.outputs, entry.specification.outputs, plan.type);
    node.reset(entry.factory({this, 0}, config));
    // A constructor doesn't look at options that it has no field for; setOption() names them.
    Variant nothing;
    for (auto const &[name, value] : plan.options)
        if (!entry.specification.options.contains(name)) node->setOption(name, nothing);
    try {
        node->initialize();
    } catch (...) {
        node->flush(0); // what was begun is given back
        throw;
    }
}

SingleNode::~SingleNode() {
    try {
        flush();
    } catch (...) { // whoever wants to know calls flush()
    }
}

PortValues SingleNode::process(PortValues inputs) {
    if (node->canSelfParallelise()) {
        std::shared_lock const lock(inUse);
        return run(std::move(inputs));
    }
    std::lock_guard const lock(inUse);
    return run(std::move(inputs));
}

PortValues SingleNode::run(PortValues inputs) {
    if (flushed) throw Exception("a node of type " + plan.type + " can't run again after its end");
    Tick const tick = nextTick++;
    checkGuard(tick, inputs);
    Call call{tick, std::move(inputs), {}};
    Call *const outer = std::exchange(current, &call);
    try {
        node->process(tick);
    } catch (...) {
        current = outer;
        throw;
    }
    current = outer;
    return std::move(call.outputs);
}

void SingleNode::checkGuard(Tick tick, PortValues const &inputs) const {
    if (!plan.guard) return;
    std::optional<Refusal> const refusal = plan.guard(GuardView(config, tick, inputs));
    if (!refusal) return;
    throw GuardRefusal(plan.type + " refused tick " + std::to_string(tick) + ", input '" + refusal->port +
                       "': " + refusal->reason);
}

void SingleNode::setOption(std::string const &name, OptionNode const &value) {
    std::lock_guard const lock(inUse);
    auto const option = entry.specification.options.find(name);
    std::shared_ptr<Variant> const held = option != entry.specification.options.end()
                                              ? optionVariant(option->second.type, value)
                                              : std::make_shared<Variant>();
    node->setOption(name, *held);
    plan.options[name] = value;
    config = NodeConfig(plan.type, plan.options, config.getInputs(), config.getOutputs());
}

void SingleNode::flush() {
    std::lock_guard const lock(inUse);
    if (!std::exchange(flushed, true)) node->flush(nextTick);
}

std::shared_ptr<Variant> SingleNode::getLinearInput(PipelineNode const *, Tick tick, std::string stream,
                                                    bool mustExist) {
    if (current == nullptr || current->tick != tick) throw Exception("a node reads outside of its process()");
    auto const found = current->inputs.find(stream);
    bool const exists = found != current->inputs.end() && found->second != nullptr;
    if (!exists && mustExist) throw Exception("input '" + stream + "' holds no value");
    return exists ? found->second : nullptr;
}

void SingleNode::setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) {
    if (stream == noStream) return;
    if (current == nullptr || current->tick != tick) throw Exception("a node writes outside of its process()");
    current->outputs[stream] = std::move(value);
}

std::uint64_t SingleNode::getStreamBufferCount(std::string const &) { return 0; }

} // namespace zun::engine
