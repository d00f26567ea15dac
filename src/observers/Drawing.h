// A pipeline as a picture, in Graphviz's language.
#pragma once

#include <string>

#include "graph/Graph.h"
#include "observers/Statistics.h"

namespace zun::observers {

/// A graph that passed its check: a box for each node with name and type, an arrow for each
/// connection with the stream's name and type expression and the ports at its ends, and a dashed arrow to nowhere for
/// an output that nobody reads. Programs read this, so it stays as it is.
std::string dotGraph(engine::Graph const &graph);

/// Any graph, for people: the same boxes and arrows, and what the check found. A node with errors has a red border, one
/// with warnings an orange one; the first message stands in the box, shortened, and all of them in its tooltip. What
/// concerns no node stands below the graph. A stream without a writer comes from a red point, and an output that nobody
/// reads goes to a grey one. With statistics, the boxes are filled by their nodes' share of the busy time and hold the
/// mean time of a tick.
std::string drawing(engine::Graph const &graph, RunStatistics const *statistics = nullptr);

} // namespace zun::observers
