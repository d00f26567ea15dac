// Graphviz's `dot`, as a program that draws and lays out graphs.
#pragma once

#include <string>

namespace zun::observers {

/// What `dot -T<format>` prints for a graph in its language: a picture ("svg", "png", "pdf"), or where everything is
/// ("plain", "json"). Throws zun::Exception if the program is not there, with Debian's package that holds it; if it
/// refuses the graph or the format, with its message; and if it takes longer than 30 seconds. Thread-safe.
std::string graphviz(std::string const &dot, std::string const &format);

} // namespace zun::observers
