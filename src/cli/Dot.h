// A pipeline as a picture, in Graphviz's language.
#pragma once

#include <string>

#include "graph/Graph.h"

namespace zun::cli {

/// A graph that passed its check: a box for each node with name and type, an arrow for each
/// connection with the stream's name and type expression and the ports at its ends, and a dashed arrow to nowhere for
/// an output that nobody reads.
std::string dotGraph(engine::Graph const &graph);

/// A text as a quoted string of the language that shows as it is.
std::string dotQuoted(std::string const &text);

} // namespace zun::cli
