#include "run/Scheduler.h"

#include <algorithm>
#include <utility>

namespace zun::engine {
namespace {

/// Waking a thread costs some microseconds; for less work than this it isn't worth it.
constexpr double wakingNanoseconds = 20'000;

} // namespace

Scheduler::Scheduler(RunNodes &runNodes, RunPlan const &runPlan, RunControl &runControl)
    : nodes(runNodes), plan(runPlan), control(runControl), states(nodes.nodes.size()), end(plan.end),
      startsBelow(plan.end), done(plan.first), highestStarted(plan.first), laggards(nodes.nodes.size()) {
    Graph const &graph = nodes.graph;
    streams.resize(graph.streams.size());
    for (std::size_t i = 0; i < streams.size(); i++) {
        GraphStream const &stream = graph.streams[i];
        streams[i].capacity = stream.capacity;
        streams[i].readers = stream.consumers.size();
        streams[i].producer = stream.producer();
        streams[i].buffered = &nodes.buffered[i];
    }
    for (GraphNode const &node : graph.nodes) {
        NodeState &state = states[node.index];
        state.index = node.index;
        state.node = &nodes.nodes[node.index];
        state.rank = node.rank;
        state.next = state.completedBelow = plan.first;
        for (StreamRead const &read : node.reads) state.reads.push_back(&streams[read.stream]);
        for (std::size_t i = 0; i < node.outputs.size(); i++) {
            GraphStream const &stream = graph.streams[node.outputs[i].stream];
            if (!stream.isRead()) continue;
            state.writes.push_back({i, &streams[node.outputs[i].stream]});
            for (std::size_t const consumer : stream.consumers) state.consumers.push_back(&states[consumer]);
        }
        if (state.node->generator) generators.push_back(node.index);
    }
    for (NodeState &state : states) offer(state);
}

Task *Scheduler::take() {
    if (control.hasChanges()) nodes.adoptChanges(control, highestStarted);
    while (!ready.empty())
        if (Task *const task = start(states[ready.take().node])) return task;
    return nullptr;
}

Task *Scheduler::takeAny(std::size_t choice) {
    if (control.hasChanges()) nodes.adoptChanges(control, highestStarted);
    return start(states[ready.takeAny(choice).node]);
}

bool Scheduler::worthWaking(Task const &taken) const {
    if (ready.empty()) return false;
    auto const isLong = [&](std::size_t node) {
        return !states[node].sampled || states[node].nanoseconds >= wakingNanoseconds;
    };
    return isLong(taken.node->index()) || ready.anyOf([&](Ready const &entry) { return isLong(entry.node); });
}

/// The first tick that may not be started: the end of the run, what comes after a tick that failed, or, when the host
/// wants to stop, what has not begun yet.
Tick Scheduler::endOfStarts() const {
    return control.stop.load(std::memory_order_relaxed) ? std::min(startsBelow, highestStarted) : startsBelow;
}

/// Below this tick all generators have completed, so the run is certain to reach these ticks.
Tick Scheduler::certainBelow() const {
    Tick certain = endless;
    for (std::size_t node : generators) certain = std::min(certain, states[node].completedBelow);
    return certain;
}

/// What stays true, once it is, until the node starts its next tick.
bool Scheduler::hasInputsAndSpace(NodeState const &state) const {
    bool const mayOverlap = state.node->selfParallel && !state.alone && !state.node->changeDue(state.next);
    if ((state.running != 0 && !mayOverlap) || !state.unsettled.empty()) return false;
    for (StreamState const *stream : state.reads)
        if (!stream->buffer.holds(state.next)) return false;
    for (Write const &write : state.writes)
        if (write.stream->buffer.size() >= write.stream->capacity) return false;
    return true;
}

/// What can become false until a tick starts: the run may end before it, or other nodes fill the memory.
bool Scheduler::isWithinRun(NodeState const &state) const {
    bool const overCap = state.next != done && bytesInFlight + bytesExpected + state.outputBytes > plan.maxBytes;
    return !overCap && state.next < endOfStarts();
}

/// What other nodes, the host or the node itself can change at any time.
bool Scheduler::isPermitted(NodeState &state) {
    bool const isCertain = !state.node->sideEffects || state.next < certainBelow();
    if (isCertain && isWithinRun(state) && state.node->node->readyForProcessingInputs()) return true;
    if (state.next < endOfStarts()) hold(state);
    return false;
}

void Scheduler::offer(NodeState &state) {
    if (!state.queued && hasInputsAndSpace(state) && isPermitted(state)) {
        state.queued = true;
        ready.push({state.next, state.rank, state.index});
    }
    noteWait(state);
}

/// For the observer: why the node doesn't run, by the first reason of those that start() and offer() look at.
Wait Scheduler::waitOf(NodeState const &state) const {
    if (state.running != 0 || state.next >= endOfStarts()) return Wait::Nothing;
    if (state.queued) return Wait::Thread;
    for (StreamState const *stream : state.reads)
        if (!stream->buffer.holds(state.next)) return Wait::Input;
    for (Write const &write : state.writes)
        if (write.stream->buffer.size() >= write.stream->capacity) return Wait::Space;
    return isWithinRun(state) ? Wait::Others : Wait::Bytes;
}

void Scheduler::noteWait(NodeState &state) {
    if (plan.observer == nullptr) return;
    Wait const wait = waitOf(state);
    if (wait != std::exchange(state.wait, wait)) plan.observer->nodeWaits(state.index, state.next, wait);
}

void Scheduler::noteContent(StreamState const &stream) const {
    if (plan.observer == nullptr) return;
    auto const index = static_cast<std::size_t>(&stream - streams.data());
    plan.observer->streamHolds(index, stream.buffered->load(std::memory_order_relaxed), stream.bytes);
}

Task *Scheduler::start(NodeState &state) {
    state.queued = false;
    // A change that the host made since makes the tick run alone; it is offered again when the others are done.
    if (state.node->changeDue(state.next) && !hasInputsAndSpace(state)) return nullptr;
    if (!isWithinRun(state)) {
        if (state.next < endOfStarts()) hold(state);
        return nullptr;
    }

    if (state.idleTasks.empty()) state.idleTasks.push_back(std::make_unique<Task>(*state.node));
    Task *const task = state.idleTasks.back().release();
    state.idleTasks.pop_back();
    task->begin(state.next);
    for (std::size_t i = 0; i < state.reads.size(); i++) {
        StreamBuffer::Slot &slot = state.reads[i]->buffer.at(state.next);
        Task::Input &input = task->inputs[i];
        input.shared = slot.readersLeft > 1;
        input.type = slot.type;
        if (input.shared)
            input.value = slot.value;
        else
            input.value = std::move(slot.value);
    }
    for (Write const &write : state.writes) write.stream->buffer.reserve(state.next);
    bytesExpected += state.outputBytes;
    task->bytesExpected = state.outputBytes;

    state.alone = !task->changes.empty();
    state.next++;
    state.running++;
    running++;
    highestStarted = std::max(highestStarted, state.next);
    if (state.node->selfParallel)
        offer(state);
    else
        noteWait(state);
    return task;
}

void Scheduler::complete(Task *task) {
    std::unique_ptr<Task> finished(task);
    Tick const tick = task->tick;
    NodeState &state = states[task->node->index()];
    state.running--;
    running--;
    bytesExpected -= task->bytesExpected;
    if (task->nanoseconds) {
        state.nanoseconds = state.sampled ? (7 * state.nanoseconds + *task->nanoseconds) / 8 : *task->nanoseconds;
        state.sampled = true;
    }

    if (!task->failure && state.node->generator && !task->wroteSomething()) {
        state.unsettled.push_back(std::move(finished));
    } else {
        if (task->failure)
            noteFailure(*task);
        else
            conclude(*task);
        release(*task);
        state.idleTasks.push_back(std::move(finished));
    }
    if (!state.unsettled.empty() && state.running == 0) settle(state);

    if (plan.observer != nullptr) plan.observer->advanced(done - plan.first, bytesInFlight);
    // One whose ticks overlap was offered when this tick started, unless its next one has to run alone.
    bool const overlaps = state.node->selfParallel && !state.alone && !state.node->generator;
    if (!overlaps || state.node->changeDue(state.next))
        offer(state);
    else
        noteWait(state);
    for (NodeState *consumer : state.consumers)
        if (consumer->next <= tick) offer(*consumer);
    offerHeld();
}

/// Asks a generator that wrote nothing, and that is inside no call now, whether it has ended.
void Scheduler::settle(NodeState &state) {
    auto const waiting = std::exchange(state.unsettled, {});
    if (state.node->node->processProgressNeverPossible())
        for (std::unique_ptr<Task> const &task : waiting) end = std::min(end, task->tick);
    startsBelow = std::min(startsBelow, end);
    for (NodeState &other : states) noteWait(other);
    for (std::unique_ptr<Task> const &task : waiting) {
        conclude(*task);
        release(*task);
    }
}

void Scheduler::conclude(Task &task) {
    publish(task);
    noteCompletion(task);
}

/// Hands what a task wrote to the readers. A stream that nobody reads keeps nothing.
void Scheduler::publish(Task &task) {
    NodeState &state = states[task.node->index()];
    state.outputBytes = 0;
    for (Write const &write : state.writes) {
        StreamState &stream = *write.stream;
        StreamBuffer::Slot &slot = stream.buffer.at(task.tick);
        slot.value = std::move(task.outputs[write.output]);
        slot.type = slot.value != nullptr ? typeOn(stream, *slot.value) : nullptr;
        slot.bytes = slot.type != nullptr ? slot.type->bytes(*slot.value) : 0;
        slot.readersLeft = stream.readers;
        slot.written = true;
        stream.buffered->store(stream.buffered->load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
        bytesInFlight += slot.bytes;
        stream.bytes += slot.bytes;
        state.outputBytes += slot.bytes;
        noteContent(stream);
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
    std::vector<StreamState *> const &reads = states[task.node->index()].reads;
    for (std::size_t i = 0; i < reads.size(); i++) {
        task.inputs[i].value.reset();
        StreamState &stream = *reads[i];
        StreamBuffer::Slot &slot = stream.buffer.at(task.tick);
        if (--slot.readersLeft > 0) continue;
        bytesInFlight -= slot.bytes;
        stream.bytes -= slot.bytes;
        stream.buffered->store(stream.buffered->load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
        bool const wasFull = stream.buffer.size() >= stream.capacity;
        stream.buffer.release(task.tick);
        noteContent(stream);
        if (wasFull) offer(states[stream.producer]);
    }
    for (std::shared_ptr<Variant> &output : task.outputs) output.reset();
}

void Scheduler::noteFailure(Task const &task) {
    Failure candidate{*task.failure, task.node->name(), task.node->index(), task.tick};
    if (failure && !candidate.precedes(*failure)) return;
    startsBelow = std::min(startsBelow, candidate.tick + 1);
    failure = std::move(candidate);
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
}

void Scheduler::hold(NodeState &state) {
    if (!std::exchange(state.held, true)) held.push_back(&state);
}

/// Gives those another chance that wait for something other than their neighbours.
void Scheduler::offerHeld() {
    if (held.empty()) return;
    std::vector<NodeState *> const waiting = std::exchange(held, {});
    for (NodeState *state : waiting) state->held = false;
    for (NodeState *state : waiting) offer(*state);
}

bool Scheduler::awaitsNode() {
    offerHeld();
    return ready.empty() && std::any_of(held.begin(), held.end(), [](NodeState const *state) {
               return !state->node->node->readyForProcessingInputs();
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
    for (NodeState const &state : states)
        if (state.next < endOfStarts()) text += "\n  " + explainWait(state);
    return text;
}

std::string Scheduler::explainWait(NodeState const &state) const {
    Graph const &graph = nodes.graph;
    auto const about = [&](StreamState const &stream) -> GraphStream const & {
        return graph.streams[static_cast<std::size_t>(&stream - streams.data())];
    };
    Tick const tick = state.next;
    std::string text = "node " + state.node->label + ", tick " + std::to_string(tick) + ":";
    for (StreamState const *stream : state.reads)
        if (!stream->buffer.holds(tick))
            text += " waits for stream '" + about(*stream).name + "' from node " + nodes.nodes[stream->producer].label +
                    ";";
    for (Write const &write : state.writes) {
        StreamState const &stream = *write.stream;
        if (stream.buffer.size() >= stream.capacity)
            text += " is blocked by stream '" + about(stream).name + "', whose limit " +
                    std::to_string(about(stream).limit) + " leaves space for " + std::to_string(stream.capacity) +
                    " values and which holds " + std::to_string(stream.buffer.size()) + ";";
    }
    text.back() = '.';
    return text;
}

} // namespace zun::engine
