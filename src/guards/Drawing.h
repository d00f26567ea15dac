// Guards of the nodes that draw.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// DrawPoints: every point has to land on an element of the frame. A column past the end of its row, which lands in a
/// row below, does.
std::optional<engine::Refusal> drawPoints(engine::GuardView const &view);

} // namespace zun::guards
