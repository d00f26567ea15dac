// From a description to the graph that runs.
#pragma once

#include "description/Description.h"
#include "graph/Graph.h"

namespace zun::engine {

/// Wires a description's nodes, and finds everything that is wrong with it: errors that would fail the run, and
/// warnings. The node types have to be registered, so plug-ins are loaded before.
///
/// Errors: what is wrong with the description's form; an unknown node type, port, option or limit (with the nearest
/// known name); a required input or option that is missing; an option value of the wrong kind; a stream that is read
/// but not written, written twice, or part of a cycle; types that don't agree; what a node forecasts that it fails at;
/// a file that two nodes write, or one writes and another reads. Warnings: an output nobody reads, a limit that starves
/// a node, an option value that makes no sense for the option, a number that an int option cuts, and a stream whose
/// frames one node changes in place while others read them.
///
/// A problem is reported once: a misspelt name counts as the one it most likely means from then on. Thread-safe. Throws
/// nothing of its own.
Graph check(Description description);

} // namespace zun::engine
