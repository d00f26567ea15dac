// Ticks as a command line gives them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "pipeline/Tick.h"

namespace zun::cli {

struct TickRange {
    Tick first = 0;
    Tick end = endless; ///< not among them
};

/// A number from 0 up; nothing for another text.
std::optional<Tick> parseTick(std::string_view text);

/// Reads "a:b"; either may be left out. Returns what is wrong, or nothing.
std::string readTickRange(std::string const &text, TickRange &range);

} // namespace zun::cli
