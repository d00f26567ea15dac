// Filled ellipses in byte arrays.
#pragma once

#include <cstdint>

#include "containers/Vec.h"

namespace zun::kernels {

struct Ellipse {
    int centreRow, centreColumn;
    int horizontalDiameter, verticalDiameter; ///< a vertical diameter below 1 gives an ellipse without any element
};

/// Sets the elements of an ellipse to `value` in a dense array, as far as they lie in it. With the half diameters a
/// and b, the rows i above and below the centre hold the centre column and (int)(a * cos(asin(i / b))) elements on
/// either side of it, in single precision, for every i up to b.
void fillEllipse(unsigned char *array, int rows, int columns, unsigned char value, Ellipse const &ellipse);

/// Blackens the pixels whose byte of the mask is 0, and leaves the others alone.
void blackenUnset(unsigned char const *mask, Vec3b *pixels, std::uint32_t count);

} // namespace zun::kernels
