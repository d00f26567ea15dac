// What sources of frames are, ahead of running them.
#pragma once

#include <string>

#include "graph/Graph.h"

namespace zun::studio {

/// Why a node's values can't be shown at any tick one likes: it reads standard input, a pipe, an address or a camera,
/// which can't go back. Empty for all other nodes.
std::string whyNotByTick(engine::GraphNode const &node);

/// Throws zun::Exception, with its name, for the first node of the graph that can't be shown tick by tick.
void requireByTick(engine::Graph const &graph);

} // namespace zun::studio
