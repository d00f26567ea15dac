// Guards of the nodes that draw.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// Whether an option holds no colour string, so that the node fails by itself before it draws anything.
bool colourFails(engine::GuardView const &view, char const *option);

/// DrawPoints: every point has to land on an element of the frame. A column past the end of its row, which lands in a
/// row below, does.
std::optional<engine::Refusal> drawPoints(engine::GuardView const &view);

/// DrawText: a location for every string.
std::optional<engine::Refusal> drawText(engine::GuardView const &view);

/// DrawBoxes: a text for every box, where texts are connected, and boxes and outlines whose sums don't wrap around 32
/// bits in such a way that they lead out of the frame. What comes behind the point where the node fails by itself, be
/// it at a box outside the frame or at the colour, is not looked at.
std::optional<engine::Refusal> drawBoxes(engine::GuardView const &view);

} // namespace zun::guards
