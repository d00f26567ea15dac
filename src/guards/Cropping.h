// Guards of the nodes that cut rectangles out of frames.
#pragma once

#include <cstdint>
#include <optional>

#include "engine/Facts.h"

namespace zun::guards {

/// The most that one cut may take, 4 GiB: a larger box is a mistake and not a wish.
inline constexpr std::uint64_t largestCutBytes = std::uint64_t(1) << 32;

/// Crop and CropAny. With `clamp`, or inside the frame, every box passes whose sums stay within 32 bits. Any other box
/// must have no negative size, fit in memory, and share columns with the frame where it shares rows with it. A box
/// wholly above or below the frame passes: its cut is all zeros. So does a box without columns or rows.
std::optional<engine::Refusal> crop(engine::GuardView const &view);

} // namespace zun::guards
