#include "run/Task.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "containers/Exception.h"
#include "pipeline/NodeSpecification.h"
#include "run/Guard.h"

namespace zun::engine {
namespace {

struct Running {
    Task *task = nullptr;
    RunNodes const *run = nullptr;
};

/// Read at every call of a node, so without a look-up of where this library has its thread-local values.
[[gnu::tls_model("initial-exec")]] thread_local Running current;

/// A frame that the node writes into must be its alone. Two ports on one stream get the same copy, because the node
/// would see the same frame twice without the engine.
void makeOwn(Task::Input &input) {
    if (input.type == nullptr)
        throw Exception("it changes " + describeValue(*input.value, nullptr) +
                        " in place, which others may read, and which can't be copied: no port has made the type known");
    if (input.shared || input.value.use_count() > 1 || !input.type->soleOwner(*input.value)) {
        input.value = input.type->copy(*input.value);
        input.shared = false;
    }
}

/// Reading a value as another type than it has would be the end of the process, so types are compared first.
void checkTypes(Task const &task, RunNodes const &run) {
    GraphNode const &wiring = *task.node->wiring;
    for (std::size_t i = 0; i < task.inputs.size(); i++) {
        StreamRead const &read = wiring.reads[i];
        Task::Input const &held = task.inputs[i];
        if (read.expected == nullptr || held.value == nullptr || held.type == read.expected) continue;
        throw Exception("stream '" + run.streamName(read.stream) + "' holds " + describeValue(*held.value, held.type) +
                        ", but input '" + wiring.inputs[read.inputs.front()].name + "' takes " +
                        read.expected->spelling);
    }
}

void checkGuard(Task const &task, RunNodes const &run) {
    GraphNode const &wiring = *task.node->wiring;
    auto const valueAt = [&](std::size_t row) -> Variant const * {
        std::size_t const read = wiring.readOfRow[row];
        return read != noRead ? task.inputs[read].value.get() : nullptr;
    };
    auto const refusal = askGuard(*task.node->node, wiring.type->facts, task.tick, valueAt);
    if (!refusal) return;
    auto const port = std::find_if(wiring.inputs.begin(), wiring.inputs.end(),
                                   [&](GraphPort const &input) { return input.name == refusal->port; });
    std::string const where =
        port != wiring.inputs.end() ? "stream '" + run.streamName(port->stream) + "' at input '" : "input '";
    throw Exception(where + refusal->port + "': " + refusal->message);
}

std::string listStreams(Task const &task, RunNodes const &run) {
    std::string text;
    auto const append = [&](char const *verb, auto const &ports) {
        char const *separator = verb;
        for (auto const &port : ports) {
            if (run.graph.streams[port.stream].implied) continue;
            text += separator + ("'" + run.streamName(port.stream) + "'");
            separator = ", ";
        }
    };
    append("reads ", task.node->wiring->reads);
    append(text.empty() ? "writes " : "; writes ", task.node->wiring->outputs);
    return text.empty() ? "" : " (" + text + ")";
}

} // namespace

Task::Task(RunNode &runNode)
    : node(&runNode), inputs(runNode.wiring->reads.size()), outputs(runNode.wiring->outputs.size()) {}

void Task::begin(Tick atTick) {
    tick = atTick;
    failure.reset();
    changes.clear();
    while (node->changeDue(atTick)) changes.push_back(node->takeChange());
}

bool Task::wroteSomething() const {
    return std::any_of(outputs.begin(), outputs.end(), [](auto const &value) { return value != nullptr; });
}

void runTask(Task &task, RunNodes const &run, bool trust) {
    Running const outer = std::exchange(current, {&task, &run});
    auto const fail = [&](std::string const &reason) {
        task.failure = "node " + task.node->label + " failed at tick " + std::to_string(task.tick) +
                       listStreams(task, run) + ": " + reason;
    };
    try {
        for (auto const &change : task.changes) task.node->node->setOption(change->option, *change->value);
        if (!trust) {
            checkTypes(task, run);
            checkGuard(task, run);
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
    RunNodes const &run = *current.run;
    for (std::size_t i = 0; i < task->inputs.size(); i++) {
        if (task->node->reads[i] != stream) continue;
        StreamRead const &read = task->node->wiring->reads[i];
        Task::Input &held = task->inputs[i];
        if (held.value == nullptr && mustExist) {
            RunNode const &writer = run.nodes[run.graph.streams[read.stream].producer()];
            throw Exception("stream '" + stream + "' holds no value at this tick: node " + writer.label +
                            " wrote none");
        }
        if (read.changedInPlace && held.value != nullptr) makeOwn(held);
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
        if (task->node->writes[i] != stream) continue;
        task->outputs[i] = std::move(value);
        return;
    }
    throw Exception("a node writes stream '" + stream + "', which is not one of its outputs");
}

std::uint64_t TaskState::getStreamBufferCount(std::string const &stream) {
    return nodes != nullptr ? nodes->bufferedOn(stream) : 0;
}

} // namespace zun::engine
