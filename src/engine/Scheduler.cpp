#include "engine/Scheduler.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace zun::engine {
namespace {

/// Waking a thread costs some microseconds; for less work than this it isn't worth it.
constexpr double wakingNanoseconds = 20'000;

} // namespace

Scheduler::Scheduler(Graph &ofGraph, RunPlan const &ofPlan, Progress &ofProgress)
    : graph(ofGraph), plan(ofPlan), progress(ofProgress), runs(graph.nodes.size()),
      buffers(graph.streams.size(), StreamBuffer(plan.first)), knownTypes(graph.streams.size()), end(plan.end),
      done(plan.first), highestStarted(plan.first), laggards(graph.nodes.size()) {
    for (NodeRun &run : runs) run.next = run.completedBelow = plan.first;
    for (GraphNode const &node : graph.nodes)
        if (node.generator) generators.push_back(node.index);
    for (GraphNode const &node : graph.nodes) offer(node.index);
}

Task *Scheduler::take() {
    while (!ready.empty()) {
        std::pop_heap(ready.begin(), ready.end(), std::greater<>());
        std::size_t const node = ready.back().node;
        ready.pop_back();
        if (Task *const task = start(node)) return task;
    }
    return nullptr;
}

Task *Scheduler::takeAny(std::size_t choice) {
    std::size_t const node = ready[choice].node;
    ready.erase(ready.begin() + static_cast<std::ptrdiff_t>(choice));
    std::make_heap(ready.begin(), ready.end(), std::greater<>());
    return start(node);
}

bool Scheduler::worthWaking(Task const &taken) const {
    if (ready.empty()) return false;
    auto const isLong = [&](std::size_t node) {
        return !runs[node].sampled || runs[node].nanoseconds >= wakingNanoseconds;
    };
    return isLong(taken.node->index) ||
           std::any_of(ready.begin(), ready.end(), [&](Ready const &entry) { return isLong(entry.node); });
}

/// The first tick that may not be started: the end of the run, a tick that failed, or, when the host wants to stop,
/// what has not begun yet.
Tick Scheduler::endOfStarts() const {
    Tick first = end;
    if (failure) first = std::min(first, failure->tick + 1);
    if (progress.stop.load(std::memory_order_relaxed)) first = std::min(first, highestStarted);
    return first;
}

/// Below this tick all generators have completed, so the run is certain to reach these ticks.
Tick Scheduler::certainBelow() const {
    Tick certain = endless;
    for (std::size_t node : generators) certain = std::min(certain, runs[node].completedBelow);
    return certain;
}

/// What stays true, once it is, until the node starts its next tick.
bool Scheduler::hasInputsAndRoom(GraphNode const &node) const {
    NodeRun const &run = runs[node.index];
    if (run.running != 0 && (!node.selfParallel || run.alone || node.changeDue(run.next))) return false;
    for (GraphNode::Input const &input : node.inputs)
        if (!buffers[input.stream].holds(run.next)) return false;
    for (GraphNode::Output const &output : node.outputs) {
        GraphStream const &stream = graph.streams[output.stream];
        if (stream.read() && buffers[output.stream].size() >= stream.capacity) return false;
    }
    return true;
}

/// What other nodes, the host or the node itself can change at any time.
bool Scheduler::isPermitted(GraphNode const &node) {
    NodeRun const &run = runs[node.index];
    if (run.next >= endOfStarts()) return false;
    bool const overCap = run.next != done && bytesInFlight + bytesExpected + run.outputBytes > plan.maxBytes;
    if (!overCap && !(node.sideEffects && run.next >= certainBelow()) && node.node->readyForProcessingInputs())
        return true;
    hold(node.index);
    return false;
}

void Scheduler::offer(std::size_t node) {
    NodeRun &run = runs[node];
    if (run.queued || !hasInputsAndRoom(graph.nodes[node]) || !isPermitted(graph.nodes[node])) return;
    run.queued = true;
    ready.push_back({run.next, graph.nodes[node].rank, node});
    std::push_heap(ready.begin(), ready.end(), std::greater<>());
}

