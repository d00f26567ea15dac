#include "engine/Executors.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "engine/Scheduler.h"
#include "engine/Task.h"

namespace zun::engine {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto askAgainAfter = std::chrono::milliseconds(1);

/// Tick by tick, and in each tick node by node, each behind those that it reads from: slow, and easy to believe. It
/// shares no code with the scheduler, so that the others can be held against it.
class SequentialExecutor : public Executor {
public:
    Outcome run(Graph &graph, RunPlan const &plan, Progress &progress) override {
        Outcome outcome;
        outcome.nodeDoneBelow.assign(graph.nodes.size(), plan.first);
        Tick end = plan.end;
        Tick tick = plan.first;
        for (; tick < end && !outcome.failure && !progress.stop; tick++) {
            if (!runTick(graph, plan, tick, progress, outcome)) end = tick;
            if (tick < end && !outcome.failure) progress.ticksDone = tick + 1 - plan.first;
        }
        outcome.doneBelow = std::min({tick, end, outcome.failure ? outcome.failure->tick : endless});
        return outcome;
    }

private:
    /// Returns false if the run ends before this tick: a generator found no more, or the host stops it.
    bool runTick(Graph &graph, RunPlan const &plan, Tick tick, Progress &progress, Outcome &outcome) {
        std::vector<std::shared_ptr<Variant>> values(graph.streams.size());
        std::vector<bool> written(graph.streams.size(), false);
        std::vector<std::size_t> readersLeft(graph.streams.size());
        for (std::size_t i = 0; i < graph.streams.size(); i++) readersLeft[i] = graph.streams[i].consumers.size();

        for (std::size_t index : graph.order) {
            GraphNode &node = graph.nodes[index];
            auto const available = [&](GraphNode::Input const &input) { return written[input.stream]; };
            if (!std::all_of(node.inputs.begin(), node.inputs.end(), available)) continue; // behind a failed node
            while (!node.node->readyForProcessingInputs()) {
                if (progress.stop) return false;
                std::this_thread::sleep_for(askAgainAfter);
            }

            Task task;
            task.begin(node, tick);
            for (std::size_t i = 0; i < node.inputs.size(); i++) {
                std::size_t const stream = node.inputs[i].stream;
                ValueType const *const type = values[stream] ? valueTypeOf(*values[stream]) : nullptr;
                bool const shared = readersLeft[stream] > 1;
                task.inputs[i] = {shared ? values[stream] : std::move(values[stream]), type, shared};
            }
            runTask(task, graph, plan.trust);
            if (task.failure) {
                Failure candidate{*task.failure, node.name, index, tick};
                if (!outcome.failure || candidate.precedes(*outcome.failure)) outcome.failure = std::move(candidate);
                continue;
            }
            if (node.generator && !task.wroteSomething() && node.node->processProgressNeverPossible()) return false;
            outcome.nodeDoneBelow[index] = tick + 1;
            for (GraphNode::Input const &input : node.inputs) readersLeft[input.stream]--;
            for (std::size_t i = 0; i < node.outputs.size(); i++) {
                std::size_t const stream = node.outputs[i].stream;
                written[stream] = true;
                if (graph.streams[stream].read()) values[stream] = std::move(task.outputs[i]);
            }
            countBytes(values, progress);
        }
        return true;
    }

