// Solid rectangles.
#pragma once

#include <cstdint>

#include "containers/Vec.h"

namespace zun::kernels {

/// Sets `height` rows of `width` pixels to one colour. Each row begins `pitch` pixels after the one above, and `pitch`
/// is at least `width`.
void fillRectangle(Vec3b *first, std::uint64_t width, std::uint64_t height, std::uint64_t pitch, Vec3b colour);

} // namespace zun::kernels
