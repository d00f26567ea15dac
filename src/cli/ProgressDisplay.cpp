#include "cli/ProgressDisplay.h"

#include "cli/Terminal.h"
#include "cli/Text.h"
#include "media/Host.h"

namespace zun::cli {

using namespace std::chrono_literals;

ProgressDisplay::ProgressDisplay(engine::Progress const &runProgress)
    : progress(runProgress), start(std::chrono::steady_clock::now()),
      watcher([this](std::stop_token const &stop) { watch(stop); }) {}

ProgressDisplay::~ProgressDisplay() {
    watcher.request_stop();
    watcher.join();
    Terminal::standardError().setStatus("");
}

void ProgressDisplay::watch(std::stop_token const &stop) {
    Terminal &terminal = Terminal::standardError();
    auto const period = terminal.interactive() ? 100ms : 5000ms;
    std::unique_lock lock(mutex);
    while (!ended.wait_for(lock, stop, period, [&] { return stop.stop_requested(); })) {
        std::chrono::duration<double> const elapsed = std::chrono::steady_clock::now() - start;
        std::string line =
            progressLine(progress.ticksDone, progress.ticksTotal, progress.bytesInFlight, elapsed.count());
        if (media::LiveLag const &lag = media::liveLag(); lag.any())
            line += ", " + readableRate(lag.seconds) + " s behind, " + counted(lag.dropped, "frame") + " left out";
        if (terminal.interactive())
            terminal.setStatus(line);
        else
            terminal.write(line);
    }
}

std::string progressLine(Tick done, Tick total, std::uint64_t bytesInFlight, double seconds) {
    double const rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    std::string line = std::to_string(done);
    if (total > 0) line += "/" + std::to_string(total);
    line += " ticks, " + readableRate(rate) + " a second";
    if (total > done && rate > 0) line += ", " + readableDuration(static_cast<double>(total - done) / rate) + " left";
    return line + ", " + readableBytes(bytesInFlight) + " in flight";
}

} // namespace zun::cli
