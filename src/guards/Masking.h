// Guards of the nodes that make and apply masks.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// MaskFactory: a box of a negative size, or of 2^32 pixels and more, would make a mask that says to hold more than it
/// does. A box without columns or rows passes, and makes a mask without elements. All masks together have to stay
/// within 4 GiB.
std::optional<engine::Refusal> maskFactory(engine::GuardView const &view);

/// ApplyMask: every mask that has elements has to have no more than its rectangle, and the rectangle to lie in the
/// target and, with fullSize, in each source that is pasted through it; without, the source has to have as many pixels.
/// Lists whose lengths don't fit pass: the node has a message of its own for them.
std::optional<engine::Refusal> applyMask(engine::GuardView const &view);

} // namespace zun::guards
