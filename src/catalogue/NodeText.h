// What is known of a node type, as a person reads it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "pipeline/NodeRegistry.h"

namespace zun::engine {

/// A type's summary, streams and options, with types and defaults, and how it stands in a description.
std::string nodeText(NodeRegistry::Entry const &entry);

/// What a type's documentation says of a port or option; empty where it says nothing.
std::string textFor(std::map<std::string, std::string> const &texts, std::string const &name);

/// Rows of cells, each column as wide as its widest cell.
std::string alignedTable(std::vector<std::vector<std::string>> const &rows);

} // namespace zun::engine
