#include "run/Scheduler.h"

#include <algorithm>
#include <functional>
#include <limits>
#include <utility>

namespace zun::engine {
namespace {

/// Waking a thread costs some microseconds; for less work than this it isn't worth it.
constexpr double wakingNanoseconds = 20'000;

} // namespace

Scheduler::Scheduler(RunNodes &runNodes, RunPlan const &runPlan, Progress &runProgress)
    : nodes(runNodes), plan(runPlan), progress(runProgress), states(nodes.nodes.size()), end(plan.end),
      done(plan.first), highestStarted(plan.first), laggards(nodes.nodes.size()) {
    Graph const &graph = nodes.graph;
    for (GraphStream const &stream : graph.streams)
        streams.push_back({StreamBuffer(plan.first), stream.capacity, stream.consumers.size()});
    for (GraphNode const &node : graph.nodes) {
        NodeState &state = states[node.index];
        state.next = state.completedBelow = plan.first;
        for (std::size_t i = 0; i < node.outputs.size(); i++) {
            GraphStream const &stream = graph.streams[node.outputs[i].stream];
            if (!stream.isRead()) continue;
            state.writes.push_back({i, node.outputs[i].stream});
            state.neighbours.insert(state.neighbours.end(), stream.consumers.begin(), stream.consumers.end());
        }
        for (StreamRead const &read : node.reads) {
            state.reads.push_back(read.stream);
            state.neighbours.push_back(graph.streams[read.stream].producer());
        }
        if (nodes.nodes[node.index].generator) generators.push_back(node.index);
    }
    for (std::size_t node = 0; node < states.size(); node++) offer(node);
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
        return !states[node].sampled || states[node].nanoseconds >= wakingNanoseconds;
    };
    return isLong(taken.node->index()) ||
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
    for (std::size_t node : generators) certain = std::min(certain, states[node].completedBelow);
    return certain;
}

/// What stays true, once it is, until the node starts its next tick.
bool Scheduler::hasInputsAndSpace(std::size_t index) const {
    NodeState const &state = states[index];
    RunNode const &node = nodes.nodes[index];
    if (state.running != 0 && (!node.selfParallel || state.alone || node.changeDue(state.next))) return false;
    if (!state.unsettled.empty()) return false;
    for (std::size_t const stream : state.reads)
        if (!streams[stream].buffer.holds(state.next)) return false;
    for (Write const &write : state.writes)
        if (streams[write.stream].buffer.size() >= streams[write.stream].capacity) return false;
    return true;
}

/// What other nodes, the host or the node itself can change at any time.
bool Scheduler::isPermitted(std::size_t index) {
    NodeState const &state = states[index];
    RunNode const &node = nodes.nodes[index];
    if (state.next >= endOfStarts()) return false;
    bool const overCap = state.next != done && bytesInFlight + bytesExpected + state.outputBytes > plan.maxBytes;
    if (!overCap && !(node.sideEffects && state.next >= certainBelow()) && node.node->readyForProcessingInputs())
        return true;
    hold(index);
    return false;
}

void Scheduler::offer(std::size_t node) {
    NodeState &state = states[node];
    if (state.queued || !hasInputsAndSpace(node) || !isPermitted(node)) return;
    state.queued = true;
    ready.push_back({state.next, nodes.graph.nodes[node].rank, node});
    std::push_heap(ready.begin(), ready.end(), std::greater<>());
}

