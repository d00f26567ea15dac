#include "run/SingleNode.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include "catalogue/NodeTypes.h"
#include "pipeline/NearestName.h"
#include "run/Guard.h"

namespace zun::engine {
namespace {

template <class Ports>
void checkPorts(char const *kind, std::set<std::string> const &named, Ports const &ports, std::string const &type) {
    for (std::string const &name : named) {
        if (ports.contains(name)) continue;
        throw Exception("a node of type " + type + " has no " + kind + " '" + name + "'" +
                        suggestion(name, keysOf(ports)));
    }
}

using Streams = std::map<std::string, std::string>; // by port

std::string const &streamOf(std::string const &port, Streams const &named) {
    auto const found = named.find(port);
    return found != named.end() ? found->second : port;
}

Streams streamsOf(std::set<std::string> const &ports, Streams const &named) {
    Streams streams;
    for (std::string const &port : ports) streams[port] = streamOf(port, named);
    return streams;
}

} // namespace

struct SingleNode::Call {
    Tick tick;
    PortValues inputs, outputs;
};

thread_local SingleNode::Call *SingleNode::current = nullptr;

SingleNode::SingleNode(SingleNodePlan nodePlan) : plan(std::move(nodePlan)), entry(nodeTypeNamed(plan.type)) {
    checkPorts("input", plan.inputs, entry.specification.inputs, plan.type);
    checkPorts("output", plan.outputs, entry.specification.outputs, plan.type);
    node.reset(entry.factory({this, 0}, NodeConfig(plan.type, plan.options, streamsOf(plan.inputs, plan.inputStreams),
                                                   streamsOf(plan.outputs, plan.outputStreams))));
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

PortValues SingleNode::process(PortValues inputs) { return lockAndRun(std::move(inputs), std::nullopt); }

PortValues SingleNode::process(PortValues inputs, Tick tick) { return lockAndRun(std::move(inputs), tick); }

PortValues SingleNode::lockAndRun(PortValues inputs, std::optional<Tick> tick) {
    if (node->canSelfParallelise()) {
        std::shared_lock const lock(inUse);
        return run(std::move(inputs), tick);
    }
    std::lock_guard const lock(inUse);
    return run(std::move(inputs), tick);
}

PortValues SingleNode::run(PortValues inputs, std::optional<Tick> chosen) {
    if (flushed) throw Exception("a node of type " + plan.type + " can't run again after its end");
    Tick const tick = chosen ? *chosen : nextTick++;
    for (Tick next = nextTick; next <= tick && !nextTick.compare_exchange_weak(next, tick + 1);) {
    }
    if (!plan.trust) checkInputs(tick, inputs);
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

void SingleNode::checkInputs(Tick tick, PortValues const &inputs) const {
    std::vector<NodeFacts::Input> const &rows = entry.facts.inputs;
    auto const valueAt = [&](std::size_t row) -> Variant const * {
        auto const found = inputs.find(rows[row].name);
        return found != inputs.end() ? found->second.get() : nullptr;
    };
    auto const refuse = [&](std::string const &port, std::string const &why) {
        throw GuardRefusal(plan.type + " refused tick " + std::to_string(tick) + ", input '" + port + "': " + why);
    };
    for (std::size_t row = 0; row < rows.size(); row++) {
        Variant const *const value = valueAt(row);
        if (value == nullptr || rows[row].type == nullptr || typeid(*value) == *rows[row].type->variant) continue;
        refuse(rows[row].name,
               "it takes " + rows[row].type->spelling + ", not " + describeValue(*value, valueTypeOf(*value)));
    }
    if (auto const refusal = askGuard(*node, entry.facts, tick, valueAt)) refuse(refusal->port, refusal->message);
}

void SingleNode::setOption(std::string const &name, OptionNode const &value) {
    std::lock_guard const lock(inUse);
    NodeFacts::Option const *const option = entry.facts.findOption(name);
    std::shared_ptr<Variant> const held =
        option != nullptr ? option->conversion.convert(value) : std::make_shared<Variant>();
    node->setOption(name, *held);
}

void SingleNode::flush() {
    std::lock_guard const lock(inUse);
    if (!std::exchange(flushed, true)) node->flush(nextTick);
}

std::shared_ptr<Variant> SingleNode::getLinearInput(PipelineNode const *, Tick tick, std::string stream,
                                                    bool mustExist) {
    if (current == nullptr || current->tick != tick) throw Exception("a node reads outside of its process()");
    auto const found = std::find_if(current->inputs.begin(), current->inputs.end(), [&](auto const &input) {
        return streamOf(input.first, plan.inputStreams) == stream;
    });
    bool const exists = found != current->inputs.end() && found->second != nullptr;
    if (!exists && mustExist) throw Exception("input '" + stream + "' holds no value");
    return exists ? found->second : nullptr;
}

void SingleNode::setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) {
    if (stream == noStream) return;
    if (current == nullptr || current->tick != tick) throw Exception("a node writes outside of its process()");
    for (std::string const &port : plan.outputs)
        if (streamOf(port, plan.outputStreams) == stream) current->outputs[port] = std::move(value);
}

std::uint64_t SingleNode::getStreamBufferCount(std::string const &) { return 0; }

} // namespace zun::engine
