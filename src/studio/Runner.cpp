#include "studio/Runner.h"

#include <exception>
#include <string_view>
#include <utility>

#include "observers/ObserverList.h"
#include "observers/Statistics.h"
#include "run/Progress.h"
#include "run/Run.h"

namespace zun::studio {

using Clock = std::chrono::steady_clock;

struct Runner::Watch {
    engine::Progress progress;
    observers::Statistics statistics;
    observers::ObserverList all{[](std::string const &) {}}; // a run without statistics is a run

    Watch() {
        all.add(progress, "the progress");
        all.add(statistics, "the statistics");
    }
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
    control = std::make_shared<engine::RunControl>();
    watch = std::make_shared<Watch>();
    begun = Clock::now();
    thread = std::jthread(
        [this, runs = std::move(next), controls = control, watches = watch] { run(*runs, *controls, *watches); });
    return true;
}

void Runner::run(engine::Graph const &runs, engine::RunControl &controls, Watch &watches) {
    RunState result;
    try {
        engine::RunOptions options;
        options.observer = &watches.all;
        Tick const ticks = engine::run(runs, options, controls);
        result.state = controls.stop ? "stopped" : "done";
        for (observers::NodeStatistics const &node : watches.statistics.result().nodes)
            result.nodes.push_back({node.name, node.share, node.meanMilliseconds});
        result.message = ticks == 0 ? "no tick was run: a source has none" : watches.statistics.result().bound;
    } catch (std::exception const &error) {
        result.state = "failed";
        result.message = error.what();
    }
    {
        std::lock_guard const lock(mutex);
        result.done = watches.progress.ticksDone;
        if (Tick const total = watches.progress.ticksTotal; total != 0) result.total = total;
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
    if (std::string_view(state.state) != "running") return state;
    state.seconds = std::chrono::duration<double>(Clock::now() - begun).count();
    state.done = watch->progress.ticksDone;
    if (Tick const total = watch->progress.ticksTotal; total != 0) state.total = total;
    return state;
}

bool Runner::running() const {
    std::lock_guard const lock(mutex);
    return std::string_view(last.state) == "running";
}

} // namespace zun::studio