Task *Scheduler::start(std::size_t index) {
    RunNode &node = nodes.nodes[index];
    NodeState &state = states[index];
    state.queued = false;
    if (!isPermitted(index)) return nullptr;

    if (idleTasks.empty()) idleTasks.push_back(std::make_unique<Task>());
    Task *const task = idleTasks.back().release();
    idleTasks.pop_back();
    task->begin(node, state.next);
    for (std::size_t i = 0; i < state.reads.size(); i++) {
        StreamBuffer::Slot &slot = streams[state.reads[i]].buffer.at(state.next);
        Task::Input &input = task->inputs[i];
        input.shared = slot.readersLeft > 1;
        input.type = slot.type;
        if (input.shared)
            input.value = slot.value;
        else
            input.value = std::move(slot.value);
    }
    for (Write const &write : state.writes) streams[write.stream].buffer.reserve(state.next);
    bytesExpected += state.outputBytes;
    task->bytesExpected = state.outputBytes;

    state.alone = !task->changes.empty();
    state.next++;
    state.running++;
    running++;
    highestStarted = std::max(highestStarted, state.next);
    if (node.selfParallel) offer(index);
    return task;
}

void Scheduler::complete(Task *task) {
    std::unique_ptr<Task> finished(task);
    std::size_t const index = task->node->index();
    NodeState &state = states[index];
    state.running--;
    running--;
    bytesExpected -= task->bytesExpected;
    if (task->nanoseconds) {
        state.nanoseconds = state.sampled ? (7 * state.nanoseconds + *task->nanoseconds) / 8 : *task->nanoseconds;
        state.sampled = true;
    }

    if (task->failure) {
        noteFailure(*task);
        release(*task);
        idleTasks.push_back(std::move(finished));
    } else if (task->node->generator && !task->wroteSomething()) {
        state.unsettled.push_back(std::move(finished));
    } else {
        conclude(*task);
        idleTasks.push_back(std::move(finished));
    }
    if (!state.unsettled.empty() && state.running == 0) settle(index);

    countBytes();
    offer(index);
    for (std::size_t const neighbour : state.neighbours) offer(neighbour);
    offerHeld();
}

/// Asks a generator that wrote nothing, and that is inside no call now, whether it has ended.
void Scheduler::settle(std::size_t index) {
    auto const waiting = std::exchange(states[index].unsettled, {});
    if (nodes.nodes[index].node->processProgressNeverPossible())
        for (std::unique_ptr<Task> const &task : waiting) end = std::min(end, task->tick);
    for (std::unique_ptr<Task> const &task : waiting) conclude(*task);
}

void Scheduler::conclude(Task &task) {
    publish(task);
    noteCompletion(task);
    release(task);
}

