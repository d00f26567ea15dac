#include "observers/RecordLines.h"

#include <utility>

namespace zun::observers {

void RecordLines::add(Tick tick, std::string line) {
    std::lock_guard const lock(mutex);
    if (file == nullptr) return;
    waiting[tick] = std::move(line);
    writeBelow(doneBelow.load(std::memory_order_acquire));
}

void RecordLines::finish(Tick end) {
    std::lock_guard const lock(mutex);
    if (file == nullptr) return;
    writeBelow(end);
    complete();
}

void RecordLines::writeBelow(Tick end) {
    std::string lines;
    auto const stop = waiting.lower_bound(end);
    for (auto line = waiting.begin(); line != stop; ++line) lines += line->second;
    waiting.erase(waiting.begin(), stop);
    if (lines.empty()) return;
    try {
        file->write(lines);
        wrote = true;
    } catch (...) {
        complete();
        throw;
    }
}

/// Leaves what was written before; a failed write adds nothing.
void RecordLines::complete() {
    std::unique_ptr<media::AtomicFile> const finished = std::move(file);
    if (wrote) finished->commit();
}

} // namespace zun::observers