/// After a node's tick, only the node itself and its neighbours can have become able to run.
void Scheduler::offerNeighbours(GraphNode const &node) {
    offer(node.index);
    for (GraphNode::Output const &output : node.outputs)
        for (std::size_t consumer : graph.streams[output.stream].consumers) offer(consumer);
    for (GraphNode::Input const &input : node.inputs) offer(graph.streams[input.stream].producer);
}

Task *Scheduler::start(std::size_t index) {
    GraphNode &node = graph.nodes[index];
    NodeRun &run = runs[index];
    run.queued = false;
    if (!isPermitted(node)) return nullptr;

    if (idleTasks.empty()) idleTasks.push_back(std::make_unique<Task>());
    Task *const task = idleTasks.back().release();
    idleTasks.pop_back();
    task->begin(node, run.next);
    for (std::size_t i = 0; i < node.inputs.size(); i++) {
        StreamBuffer::Slot &slot = buffers[node.inputs[i].stream].at(run.next);
        bool const shared = slot.readersLeft > 1;
        task->inputs[i] = {shared ? slot.value : std::move(slot.value), slot.type, shared};
    }
    for (GraphNode::Output const &output : node.outputs)
        if (graph.streams[output.stream].read()) buffers[output.stream].reserve(run.next);
    bytesExpected += run.outputBytes;
    task->bytesExpected = run.outputBytes;

    run.alone = !task->changes.empty();
    run.next++;
    run.running++;
    running++;
    highestStarted = std::max(highestStarted, run.next);
    if (node.selfParallel) offer(index);
    return task;
}

void Scheduler::complete(Task *task) {
    std::unique_ptr<Task> finished(task);
    GraphNode const &node = *task->node;
    NodeRun &run = runs[node.index];
    run.running--;
    running--;
    bytesExpected -= task->bytesExpected;
    if (task->nanoseconds) {
        run.nanoseconds = run.sampled ? (7 * run.nanoseconds + *task->nanoseconds) / 8 : *task->nanoseconds;
        run.sampled = true;
    }

    if (task->failure) {
        noteFailure(*task);
    } else {
        if (node.generator && !task->wroteSomething() && node.node->processProgressNeverPossible())
            end = std::min(end, task->tick);
        publish(*task);
        noteCompletion(*task);
    }
    release(*task);
    countBytes();
    offerNeighbours(node);
    offerHeld();
    idleTasks.push_back(std::move(finished));
}

