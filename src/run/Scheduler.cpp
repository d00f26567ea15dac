#include "run/Scheduler.h"

#include <algorithm>
#include <utility>

namespace zun::engine {
namespace {

/// Waking a thread costs some microseconds; for less work than this it isn't worth it.
constexpr double wakingNanoseconds = 20'000;

} // namespace

Scheduler::Scheduler(RunNodes &runNodes, RunPlan const &runPlan, Progress &runProgress)
    : nodes(runNodes), plan(runPlan), progress(runProgress), states(nodes.nodes.size()), end(plan.end),
      startsBelow(plan.end), done(plan.first), highestStarted(plan.first), laggards(nodes.nodes.size()) {
    Graph const &graph = nodes.graph;
    for (GraphStream const &stream : graph.streams)
        streams.push_back({StreamBuffer(plan.first), stream.capacity, stream.consumers.size(), stream.producer()});
    for (GraphNode const &node : graph.nodes) {
        NodeState &state = states[node.index];
        state.node = &nodes.nodes[node.index];
        state.rank = node.rank;
        state.next = state.completedBelow = plan.first;
        for (std::size_t i = 0; i < node.outputs.size(); i++) {
            GraphStream const &stream = graph.streams[node.outputs[i].stream];
            if (!stream.isRead()) continue;
            state.writes.push_back({i, node.outputs[i].stream});
            state.consumers.insert(state.consumers.end(), stream.consumers.begin(), stream.consumers.end());
        }
        for (StreamRead const &read : node.reads) state.reads.push_back(read.stream);
        if (nodes.nodes[node.index].generator) generators.push_back(node.index);
    }
    for (std::size_t node = 0; node < states.size(); node++) offer(node);
}

Task *Scheduler::take() {
    while (!ready.empty())
        if (Task *const task = start(ready.take().node)) return task;
    return nullptr;
}

Task *Scheduler::takeAny(std::size_t choice) { return start(ready.takeAny(choice).node); }

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
    return progress.stop.load(std::memory_order_relaxed) ? std::min(startsBelow, highestStarted) : startsBelow;
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
    for (std::size_t const stream : state.reads)
        if (!streams[stream].buffer.holds(state.next)) return false;
    for (Write const &write : state.writes)
        if (streams[write.stream].buffer.size() >= streams[write.stream].capacity) return false;
    return true;
}

/// What can become false until a tick starts: the run may end before it, or other nodes fill the memory.
bool Scheduler::isWithinRun(NodeState const &state) const {
    bool const overCap = state.next != done && bytesInFlight + bytesExpected + state.outputBytes > plan.maxBytes;
    return !overCap && state.next < endOfStarts();
}

/// What other nodes, the host or the node itself can change at any time.
bool Scheduler::isPermitted(std::size_t index) {
    NodeState const &state = states[index];
    bool const isCertain = !state.node->sideEffects || state.next < certainBelow();
    if (isCertain && isWithinRun(state) && state.node->node->readyForProcessingInputs()) return true;
    if (state.next < endOfStarts()) hold(index);
    return false;
}

void Scheduler::offer(std::size_t index) {
    NodeState &state = states[index];
    if (state.queued || !hasInputsAndSpace(state) || !isPermitted(index)) return;
    state.queued = true;
    ready.push({state.next, state.rank, index});
}

Task *Scheduler::start(std::size_t index) {
    NodeState &state = states[index];
    state.queued = false;
    if (!isWithinRun(state)) {
        if (state.next < endOfStarts()) hold(index);
        return nullptr;
    }

    if (state.idleTasks.empty()) state.idleTasks.push_back(std::make_unique<Task>(*state.node));
    Task *const task = state.idleTasks.back().release();
    state.idleTasks.pop_back();
    task->begin(state.next);
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
    if (state.node->selfParallel) offer(index);
    return task;
}

void Scheduler::complete(Task *task) {
    std::unique_ptr<Task> finished(task);
    std::size_t const index = task->node->index();
    Tick const tick = task->tick;
    NodeState &state = states[index];
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
    if (!state.unsettled.empty() && state.running == 0) settle(index);

    countBytes();
    bool const overlaps = state.node->selfParallel && !state.alone && !state.node->generator;
    if (!overlaps) offer(index); // one whose ticks overlap was offered when this tick started
    for (std::size_t const consumer : state.consumers)
        if (states[consumer].next <= tick) offer(consumer);
    offerHeld();
}

/// Asks a generator that wrote nothing, and that is inside no call now, whether it has ended.
void Scheduler::settle(std::size_t index) {
    auto const waiting = std::exchange(states[index].unsettled, {});
    if (nodes.nodes[index].node->processProgressNeverPossible())
        for (std::unique_ptr<Task> const &task : waiting) end = std::min(end, task->tick);
    startsBelow = std::min(startsBelow, end);
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
        StreamState &stream = streams[reads[i]];
        StreamBuffer::Slot &slot = stream.buffer.at(task.tick);
        if (--slot.readersLeft > 0) continue;
        bytesInFlight -= slot.bytes;
        std::atomic<std::uint64_t> &buffered = nodes.buffered[reads[i]];
        buffered.store(buffered.load(std::memory_order_relaxed) - 1, std::memory_order_relaxed);
        bool const wasFull = stream.buffer.size() >= stream.capacity;
        stream.buffer.release(task.tick);
        if (wasFull) offer(stream.producer);
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
