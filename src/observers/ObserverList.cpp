#include "observers/ObserverList.h"

#include <exception>

namespace zun::observers {

void ObserverList::drop(Entry &entry, std::string const &why, char const *after) {
    if (entry.ended.exchange(true)) return;
    try {
        warning(entry.name + " ended: " + why + after);
    } catch (...) { // there is nobody left to tell
    }
}

template <class Call>
void ObserverList::callEach(Call const &call, char const *after) {
    for (Entry &entry : entries) {
        if (entry.ended.load(std::memory_order_relaxed)) continue;
        try {
            call(entry.observer);
        } catch (std::exception const &error) {
            drop(entry, error.what(), after);
        } catch (...) {
            drop(entry, "an exception of an unknown type", after);
        }
    }
}

void ObserverList::runBegins(engine::Graph const &graph, unsigned workers, Tick first, Tick total) {
    callEach([&](engine::Observer &one) { one.runBegins(graph, workers, first, total); });
}

void ObserverList::runEnded(Tick ticks) {
    callEach([&](engine::Observer &one) { one.runEnded(ticks); }, "");
}

void ObserverList::runFailed(engine::GraphNode const *node, Tick tick, std::string const &message) {
    callEach([&](engine::Observer &one) { one.runFailed(node, tick, message); });
}

void ObserverList::optionChanges(unsigned worker, std::size_t node, Tick tick, std::string const &option,
                                 std::string const &value) {
    callEach([&](engine::Observer &one) { one.optionChanges(worker, node, tick, option, value); });
}

void ObserverList::tickBegins(unsigned worker, std::size_t node, Tick tick) {
    callEach([&](engine::Observer &one) { one.tickBegins(worker, node, tick); });
}

void ObserverList::tickEnds(unsigned worker, std::size_t node, Tick tick, bool failed) {
    callEach([&](engine::Observer &one) { one.tickEnds(worker, node, tick, failed); });
}

void ObserverList::valueWritten(unsigned worker, std::size_t stream, Tick tick, Variant const &value,
                                ValueType const *type) {
    callEach([&](engine::Observer &one) { one.valueWritten(worker, stream, tick, value, type); });
}

void ObserverList::advanced(Tick ticksDone, std::uint64_t bytesInFlight) {
    callEach([&](engine::Observer &one) { one.advanced(ticksDone, bytesInFlight); });
}

void ObserverList::streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) {
    callEach([&](engine::Observer &one) { one.streamHolds(stream, values, bytes); });
}

void ObserverList::nodeWaits(std::size_t node, Tick tick, engine::Wait reason) {
    callEach([&](engine::Observer &one) { one.nodeWaits(node, tick, reason); });
}

} // namespace zun::observers
