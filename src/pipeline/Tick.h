// The time of a pipeline: a count of frames.
#pragma once

#include <cstdint>
#include <limits>

namespace zun {

using Tick = std::uint64_t;

/// Later than every tick: the end of a run that nothing bounds.
inline constexpr Tick endless = std::numeric_limits<Tick>::max();

} // namespace zun
