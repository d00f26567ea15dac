#include "engine/Task.h"

#include <algorithm>
#include <exception>
#include <map>
#include <utility>

#include "containers/Exception.h"
#include "pipeline/NodeSpecification.h"
#include "pipeline/TypeMismatch.h"

namespace zun::engine {
namespace {

struct Running {
    Task *task = nullptr;
    Graph const *graph = nullptr;
};

thread_local Running current;

std::string const &streamName(Graph const &graph, std::size_t stream) { return graph.streams[stream].name; }

/// A frame that the node writes into must be its alone. Two ports on one stream get the same copy, because the node
/// would see the same frame twice without the engine.
void makeOwn(Task::Input &input) {
    if (input.type == nullptr) return;
    if (input.shared || input.value.use_count() > 1 || !input.type->soleOwner(*input.value)) {
        input.value = input.type->copy(*input.value);
        input.shared = false;
    }
}

std::string describeType(Task::Input const &input) {
    if (input.type != nullptr) return input.type->expression;
    Variant const &value = *input.value;
    return demangle(typeid(value));
}

/// Reading a value as another type than it has would be the end of the process, so types are compared first.
void checkTypes(Task const &task, Graph const &graph) {
    for (std::size_t i = 0; i < task.inputs.size(); i++) {
        GraphNode::Input const &input = task.node->inputs[i];
        Task::Input const &held = task.inputs[i];
        if (input.expected == nullptr || held.value == nullptr || held.type == input.expected) continue;
        throw Exception("stream '" + streamName(graph, input.stream) + "' holds a value of type " + describeType(held) +
                        ", but input '" + input.ports.front() + "' takes " + input.expected->expression);
    }
}

void checkGuard(Task const &task, Graph const &graph) {
    GraphNode const &node = *task.node;
    if (!node.facts->guard) return;
    std::map<std::string, std::shared_ptr<Variant>> inputs;
    std::map<std::string, std::size_t> streams;
    for (std::size_t i = 0; i < task.inputs.size(); i++)
        for (std::string const &port : node.inputs[i].ports) {
            inputs[port] = task.inputs[i].value;
            streams[port] = node.inputs[i].stream;
        }
    std::optional<Refusal> const refusal = node.facts->guard(GuardView(node.config, task.tick, std::move(inputs)));
    if (!refusal) return;
    auto const stream = streams.find(refusal->port);
    std::string const where =
        stream != streams.end() ? "stream '" + streamName(graph, stream->second) + "' at input '" : "input '";
    throw Exception(where + refusal->port + "': " + refusal->reason);
}

void changeOptions(Task const &task) {
    GraphNode &node = *task.node;
    auto options = node.config.getParsedOptions();
    for (GraphNode::Change const *const change : task.changes) {
        node.node->setOption(change->option, *change->value);
        options[change->option] = change->given;
    }
    node.config = NodeConfig(node.config.getType(), options, node.config.getInputs(), node.config.getOutputs(),
                             node.config.getLimits());
}

std::string listStreams(Task const &task, Graph const &graph) {
    std::string text;
    auto const append = [&](char const *verb, auto const &ports) {
        char const *separator = verb;
        for (auto const &port : ports) {
            text += separator + ("'" + streamName(graph, port.stream) + "'");
            separator = ", ";
        }
    };
    append("reads ", task.node->inputs);
    append(text.empty() ? "writes " : "; writes ", task.node->outputs);
    return text.empty() ? "" : " (" + text + ")";
}

} // namespace

void Task::begin(GraphNode &forNode, Tick atTick) {
    node = &forNode;
    tick = atTick;
    inputs.resize(forNode.inputs.size());
    outputs.resize(forNode.outputs.size());
    failure.reset();
    changes.clear();
    while (forNode.changeDue(atTick)) changes.push_back(&forNode.changes[forNode.changesStarted++]);
}

bool Task::wroteSomething() const {
    return std::any_of(outputs.begin(), outputs.end(), [](auto const &value) { return value != nullptr; });
}

void runTask(Task &task, Graph const &graph, bool trust) {
    Running const outer = std::exchange(current, {&task, &graph});
    auto const fail = [&](std::string const &reason) {
        task.failure = "node " + task.node->label + " failed at tick " + std::to_string(task.tick) +
                       listStreams(task, graph) + ": " + reason;
    };
    try {
        if (!task.changes.empty()) changeOptions(task);
        if (!trust) {
            checkTypes(task, graph);
            checkGuard(task, graph);
        }
        task.node->node->process(task.tick);
    } catch (std::bad_alloc const &) {
        fail("out of memory");
    } catch (std::exception const &error) {
        fail(error.what());
    } catch (...) {
        fail("an exception of an unknown type");
    }
    current = outer;
}

std::shared_ptr<Variant> TaskState::getLinearInput(PipelineNode const *node, Tick tick, std::string stream,
                                                   bool mustExist) {
    Task *const task = current.task;
    if (task == nullptr || task->node->node.get() != node || task->tick != tick)
        throw Exception("a node reads stream '" + stream + "' at tick " + std::to_string(tick) +
                        " outside of its process() for that tick");
    for (std::size_t i = 0; i < task->inputs.size(); i++) {
        GraphNode::Input const &input = task->node->inputs[i];
        if (streamName(*current.graph, input.stream) != stream) continue;
        Task::Input &held = task->inputs[i];
        if (held.value == nullptr && mustExist) {
            auto const &writer = graph->nodes[graph->streams[static_cast<std::size_t>(input.stream)].producer];
            throw Exception("stream '" + stream + "' holds no value at this tick: node " + writer.label +
                            " wrote none");
        }
        if (input.changedInPlace && held.value != nullptr) makeOwn(held);
        return held.value;
    }
    throw Exception("a node reads stream '" + stream + "', which is not one of its inputs");
}

void TaskState::setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) {
    if (stream == noStream) return;
    Task *const task = current.task;
    if (task == nullptr || task->tick != tick)
        throw Exception("a node writes stream '" + stream + "' at tick " + std::to_string(tick) +
                        " outside of its process() for that tick");
    for (std::size_t i = 0; i < task->outputs.size(); i++) {
        if (streamName(*current.graph, task->node->outputs[i].stream) != stream) continue;
        task->outputs[i] = std::move(value);
        return;
    }
    throw Exception("a node writes stream '" + stream + "', which is not one of its outputs");
}

std::uint64_t TaskState::getStreamBufferCount(std::string const &stream) {
    GraphStream const *const found = graph != nullptr ? graph->findStream(stream) : nullptr;
    return found != nullptr ? found->buffered.load(std::memory_order_relaxed) : 0;
}

} // namespace zun::engine