/// Hands what a task wrote to the readers. A stream that nobody reads keeps nothing.
void Scheduler::publish(Task &task) {
    NodeRun &run = runs[task.node->index];
    run.outputBytes = 0;
    for (std::size_t i = 0; i < task.outputs.size(); i++) {
        std::size_t const index = task.node->outputs[i].stream;
        GraphStream &stream = graph.streams[index];
        if (!stream.read()) continue;
        StreamBuffer::Slot &slot = buffers[index].at(task.tick);
        slot.value = std::move(task.outputs[i]);
        slot.type = slot.value != nullptr ? typeOn(index, *slot.value) : nullptr;
        slot.bytes = slot.type != nullptr ? slot.type->bytes(*slot.value) : 0;
        slot.readersLeft = stream.consumers.size();
        slot.written = true;
        stream.buffered.store(stream.buffered.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        bytesInFlight += slot.bytes;
        run.outputBytes += slot.bytes;
    }
}

/// The type of a value on a stream. The types on one stream rarely change, so the last one is tried first.
ValueType const *Scheduler::typeOn(std::size_t stream, Variant const &value) {
    KnownType &known = knownTypes[stream];
    std::type_info const &info = typeid(value);
    if (known.info != &info) known = {&info, valueTypeOf(value)};
    return known.type;
}

/// Lets go of what a task holds; a value goes with its last reader, and its room on the stream with it.
void Scheduler::release(Task &task) {
    for (std::size_t i = 0; i < task.inputs.size(); i++) {
        task.inputs[i] = {};
        std::size_t const index = task.node->inputs[i].stream;
        StreamBuffer::Slot &slot = buffers[index].at(task.tick);
        if (--slot.readersLeft > 0) continue;
        bytesInFlight -= slot.bytes;
        std::atomic<std::uint64_t> &buffered = graph.streams[index].buffered;
        buffered.store(buffered.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
        buffers[index].release(task.tick);
    }
    for (std::shared_ptr<Variant> &output : task.outputs) output.reset();
}

void Scheduler::noteFailure(Task &task) {
    Failure candidate{*task.failure, task.node->name, task.node->index, task.tick};
    if (!failure || candidate.precedes(*failure)) failure = std::move(candidate);
}

void Scheduler::noteCompletion(Task &task) {
    NodeRun &run = runs[task.node->index];
    if (task.tick != run.completedBelow) {
        run.completedEarly.push_back(task.tick);
        return;
    }
    bool const wasLaggard = run.completedBelow == done;
    run.completedBelow++;
    for (auto early = run.completedEarly.begin(); early != run.completedEarly.end();) {
        if (*early != run.completedBelow) {
            ++early;
            continue;
        }
        run.completedBelow++;
        run.completedEarly.erase(early);
        early = run.completedEarly.begin();
    }
    if (!wasLaggard || --laggards > 0) return;
    done = endless;
    for (NodeRun const &other : runs) done = std::min(done, other.completedBelow);
    laggards = static_cast<std::size_t>(
        std::count_if(runs.begin(), runs.end(), [&](NodeRun const &other) { return other.completedBelow == done; }));
    progress.ticksDone.store(done - plan.first, std::memory_order_relaxed);
}

void Scheduler::hold(std::size_t node) {
    if (std::exchange(runs[node].held, true)) return;
    held.push_back(node);
}

/// Gives those another chance that wait for something other than their neighbours.
void Scheduler::offerHeld() {
    if (held.empty()) return;
    std::vector<std::size_t> const waiting = std::exchange(held, {});
    for (std::size_t node : waiting) runs[node].held = false;
    for (std::size_t node : waiting) offer(node);
}

void Scheduler::countBytes() {
    progress.bytesInFlight.store(bytesInFlight, std::memory_order_relaxed);
    if (bytesInFlight > progress.bytesPeak.load(std::memory_order_relaxed))
        progress.bytesPeak.store(bytesInFlight, std::memory_order_relaxed);
}

bool Scheduler::awaitsNode() {
    offerHeld();
    return ready.empty() && std::any_of(held.begin(), held.end(), [&](std::size_t node) {
               return !graph.nodes[node].node->readyForProcessingInputs();
           });
}

Outcome Scheduler::outcome() const {
    Outcome result;
    result.doneBelow = std::min(done, end);
    for (NodeRun const &run : runs) result.nodeDoneBelow.push_back(std::min(run.completedBelow, end));
    result.failure = failure;
    bool const complete =
        std::all_of(runs.begin(), runs.end(), [&](NodeRun const &run) { return run.completedBelow >= endOfStarts(); });
    if (!failure && !complete) result.failure = Failure{explainStall(), "", 0, done};
    return result;
}

std::string Scheduler::explainStall() const {
    std::string text = "the run stalled at tick " + std::to_string(done) + ": no node can go on";
    for (GraphNode const &node : graph.nodes)
        if (runs[node.index].next < endOfStarts()) text += "\n  " + explainWait(node);
    return text;
}

std::string Scheduler::explainWait(GraphNode const &node) const {
    Tick const tick = runs[node.index].next;
    std::string text = "node " + node.label + ", tick " + std::to_string(tick) + ":";
    for (GraphNode::Input const &input : node.inputs) {
        GraphStream const &stream = graph.streams[input.stream];
        if (!buffers[input.stream].holds(tick))
            text += " waits for stream '" + stream.name + "' from node " + graph.nodes[stream.producer].label + ";";
    }
    for (GraphNode::Output const &output : node.outputs) {
        GraphStream const &stream = graph.streams[output.stream];
        if (stream.read() && buffers[output.stream].size() >= stream.capacity)
            text += " is blocked by stream '" + stream.name + "', whose limit " + std::to_string(stream.limit) +
                    " leaves room for " + std::to_string(stream.capacity) + " values and which holds " +
                    std::to_string(buffers[output.stream].size()) + ";";
    }
    text.back() = '.';
    return text;
}

} // namespace zun::engine
