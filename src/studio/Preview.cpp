#include "studio/Preview.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

#include "containers/Exception.h"
#include "media/Source.h"
#include "pipeline/NodeSpecification.h"
#include "studio/Sources.h"

namespace zun::studio {
namespace {

using engine::GraphNode;
using engine::GraphPort;

constexpr char const *sourceEnded = "no value: the source has ended";

/// Calls `action`; returns why it failed, or nothing.
template <class Action>
std::string failureOf(Action const &action) {
    try {
        action();
        return "";
    } catch (std::bad_alloc const &) {
        return "out of memory";
    } catch (std::exception const &error) {
        std::string const what = error.what();
        return what.empty() ? "it gave no reason" : what;
    } catch (...) {
        return "an exception of an unknown type";
    }
}

/// The output on which a node tells of its frames; empty for none.
std::string besideFrames(GraphNode const &node) {
    NodeFacts::Output const *const output = node.type->facts.outputBesideFrames();
    return output != nullptr ? output->name : "";
}

media::FrameSource const *frameSource(GraphNode const &node, NodeResult const &result) {
    auto const told = result.outputs.find(besideFrames(node));
    if (told == result.outputs.end()) return nullptr;
    auto const *const held = dynamic_cast<VariantType<media::FrameSource> const *>(told->second.value.get());
    return held != nullptr && held->value.info != nullptr ? &held->value : nullptr;
}

} // namespace

Snapshot Preview::evaluate(std::shared_ptr<engine::Graph const> const &next, Tick tick, Outdated const &outdated) {
    if (next != graph) {
        graph = next;
        natures.clear();
        for (GraphNode const &node : graph->nodes) natures.push_back(natureOf(node));
    }
    kept.beginRound();
    std::vector<bool> runs;
    for (Nature const &nature : natures) runs.push_back(nature.runs);
    numbers = keys.of(*graph, runs);
    std::erase_if(
        built, [&](auto const &one) { return std::find(numbers.begin(), numbers.end(), one.first) == numbers.end(); });
    Snapshot snapshot;
    snapshot.tick = tick;
    for (std::size_t const index : graph->order) {
        if (outdated()) {
            snapshot.complete = false;
            break;
        }
        evaluateNode(graph->nodes[index], snapshot, outdated);
    }
    countTicks(snapshot);
    return snapshot;
}

Preview::Nature Preview::natureOf(GraphNode const &node) {
    Nature nature;
    failureOf([&] { // which shows when the node is to run
        std::unique_ptr<PipelineNode> const bare(node.type->factory({nullptr, 0}, node.description->config()));
        nature = {!bare->hasSideEffects(), bare->isGenerator()};
    });
    return nature;
}

void Preview::evaluateNode(GraphNode const &node, Snapshot &snapshot, Outdated const &outdated) {
    NodeState &state = snapshot.nodes[node.description->name];
    if (!natures[node.index].runs) {
        state.runs = false;
        return leaveOut(node, snapshot, "'" + node.description->name + "' is not run here, as it has effects outside");
    }
    for (engine::StreamRead const &read : node.reads) {
        std::string const &stream = graph->streams[read.stream].name;
        if (!snapshot.streams[stream].value)
            return leaveOut(node, snapshot, "'" + node.description->name + "' has no value for '" + stream + "'");
    }
    if (auto const result = kept.find({numbers[node.index], snapshot.tick})) {
        state.kept = true;
        return adopt(node, *result, snapshot);
    }
    runNode(node, snapshot, outdated);
}

void Preview::runNode(GraphNode const &node, Snapshot &snapshot, Outdated const &outdated) {
    NodeState &state = snapshot.nodes[node.description->name];
    state.error = failureOf([&] {
        BuiltNode &ready = nodeFor(node, snapshot.tick);
        Length &length = lengths[numbers[node.index]];
        if (isSource(node) && snapshot.tick >= length.until) return leaveOut(node, snapshot, sourceEnded);
        NodeResult result = process(node, snapshot.tick, inputsOf(node, snapshot));
        bool const ended =
            isSource(node) && result.outputs.empty() && ready.node->built().processProgressNeverPossible();
        if (ended) {
            findEnd(node, length, snapshot.tick, outdated);
            return leaveOut(node, snapshot, sourceEnded);
        }
        if (isSource(node)) length.seen = std::max(length.seen.value_or(0), snapshot.tick);
        adopt(node, *kept.keep({numbers[node.index], snapshot.tick}, std::move(result)), snapshot);
    });
    if (state.error.empty()) return;
    built.erase(numbers[node.index]);
    leaveOut(node, snapshot, "'" + node.description->name + "' failed: " + state.error);
}

NodeResult Preview::process(GraphNode const &node, Tick tick, engine::PortValues inputs) {
    BuiltNode &ready = built.at(numbers[node.index]);
    ready.last = tick;
    auto const start = std::chrono::steady_clock::now();
    engine::PortValues written = ready.node->process(std::move(inputs), tick);
    std::chrono::duration<double, std::milli> const taken = std::chrono::steady_clock::now() - start;
    NodeResult result;
    result.milliseconds = taken.count();
    for (auto &[port, value] : written)
        if (value != nullptr) result.outputs[port].value = std::move(value);
    return result;
}

/// The values for a node's inputs. What it changes in place is a copy, the same for all inputs on one stream.
engine::PortValues Preview::inputsOf(GraphNode const &node, Snapshot const &snapshot) const {
    engine::PortValues inputs;
    for (engine::StreamRead const &read : node.reads) {
        std::string const &stream = graph->streams[read.stream].name;
        KeptValue const &held = *snapshot.streams.at(stream).value;
        std::shared_ptr<Variant> value = held.value;
        if (read.changedInPlace && held.type == nullptr)
            throw Exception("it changes the values of stream '" + stream +
                            "' in place, which can't be copied: no port has made their type known");
        if (read.changedInPlace) value = held.type->copy(*value);
        for (std::size_t const input : read.inputs) inputs[node.inputs[input].name] = value;
    }
    return inputs;
}

/// A node that may process the tick.
Preview::BuiltNode &Preview::nodeFor(GraphNode const &node, Tick tick) {
    BuiltNode &ready = built[numbers[node.index]];
    bool const goesOn = isSource(node) && ready.last && tick > *ready.last;
    bool const usable = ready.node != nullptr && (!ready.last || goesOn || ready.anyTick);
    if (usable) return ready;
    ready = {};
    if (std::string const why = whyNotByTick(node); !why.empty()) throw Exception(why);
    std::set<std::string> outputs;
    for (GraphPort const &output : node.outputs) outputs.insert(output.name);
    if (std::string const beside = besideFrames(node); !beside.empty()) outputs.insert(beside);
    ready.node = build(node, std::move(outputs));
    // Sources that tell of their frames are the host's own, and go back to any.
    bool const goesBack = isSource(node) && !besideFrames(node).empty();
    ready.anyTick = goesBack || ready.node->built().canSelfParallelise();
    if (isSource(node)) {
        Length &length = lengths[numbers[node.index]];
        length.until = std::min(length.until, ready.node->built().getRunUntil(endless));
    }
    return ready;
}

std::unique_ptr<engine::SingleNode> Preview::build(GraphNode const &node, std::set<std::string> outputs) const {
    engine::SingleNodePlan plan;
    plan.type = node.description->type;
    plan.options = node.description->config().getParsedOptions();
    plan.outputs = std::move(outputs);
    for (std::string const &port : plan.outputs) // one that isn't connected
        plan.outputStreams[port] = node.description->name + "." + port + "'";
    for (GraphPort const &output : node.outputs) plan.outputStreams[output.name] = graph->streams[output.stream].name;
    for (GraphPort const &input : node.inputs) {
        plan.inputs.insert(input.name);
        plan.inputStreams[input.name] = graph->streams[input.stream].name;
    }
    return std::make_unique<engine::SingleNode>(std::move(plan));
}

/// Puts what a node wrote on its streams.
void Preview::adopt(GraphNode const &node, NodeResult const &result, Snapshot &snapshot) {
    snapshot.nodes[node.description->name].milliseconds = result.milliseconds;
    for (GraphPort const &output : node.outputs) {
        StreamState &stream = snapshot.streams[graph->streams[output.stream].name];
        auto const written = result.outputs.find(output.name);
        if (written != result.outputs.end())
            stream.value = written->second;
        else
            stream.missing = "'" + node.description->name + "' wrote no value at this tick";
    }
    media::FrameSource const *const source = frameSource(node, result);
    if (source == nullptr) return;
    lengths[numbers[node.index]].stated = source->info->frames;
    if (!snapshot.frame || source->info->moving) snapshot.frame = {source->file, source->number, source->seconds()};
}

void Preview::leaveOut(GraphNode const &node, Snapshot &snapshot, std::string const &why) const {
    for (GraphPort const &output : node.outputs) snapshot.streams[graph->streams[output.stream].name].missing = why;
}

/// Looks for the first tick without a value, which is `ended` or lies before it: one after the other, from the last
/// that has one, and without making frames where the source can tell of them alone.
void Preview::findEnd(GraphNode const &node, Length &length, Tick ended, Outdated const &outdated) {
    std::set<std::string> outputs;
    if (std::string const beside = besideFrames(node); !beside.empty()) outputs.insert(beside);
    for (GraphPort const &output : node.outputs)
        if (besideFrames(node).empty()) outputs.insert(output.name);
    if (!node.inputs.empty()) {
        length.until = ended;
        return;
    }
    std::unique_ptr<engine::SingleNode> const probe = build(node, std::move(outputs));
    for (Tick tick = length.seen ? *length.seen + 1 : 0; tick < ended && !outdated(); tick++) {
        bool const wrote = !probe->process({}, tick).empty();
        if (!wrote && probe->built().processProgressNeverPossible()) {
            length.until = tick;
            return;
        }
    }
    if (!outdated()) length.until = ended;
}

void Preview::countTicks(Snapshot &snapshot) const {
    Tick certain = endless, stated = endless;
    for (GraphNode const &node : graph->nodes) {
        if (!isSource(node)) continue;
        auto const found = lengths.find(numbers[node.index]);
        if (found == lengths.end()) continue;
        Length const &length = found->second;
        certain = std::min(certain, length.until);
        if (!length.isKnown() && length.stated != 0) stated = std::min(stated, Tick{length.stated});
    }
    if (std::min(certain, stated) == endless) return;
    snapshot.ticks = std::min(certain, stated);
    snapshot.ticksCertain = certain <= stated;
}

} // namespace zun::studio