/// Hands what a task wrote to the readers. A stream that nobody reads keeps nothing.
void Scheduler::publish(Task &task) {
    NodeState &state = states[task.node->index()];
    state.outputBytes = 0;
    for (Write const &write : state.writes) {
        StreamState &stream = streams[write.stream];
        StreamBuffer::Slot &slot = stream.buffer.at(task.tick);
        slot.value = std::move(task.outputs[write.output]);
        slot.type = slot.value != nullptr ? typeOn(stream, *slot.value) : nullptr;
        slot.bytes = slot.type != nullptr ? slot.type->bytes(*slot.value) : 0;
        slot.readersLeft = stream.readers;
        slot.written = true;
        std::atomic<std::uint64_t> &buffered = nodes.buffered[write.stream];
        buffered.store(buffered.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        bytesInFlight += slot.bytes;
        state.outputBytes += slot.bytes;
    }
}

/// The type of a value on a stream. The types on one stream rarely change, so the last one is tried first.
ValueType const *Scheduler::typeOn(StreamState &stream, Variant const &value) {
    std::type_info const &info = typeid(value);
    if (stream.lastInfo != &info) {
        stream.lastInfo = &info;
        stream.lastType = valueTypeOf(value);
    }
    return stream.lastType;
}

/// Lets go of what a task holds; a value goes with its last reader, and its space on the stream with it.
void Scheduler::release(Task &task) {
    std::vector<std::size_t> const &reads = states[task.node->index()].reads;
    for (std::size_t i = 0; i < reads.size(); i++) {
        task.inputs[i].value.reset();
        StreamBuffer &buffer = streams[reads[i]].buffer;
        StreamBuffer::Slot const &slot = buffer.at(task.tick);
        if (buffer.readBy(task.tick) > 0) continue;
        bytesInFlight -= slot.bytes;
        std::atomic<std::uint64_t> &buffered = nodes.buffered[reads[i]];
        buffered.store(buffered.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
        buffer.release(task.tick);
    }
    for (std::shared_ptr<Variant> &output : task.outputs) output.reset();
}

void Scheduler::noteFailure(Task const &task) {
    Failure candidate{*task.failure, task.node->name(), task.node->index(), task.tick};
    if (!failure || candidate.precedes(*failure)) failure = std::move(candidate);
}

void Scheduler::noteCompletion(Task const &task) {
    NodeState &state = states[task.node->index()];
    if (task.tick != state.completedBelow) {
        state.completedEarly.push_back(task.tick);
        return;
    }
    bool const wasLaggard = state.completedBelow == done;
    state.completedBelow++;
    for (auto early = state.completedEarly.begin(); early != state.completedEarly.end();) {
        if (*early != state.completedBelow) {
            ++early;
            continue;
        }
        state.completedBelow++;
        state.completedEarly.erase(early);
        early = state.completedEarly.begin();
    }
    if (!wasLaggard || --laggards > 0) return;
    done = endless;
    for (NodeState const &other : states) done = std::min(done, other.completedBelow);
    laggards = static_cast<std::size_t>(std::count_if(
        states.begin(), states.end(), [&](NodeState const &other) { return other.completedBelow == done; }));
    progress.ticksDone.store(done - plan.first, std::memory_order_relaxed);
}

void Scheduler::hold(std::size_t node) {
    if (!std::exchange(states[node].held, true)) held.push_back(node);
}

/// Gives those another chance that wait for something other than their neighbours.
void Scheduler::offerHeld() {
    if (held.empty()) return;
    std::vector<std::size_t> const waiting = std::exchange(held, {});
    for (std::size_t node : waiting) states[node].held = false;
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
               return !nodes.nodes[node].node->readyForProcessingInputs();
           });
}

Outcome Scheduler::outcome() const {
    Outcome result;
    result.doneBelow = std::min(done, end);
    for (NodeState const &state : states) result.nodeDoneBelow.push_back(std::min(state.completedBelow, end));
    result.failure = failure;
    bool const complete = std::all_of(states.begin(), states.end(),
                                      [&](NodeState const &state) { return state.completedBelow >= endOfStarts(); });
    if (!failure && !complete) result.failure = Failure{explainStall(), "", 0, done};
    return result;
}

std::string Scheduler::explainStall() const {
    std::string text = "the run stalled at tick " + std::to_string(done) + ": no node can go on";
    for (std::size_t node = 0; node < states.size(); node++)
        if (states[node].next < endOfStarts()) text += "\n  " + explainWait(node);
    return text;
}

std::string Scheduler::explainWait(std::size_t node) const {
    Graph const &graph = nodes.graph;
    Tick const tick = states[node].next;
    std::string text = "node " + nodes.nodes[node].label + ", tick " + std::to_string(tick) + ":";
    for (std::size_t const index : states[node].reads)
        if (!streams[index].buffer.holds(tick))
            text += " waits for stream '" + graph.streams[index].name + "' from node " +
                    nodes.nodes[graph.streams[index].producer()].label + ";";
    for (Write const &write : states[node].writes) {
        StreamState const &stream = streams[write.stream];
        GraphStream const &about = graph.streams[write.stream];
        if (stream.buffer.size() >= stream.capacity)
            text += " is blocked by stream '" + about.name + "', whose limit " + std::to_string(about.limit) +
                    " leaves space for " + std::to_string(stream.capacity) + " values and which holds " +
                    std::to_string(stream.buffer.size()) + ";";
    }
    text.back() = '.';
    return text;
}

} // namespace zun::engine
