#include "run/Executors.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "run/Scheduler.h"
#include "run/Task.h"

namespace zun::engine {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto askAgainAfter = std::chrono::milliseconds(1);

/// Runs a task before the eyes of the observer, if there is one.
void runObserved(Task &task, RunNodes const &nodes, RunPlan const &plan, unsigned worker) {
    Observer *const observer = plan.observer;
    if (observer == nullptr) return runTask(task, nodes, plan.trust);
    std::size_t const node = task.node->index();
    for (auto const &change : task.changes)
        observer->optionChanges(worker, node, task.tick, change->option, change->text);
    observer->tickBegins(worker, node, task.tick);
    runTask(task, nodes, plan.trust);
    observer->tickEnds(worker, node, task.tick, task.failure.has_value());
    if (task.failure) return;
    for (std::size_t i = 0; i < task.outputs.size(); i++)
        if (Variant const *const value = task.outputs[i].get())
            observer->valueWritten(worker, task.node->wiring->outputs[i].stream, task.tick, *value,
                                   valueTypeOf(*value));
}

/// Tick by tick, and in each tick node by node, each after those that it reads from: slow, and easy to believe. It
/// shares no code with the scheduler, so that the others can be held against it.
class SequentialExecutor : public Executor {
public:
    Outcome run(RunNodes &nodes, RunPlan const &plan, RunControl &control) override {
        Outcome outcome;
        outcome.nodeDoneBelow.assign(nodes.nodes.size(), plan.first);
        Tick end = plan.end;
        Tick tick = plan.first;
        for (; tick < end && !outcome.failure && !control.stop; tick++) {
            if (control.hasChanges()) nodes.adoptChanges(control, tick);
            if (!runTick(nodes, plan, tick, control, outcome)) end = tick;
            if (tick < end && !outcome.failure && plan.observer != nullptr)
                plan.observer->advanced(tick + 1 - plan.first, 0);
        }
        outcome.doneBelow = std::min({tick, end, outcome.failure ? outcome.failure->tick : endless});
        return outcome;
    }

private:
    /// Returns false if the run ends before this tick: a generator found no more, or the host stops it.
    bool runTick(RunNodes &nodes, RunPlan const &plan, Tick tick, RunControl &control, Outcome &outcome) {
        std::vector<GraphStream> const &streams = nodes.graph.streams;
        std::vector<std::shared_ptr<Variant>> values(streams.size());
        std::vector<bool> written(streams.size(), false);
        std::vector<std::size_t> readersLeft(streams.size());
        for (std::size_t i = 0; i < streams.size(); i++) readersLeft[i] = streams[i].consumers.size();

        for (std::size_t index : nodes.order) {
            RunNode &node = nodes.nodes[index];
            std::vector<StreamRead> const &reads = node.wiring->reads;
            auto const available = [&](StreamRead const &read) { return written[read.stream]; };
            if (!std::all_of(reads.begin(), reads.end(), available)) continue; // its writer failed
            while (!node.node->readyForProcessingInputs()) {
                if (control.stop) return false;
                std::this_thread::sleep_for(askAgainAfter);
            }

            Task task(node);
            task.begin(tick);
            for (std::size_t i = 0; i < reads.size(); i++) {
                std::size_t const stream = reads[i].stream;
                ValueType const *const type = values[stream] ? valueTypeOf(*values[stream]) : nullptr;
                bool const shared = readersLeft[stream] > 1;
                task.inputs[i] = {shared ? values[stream] : std::move(values[stream]), type, shared};
            }
            runObserved(task, nodes, plan, 0);
            if (task.failure) {
                Failure candidate{*task.failure, node.name(), index, tick};
                if (!outcome.failure || candidate.precedes(*outcome.failure)) outcome.failure = std::move(candidate);
                continue;
            }
            if (node.generator && !task.wroteSomething() && node.node->processProgressNeverPossible()) return false;
            outcome.nodeDoneBelow[index] = tick + 1;
            for (StreamRead const &read : reads) readersLeft[read.stream]--;
            for (std::size_t i = 0; i < node.wiring->outputs.size(); i++) {
                std::size_t const stream = node.wiring->outputs[i].stream;
                written[stream] = true;
                if (streams[stream].isRead()) values[stream] = std::move(task.outputs[i]);
            }
            if (plan.observer != nullptr) plan.observer->advanced(tick - plan.first, bytesOf(values));
        }
        return true;
    }

    static std::uint64_t bytesOf(std::vector<std::shared_ptr<Variant>> const &values) {
        std::uint64_t bytes = 0;
        for (std::shared_ptr<Variant> const &value : values)
            if (ValueType const *const type = value ? valueTypeOf(*value) : nullptr) bytes += type->bytes(*value);
        return bytes;
    }
};

/// One thread that pretends to be several: it keeps some tasks started, and starts and completes them in an order drawn
/// from a seed. What depends on timing shows here, and shows again with the same seed.
class ShuffledExecutor : public Executor {
public:
    Outcome run(RunNodes &nodes, RunPlan const &plan, RunControl &control) override {
        Scheduler scheduler(nodes, plan, control);
        std::mt19937_64 random(plan.seed);
        auto const draw = [&](std::size_t below) { return static_cast<std::size_t>(random() % below); };
        std::vector<Task *> started;
        while (true) {
            if (scheduler.readyCount() > 0 && started.size() < plan.threads && (started.empty() || draw(2) == 0)) {
                if (Task *const task = scheduler.takeAny(draw(scheduler.readyCount()))) started.push_back(task);
            } else if (!started.empty()) {
                std::swap(started[draw(started.size())], started.back());
                runObserved(*started.back(), nodes, plan, 0);
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
    Outcome run(RunNodes &nodes, RunPlan const &plan, RunControl &control) override {
        Scheduler scheduler(nodes, plan, control);
        if (plan.threads == 1) {
            workAlone(scheduler, nodes, plan);
        } else {
            std::vector<std::jthread> workers;
            for (unsigned i = 1; i < plan.threads; i++)
                workers.emplace_back([&, i] { work(scheduler, nodes, plan, i); });
            work(scheduler, nodes, plan, 0);
        }
        return scheduler.outcome();
    }

private:
    static void workAlone(Scheduler &scheduler, RunNodes const &nodes, RunPlan const &plan) {
        while (true) {
            if (Task *const task = scheduler.take()) {
                runObserved(*task, nodes, plan, 0);
                scheduler.complete(task);
            } else if (scheduler.awaitsNode()) {
                std::this_thread::sleep_for(askAgainAfter);
            } else if (scheduler.readyCount() == 0) {
                return;
            }
        }
    }

    void work(Scheduler &scheduler, RunNodes const &nodes, RunPlan const &plan, unsigned worker) {
        std::unique_lock lock(mutex);
        while (!over) {
            Task *const task = scheduler.take();
            if (task == nullptr) {
                waitForWork(scheduler, lock);
                continue;
            }
            if (sleeping > 0 && scheduler.worthWaking(*task)) wake.notify_one();
            lock.unlock();
            runTimed(*task, nodes, plan, worker);
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
    static void runTimed(Task &task, RunNodes const &nodes, RunPlan const &plan, unsigned worker) {
        task.nanoseconds.reset();
        if (task.tick >= 4 && task.tick % 16 != 0) return runObserved(task, nodes, plan, worker);
        auto const begin = Clock::now();
        runObserved(task, nodes, plan, worker);
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
