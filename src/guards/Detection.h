// Guards of the nodes that find edges, lines and contours.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// FindContours: the frame with its border, widened to integers, fits in memory.
std::optional<engine::Refusal> findContours(engine::GuardView const &view);

} // namespace zun::guards
