// What may run next: the rules of a run, as data, without a thread.
//
// A node may run a tick when its ticks before have started, every connected input holds the tick, there is space for a
// value on each output, and, unless it can run several ticks at once, none of its ticks is running. Of what may run,
// the oldest tick goes first, at one tick the node nearest the sinks, and sources last. Order of outputs,
// back-pressure, end of stream and failure follow from that:
//
// - Space on an output is taken when a tick starts and is free again when the last reader is done, so a tick that has
//   started always completes, and with space for one value everywhere the oldest tick can always go on.
// - Streams are kept by tick, so values that are written out of order are read in order.
// - Bytes in flight are capped: past the cap only the oldest tick goes on.
// - A node that shows effects outside runs a tick once all generators have reached it, so that the end of one source
//   leaves the same traces however fast the others are.
// - After a failure nothing later starts, what is earlier completes, and the lowest failing tick wins.
//
// Nothing here waits or locks; the executors call it from one thread at a time.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <typeinfo>
#include <vector>

#include "run/Executors.h"
#include "run/ReadyQueue.h"
#include "run/Run.h"
#include "run/RunNodes.h"
#include "run/StreamBuffer.h"
#include "run/Task.h"

namespace zun::engine {

class Scheduler {
public:
    Scheduler(RunNodes &runNodes, RunPlan const &runPlan, RunControl &runControl);

    /// Takes note of what the host changes, and starts the next task by the order above, or nothing if none may run
    /// now.
    Task *take();

    /// How many tasks may run now, at most; and the start of any of them, or nothing if it may not run after all.
    std::size_t readyCount() const { return ready.size(); }
    Task *takeAny(std::size_t choice);

    /// Whether to wake another thread while `taken` runs: something else may run, and one of the two takes long.
    bool worthWaking(Task const &taken) const;

    /// Takes back a task that was run: hands out what it wrote, frees what it read.
    void complete(Task *task);

    /// Whether nothing runs. With nothing to take either, the run is over: complete, failed, or stalled.
    bool idle() const { return running == 0; }

    /// Whether a node said that it takes no inputs just now, and has to be asked again.
    bool awaitsNode();

    /// How the run ended. Only when it is over.
    Outcome outcome() const;

private:
    struct StreamState {
        StreamBuffer buffer;
        std::int64_t capacity = 0;
        std::uint64_t bytes = 0;                        ///< that wait on it
        std::size_t readers = 0;                        ///< nodes
        std::size_t producer = 0;                       ///< node
        std::atomic<std::uint64_t> *buffered = nullptr; ///< what nodes are told of the stream
        std::type_info const *lastInfo = nullptr;
        ValueType const *lastType = nullptr; ///< of values with `lastInfo`
    };

    /// An output whose values somebody reads.
    struct Write {
        std::size_t output; ///< of the node
        StreamState *stream;
    };

    struct NodeState {
        std::size_t index = 0;
        RunNode *node = nullptr;
        int rank = 0;
        Tick next = 0;                    ///< the tick it starts next
        Tick completedBelow = 0;          ///< all ticks below are completed
        std::vector<Tick> completedEarly; ///< completed ticks beyond
        std::uint32_t running = 0;
        bool queued = false;           ///< its next tick stands in `ready`
        bool alone = false;            ///< the tick that runs changes options, so no other may run beside it
        bool held = false;             ///< it stands in `held`
        bool sampled = false;          ///< `nanoseconds` holds something
        double nanoseconds = 0;        ///< what one process() takes, on average
        std::uint64_t outputBytes = 0; ///< what its last tick wrote
        Wait wait = Wait::Nothing;     ///< as the observer was told

        std::vector<StreamState *> reads;
        std::vector<Write> writes;
        std::vector<NodeState *> consumers; ///< nodes that read what it writes
        std::vector<std::unique_ptr<Task>> idleTasks;

        /// Of a generator: ticks at which it wrote nothing. Whether the run ends with them shows when none of its ticks
        /// runs.
        std::vector<std::unique_ptr<Task>> unsettled;
    };

    bool hasInputsAndSpace(NodeState const &state) const;
    bool isWithinRun(NodeState const &state) const;
    bool isPermitted(NodeState &state);
    void offer(NodeState &state);
    Task *start(NodeState &state);
    void settle(NodeState &state);
    void conclude(Task &task);
    void publish(Task &task);
    ValueType const *typeOn(StreamState &stream, Variant const &value);
    void release(Task &task);
    void noteCompletion(Task const &task);
    void noteFailure(Task const &task);
    void hold(NodeState &state);
    void offerHeld();
    Tick endOfStarts() const;
    Tick certainBelow() const;
    Wait waitOf(NodeState const &state) const;
    void noteWait(NodeState &state);
    void noteContent(StreamState const &stream) const;
    std::string explainStall() const;
    std::string explainWait(NodeState const &state) const;

    RunNodes &nodes;
    RunPlan const plan;
    RunControl &control;

    std::vector<NodeState> states;    ///< by node
    std::vector<StreamState> streams; ///< by stream
    std::vector<std::size_t> generators;
    ReadyQueue ready;
    std::vector<NodeState *> held; ///< nodes that wait for bytes, for certainty, or for themselves

    Tick end;             ///< first tick that is not run
    Tick startsBelow;     ///< the end, or, after a failure, what comes after its tick
    Tick done;            ///< all nodes have completed the ticks below
    Tick highestStarted;  ///< first tick that no node has started
    std::size_t laggards; ///< nodes whose completedBelow is `done`
    std::size_t running = 0;
    std::uint64_t bytesInFlight = 0; ///< on streams
    std::uint64_t bytesExpected = 0; ///< what running tasks will write, as far as it is known
    std::optional<Failure> failure;
};

} // namespace zun::engine
