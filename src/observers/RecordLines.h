// Lines of ticks, from several threads into one file, in the order of the ticks.
#pragma once

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "media/files/AtomicFile.h"
#include "pipeline/Tick.h"

namespace zun::observers {

/// Lines of ticks that the run has not completed wait, so that earlier ones go before them and those past the run's end
/// can be left out. Thread-safe, but for the constructor.
class RecordLines {
public:
    /// Throws zun::Exception where the file can't be made.
    explicit RecordLines(std::string const &path) : file(std::make_unique<media::AtomicFile>(path)) {}

    /// Takes a tick's line, and writes those that are certain. Throws zun::Exception where the file can't be written;
    /// it is complete then, with the lines before. After that, and after finish(), does nothing.
    void add(Tick tick, std::string line);

    /// All ticks below are done, so no earlier line will come.
    void completed(Tick below) { doneBelow.store(below, std::memory_order_release); }

    /// Writes the lines below `end` that wait, and completes the file, unless it would be empty. Throws as add() does.
    void finish(Tick end);

private:
    void writeBelow(Tick end);
    void complete();

    std::atomic<Tick> doneBelow = 0;
    std::mutex mutex; ///< of all below
    std::unique_ptr<media::AtomicFile> file;
    std::map<Tick, std::string> waiting;
    bool wrote = false;
};

} // namespace zun::observers