    static void countBytes(std::vector<std::shared_ptr<Variant>> const &values, Progress &progress) {
        std::uint64_t bytes = 0;
        for (std::shared_ptr<Variant> const &value : values)
            if (ValueType const *const type = value ? valueTypeOf(*value) : nullptr) bytes += type->bytes(*value);
        progress.bytesInFlight = bytes;
        progress.bytesPeak = std::max<std::uint64_t>(progress.bytesPeak, bytes);
    }
};

/// One thread that pretends to be several: it keeps some tasks started, and starts and completes them in an order drawn
/// from a seed. What depends on timing shows here, and shows again with the same seed.
class ShuffledExecutor : public Executor {
public:
    Outcome run(Graph &graph, RunPlan const &plan, Progress &progress) override {
        Scheduler scheduler(graph, plan, progress);
        std::mt19937_64 random(plan.seed);
        auto const draw = [&](std::size_t below) { return static_cast<std::size_t>(random() % below); };
        std::vector<Task *> started;
        while (true) {
            if (scheduler.readyCount() > 0 && started.size() < plan.threads && (started.empty() || draw(2) == 0)) {
                if (Task *const task = scheduler.takeAny(draw(scheduler.readyCount()))) started.push_back(task);
            } else if (!started.empty()) {
                std::swap(started[draw(started.size())], started.back());
                runTask(*started.back(), graph, plan.trust);
                scheduler.complete(started.back());
                started.pop_back();
            } else if (scheduler.awaitsNode()) {
                std::this_thread::sleep_for(askAgainAfter);
            } else if (scheduler.readyCount() == 0) {
                return scheduler.outcome();
            }
        }
    }
};

/// Workers that share one scheduler under one lock. A worker takes its next task in the same step in which it hands
/// the last one in, and wakes another only for work that is worth it.
class ThreadExecutor : public Executor {
public:
    Outcome run(Graph &graph, RunPlan const &plan, Progress &progress) override {
        Scheduler scheduler(graph, plan, progress);
        if (plan.threads == 1) {
            workAlone(scheduler, graph, plan);
        } else {
            std::vector<std::jthread> workers;
            for (unsigned i = 1; i < plan.threads; i++) workers.emplace_back([&] { work(scheduler, graph, plan); });
            work(scheduler, graph, plan);
        }
        return scheduler.outcome();
    }

private:
    static void workAlone(Scheduler &scheduler, Graph const &graph, RunPlan const &plan) {
        while (true) {
            if (Task *const task = scheduler.take()) {
                runTask(*task, graph, plan.trust);
                scheduler.complete(task);
            } else if (scheduler.awaitsNode()) {
                std::this_thread::sleep_for(askAgainAfter);
            } else if (scheduler.readyCount() == 0) {
                return;
            }
        }
    }

    void work(Scheduler &scheduler, Graph const &graph, RunPlan const &plan) {
        std::unique_lock lock(mutex);
        while (!over) {
            Task *const task = scheduler.take();
            if (task == nullptr) {
                waitForWork(scheduler, lock);
                continue;
            }
            if (sleeping > 0 && scheduler.worthWaking(*task)) wake.notify_one();
            lock.unlock();
            runTimed(*task, graph, plan.trust);
            lock.lock();
            scheduler.complete(task);
        }
    }

    void waitForWork(Scheduler &scheduler, std::unique_lock<std::mutex> &lock) {
        if (scheduler.idle()) {
            if (scheduler.awaitsNode()) {
                wake.wait_for(lock, askAgainAfter);
            } else if (scheduler.readyCount() == 0) {
                over = true;
                wake.notify_all();
            }
            return;
        }
        sleeping++;
        wake.wait(lock);
        sleeping--;
    }

    /// Times the first ticks and then one in a few: reading the clock costs as much as a small node.
    static void runTimed(Task &task, Graph const &graph, bool trust) {
        task.nanoseconds.reset();
        if (task.tick >= 4 && task.tick % 16 != 0) return runTask(task, graph, trust);
        auto const begin = Clock::now();
        runTask(task, graph, trust);
        task.nanoseconds = std::chrono::duration<double, std::nano>(Clock::now() - begin).count();
    }

    std::mutex mutex;
    std::condition_variable wake;
    unsigned sleeping = 0;
    bool over = false;
};

} // namespace

std::unique_ptr<Executor> makeExecutor(RunOptions::Executor kind) {
    switch (kind) {
    case RunOptions::Executor::Sequential:
        return std::make_unique<SequentialExecutor>();
    case RunOptions::Executor::Shuffled:
        return std::make_unique<ShuffledExecutor>();
    case RunOptions::Executor::Threads:
        break;
    }
    return std::make_unique<ThreadExecutor>();
}

} // namespace zun::engine
