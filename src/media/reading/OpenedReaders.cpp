#include "media/reading/OpenedReaders.h"

#include <chrono>
#include <deque>
#include <mutex>
#include <optional>

#include <sys/stat.h>

namespace zun::media {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t mostKept = 4;
constexpr std::chrono::seconds longestKept{10};

/// What tells a file from what it was before.
struct State {
    ino_t node = 0;
    off_t size = 0;
    timespec changed{};

    bool operator==(State const &other) const {
        return node == other.node && size == other.size && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};

std::optional<State> stateOf(std::string const &path) {
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0 || !S_ISREG(facts.st_mode)) return std::nullopt;
    return State{facts.st_ino, facts.st_size, facts.st_ctim};
}

struct Kept {
    std::string path;
    ReadSettings settings;
    State state;
    Clock::time_point since;
    std::unique_ptr<FrameReader> reader;
};

struct Shelf {
    std::mutex mutex;
    std::deque<Kept> kept;

    void removeOld() {
        while (!kept.empty() && (kept.size() > mostKept || Clock::now() - kept.front().since > longestKept))
            kept.pop_front();
    }
};

Shelf &shelf() {
    static Shelf all;
    return all;
}

} // namespace

std::unique_ptr<FrameReader> takeOpened(std::string const &path, ReadSettings const &settings) {
    if (std::optional<State> const state = stateOf(path)) {
        Shelf &all = shelf();
        std::lock_guard const lock(all.mutex);
        all.removeOld();
        for (auto at = all.kept.begin(); at != all.kept.end(); ++at)
            if (at->path == path && at->settings == settings && at->state == *state) {
                std::unique_ptr<FrameReader> reader = std::move(at->reader);
                all.kept.erase(at);
                return reader;
            }
    }
    return std::make_unique<FrameReader>(path, settings);
}

void keepOpened(std::string const &path, ReadSettings const &settings, std::unique_ptr<FrameReader> reader) {
    std::optional<State> const state = stateOf(path);
    if (!reader || !state || reader->position() != 0) return;
    Shelf &all = shelf();
    std::lock_guard const lock(all.mutex);
    all.kept.push_back({path, settings, *state, Clock::now(), std::move(reader)});
    all.removeOld();
}

} // namespace zun::media
