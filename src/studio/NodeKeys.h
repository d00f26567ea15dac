// Tells configurations of nodes apart, so that values can be used again for as long as nothing that they depend on has
// changed.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "graph/Graph.h"

namespace zun::studio {

/// Two nodes have the same number if and only if they write the same values: their types, options, connections and
/// stream names are the same, so are the files that their options name, and so are the nodes that they read from. Not
/// thread-safe.
class NodeKeys {
public:
    /// A number for each node of a graph without errors; 0 for one that does not run.
    std::vector<std::uint64_t> of(engine::Graph const &graph, std::vector<bool> const &runs);

private:
    std::uint64_t numberOf(std::string const &configuration);

    std::unordered_map<std::string, std::uint64_t> known;
    std::uint64_t next = 1; ///< a number is never given twice
};

} // namespace zun::studio
