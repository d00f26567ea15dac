// What changes between two texts, line by line.
#pragma once

#include <string>

namespace zun::engine {

/// The lines that change from one text to the other, in the unified format, with three lines around each change; empty
/// where both are the same. `name` stands in the head. Where very much changes, the lines between the first and the
/// last change are shown as replaced, so that time and memory stay small.
std::string unifiedDiff(std::string const &before, std::string const &after, std::string const &name);

} // namespace zun::engine
