// How the engine gathers what is wrong with a description, and words it.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/Description.h"

namespace zun::engine {

class Report {
public:
    void error(Place place, std::string message) {
        found.push_back({Finding::Severity::Error, std::move(place), std::move(message)});
    }
    void warning(Place place, std::string message) {
        found.push_back({Finding::Severity::Warning, std::move(place), std::move(message)});
    }

    /// The end of a message about an unknown name: the nearest known one or, if none is near and they are few, all.
    std::string knownNames(std::string const &wrong, std::vector<std::string> const &known);

    /// The known name that a wrong one most likely means, so that reading can go on as if it stood there.
    std::optional<std::string> nearest(std::string const &wrong, std::vector<std::string> const &known);

    /// What was found, in the order of the file; what has no place in it comes last.
    Findings takeSorted();

private:
    Findings found;
    int searchesLeft = 200; ///< a search takes time, and a hostile description could hold 100,000 wrong names
};

/// A name or value in quotes, as messages show it: on one line, and shortened if long.
std::string quoted(std::string const &text);

/// The keys of a map.
template <class Map>
std::vector<std::string> keysOf(Map const &map) {
    std::vector<std::string> keys;
    for (auto const &entry : map) keys.push_back(entry.first);
    return keys;
}

} // namespace zun::engine
