#include "media/Host.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <thread>

namespace zun::media {
namespace {

struct Warnings {
    std::mutex mutex;
    std::function<void(std::string const &)> sink;
    std::set<std::string> given;
};

Warnings &warnings() {
    static Warnings kept;
    return kept;
}

} // namespace

unsigned HostSettings::threadBudget() const {
    return threads != 0 ? threads : std::max(std::thread::hardware_concurrency(), 1u);
}

HostSettings &hostSettings() {
    static HostSettings settings;
    return settings;
}

LiveLag &liveLag() {
    static LiveLag lag;
    return lag;
}

void setWarningSink(std::function<void(std::string const &)> sink) {
    Warnings &all = warnings();
    std::lock_guard const lock(all.mutex);
    all.sink = std::move(sink);
    all.given.clear();
}

void warnOnce(std::string const &text) {
    constexpr std::size_t mostKept = 1000;
    Warnings &all = warnings();
    std::lock_guard const lock(all.mutex);
    if (all.sink && all.given.size() < mostKept && all.given.insert(text).second) all.sink(text);
}

} // namespace zun::media
