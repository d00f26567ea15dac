// Several observers of one run.
#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <string>

#include "run/Observer.h"

namespace zun::observers {

/// Hands each call to several observers, in the order in which they were added. Where one throws, it is dropped for the
/// rest of the run, with a warning, and neither the run nor the others notice: "the trace ended: ... The run goes on."
/// As thread-safe as Observer says; observers are added before the run.
class ObserverList final : public engine::Observer {
public:
    /// Takes the warnings; is called from several threads at once.
    using Warn = std::function<void(std::string const &)>;

    explicit ObserverList(Warn warn) : warning(std::move(warn)) {}

    /// The observer has to outlive the run; `name` is what a warning calls it, such as "the trace".
    void add(engine::Observer &observer, std::string const &name) { entries.emplace_back(observer, name); }

    void runBegins(engine::Graph const &graph, unsigned workers, Tick first, Tick total) override;
    void runEnded(Tick ticks) override;
    void runFailed(engine::GraphNode const *node, Tick tick, std::string const &message) override;
    void optionChanges(unsigned worker, std::size_t node, Tick tick, std::string const &option,
                       std::string const &value) override;
    void tickBegins(unsigned worker, std::size_t node, Tick tick) override;
    void tickEnds(unsigned worker, std::size_t node, Tick tick, bool failed) override;
    void valueWritten(unsigned worker, std::size_t stream, Tick tick, Variant const &value,
                      ValueType const *type) override;
    void advanced(Tick ticksDone, std::uint64_t bytesInFlight) override;
    void streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) override;
    void nodeWaits(std::size_t node, Tick tick, engine::Wait reason) override;

private:
    struct Entry {
        Entry(engine::Observer &added, std::string spoken) : observer(added), name(std::move(spoken)) {}

        engine::Observer &observer;
        std::string name;
        std::atomic<bool> ended = false;
    };

    void drop(Entry &entry, std::string const &why, char const *after);

    template <class Call>
    void callEach(Call const &call, char const *after = ". The run goes on.");

    Warn warning;
    std::deque<Entry> entries;
};

} // namespace zun::observers
