// Where the boxes and lines of a graph stand on the page.
#pragma once

#include <string>

#include "graph/Graph.h"

namespace zun::studio {

/// Whether the graph runs from left to right or from top to bottom.
enum class Direction { LeftToRight, TopToBottom };

/// A text that two graphs have in common if and only if they have the same layouts.
std::string structureOf(engine::Graph const &graph);

/// The layout, as Graphviz makes it, as JSON: pixels, y downwards; each node and stream a box with its upper left
/// corner and size, and each edge the points of a Bezier curve. Throws zun::Exception where Graphviz is not there.
std::string layoutText(engine::Graph const &graph, Direction direction);

/// Throws zun::Exception, with the package to install, where Graphviz is not there.
void requireGraphviz();

} // namespace zun::studio
