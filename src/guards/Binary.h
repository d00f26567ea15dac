// Guards of the nodes that make and work on binary frames.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// Grey2BinarySequence: the list must fit in memory. Every threshold passes, and so does a count that the node refuses
/// itself.
std::optional<engine::Refusal> grey2BinarySequence(engine::GuardView const &view);

/// ApplyHomogenousMorphology: an element has at least one cell, an origin among its cells, and no more columns and rows
/// than the frame and one. On an empty frame every element passes, and so does on any a value that the node refuses
/// itself.
std::optional<engine::Refusal> applyHomogenousMorphology(engine::GuardView const &view);

/// BinaryLongLineRemover: the frame's strides, by which its columns are read, must not lead out of it.
std::optional<engine::Refusal> binaryLongLineRemover(engine::GuardView const &view);

} // namespace zun::guards
