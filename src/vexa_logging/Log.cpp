#include "vexa_logging/Log.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <mutex>

#include <unistd.h>

namespace zun::log {
namespace {

/// One write for the whole line, so that lines of several threads and processes don't mix.
void writeToStandardError(std::string const &channel, Level level, std::string const &message) {
    std::string const line = "[" + channel + "] " + levelName(level) + ": " + message + "\n";
    for (std::size_t written = 0; written < line.size();) {
        ssize_t const step = ::write(STDERR_FILENO, line.data() + written, line.size() - written);
        if (step > 0)
            written += static_cast<std::size_t>(step);
        else if (step == 0 || errno != EINTR)
            return; // nowhere left to report to
    }
}

struct Channel {
    std::mutex mutex; // guards the pointer alone, never a call of the sink
    std::shared_ptr<Sink const> sink = std::make_shared<Sink const>(writeToStandardError);
    std::atomic<Level> lowest = Level::Hint;
};

/// Never destroyed: nodes and frames may log while the process exits.
Channel &channel() {
    static Channel &instance = *new Channel;
    return instance;
}

} // namespace

char const *levelName(Level level) {
    switch (level) {
    case Level::Debug:
        return "debug";
    case Level::Hint:
        return "hint";
    case Level::Info:
        return "info";
    case Level::Warning:
        return "warning";
    case Level::Error:
        return "error";
    case Level::Silent:
        return "silent";
    }
    return "log";
}

void _output(std::string const &channelName, Level level, std::string const &message) {
    Channel &out = channel();
    if (level < out.lowest.load(std::memory_order_relaxed)) return;
    std::shared_ptr<Sink const> sink;
    {
        std::lock_guard const lock(out.mutex);
        sink = out.sink;
    }
    (*sink)(channelName, level, message);
}

void setSink(Sink sink) {
    auto next = std::make_shared<Sink const>(sink ? std::move(sink) : Sink(writeToStandardError));
    Channel &out = channel();
    std::lock_guard const lock(out.mutex);
    out.sink.swap(next);
}

void setLevel(Level lowest) { channel().lowest.store(lowest, std::memory_order_relaxed); }

} // namespace zun::log
