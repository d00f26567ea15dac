#include "studio/Runner.h"

#include <atomic>
#include <exception>
#include <string_view>
#include <utility>

#include "run/Progress.h"
#include "run/Run.h"

namespace zun::studio {

using Clock = std::chrono::steady_clock;

/// Counts ticks, and the time of each node.
class Runner::Watch final : public engine::Observer {
public:
    explicit Watch(std::size_t nodeCount) : times(nodeCount) {}

    void runBegins(engine::Graph const &, unsigned workers, Tick, Tick ticks) override {
        begun.resize(workers);
        total = ticks;
    }
    void tickBegins(unsigned worker, std::size_t, Tick) override { begun[worker] = Clock::now(); }
    void tickEnds(unsigned worker, std::size_t node, Tick, bool) override {
        std::chrono::nanoseconds const taken = Clock::now() - begun[worker];
        times[node].nanoseconds += static_cast<std::uint64_t>(taken.count());
        times[node].ticks++;
    }
    void advanced(Tick ticks, std::uint64_t) override { done = ticks; }

    void describe(engine::Graph const &graph, RunState &state) const {
        state.done = done;
        if (total != 0) state.total = total;
        std::uint64_t sum = 0;
        for (Time const &time : times) sum += time.nanoseconds;
        for (std::size_t i = 0; i < times.size(); i++) {
            auto const nanoseconds = static_cast<double>(times[i].nanoseconds);
            std::uint64_t const ticks = times[i].ticks;
            state.nodes.push_back({graph.nodes[i].description->name,
                                   sum == 0 ? 0 : nanoseconds / static_cast<double>(sum),
                                   ticks == 0 ? 0 : nanoseconds / static_cast<double>(ticks) / 1e6});
        }
    }

private:
    struct Time {
        std::atomic<std::uint64_t> nanoseconds = 0, ticks = 0;
    };

    std::atomic<Tick> done = 0, total = 0;
    std::vector<Clock::time_point> begun; ///< by worker
    std::vector<Time> times;              ///< by node
};

Runner::Runner(std::function<void()> onEnd) : ended(std::move(onEnd)) {}

Runner::~Runner() { stop(); }

bool Runner::start(std::shared_ptr<engine::Graph const> next) {
    std::jthread before; // has ended, but for its return, and is joined without the lock
    std::lock_guard const lock(mutex);
    if (std::string_view(last.state) == "running") return false;
    before = std::move(thread);
    last = {};
    last.state = "running";
    graph = std::move(next);
    control = std::make_shared<engine::RunControl>();
    watch = std::make_shared<Watch>(graph->nodes.size());
    begun = Clock::now();
    thread =
        std::jthread([this, runs = graph, controls = control, watches = watch] { run(*runs, *controls, *watches); });
    return true;
}

void Runner::run(engine::Graph const &runs, engine::RunControl &controls, Watch &watches) {
    RunState result;
    try {
        engine::RunOptions options;
        options.observer = &watches;
        Tick const ticks = engine::run(runs, options, controls);
        result.state = controls.stop ? "stopped" : "done";
        if (ticks == 0) result.message = "no tick was run: a source has none";
    } catch (std::exception const &error) {
        result.state = "failed";
        result.message = error.what();
    }
    {
        std::lock_guard const lock(mutex);
        result.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
        last = std::move(result);
    }
    ended();
}

void Runner::stop() {
    std::lock_guard const lock(mutex);
    if (control) control->stop = true;
}

RunState Runner::state() const {
    std::lock_guard const lock(mutex);
    RunState state = last;
    if (std::string_view(state.state) == "running")
        state.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
    if (watch) watch->describe(*graph, state);
    return state;
}

bool Runner::running() const {
    std::lock_guard const lock(mutex);
    return std::string_view(last.state) == "running";
}

} // namespace zun::studio
