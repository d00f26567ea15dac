// Guards of the nodes that blur and that equalise histograms.
#pragma once

#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// GreyBoxBlur and RGBBoxBlur: a box has at least one row and column, and the frame with half of it on every side fits
/// in memory. On an empty frame every box passes.
std::optional<engine::Refusal> boxBlur(engine::GuardView const &view);

/// NormalizeGreyImage: the frame must not be empty.
std::optional<engine::Refusal> normalizeGreyImage(engine::GuardView const &view);

/// NormalizeYCbCrImage: at least one bin, unless the frame is empty.
std::optional<engine::Refusal> normalizeYCbCrImage(engine::GuardView const &view);

/// SlidingWindowNormalizeGreyImage: the windows have to move on, as far as there are rows and columns to move over, and
/// to cover every pixel, and no pixel's counts may come to a multiple of 2^32, which their 32 bits take for none.
std::optional<engine::Refusal> slidingWindowNormalizeGreyImage(engine::GuardView const &view);

} // namespace zun::guards
