// Filled ellipses in byte arrays.
#pragma once

#include <cstdint>

#include "containers/Vec.h"
#include "imgproc/kernels/FrameSize.h"

namespace zun::kernels {

struct Ellipse {
    int centreRow, centreColumn;
    int horizontalDiameter, verticalDiameter; ///< a vertical diameter below 1 gives an ellipse without any element
};

/// Sets the elements of an ellipse to `value` in a dense array, as far as they lie in it. With the half diameters a
/// and b, the rows i above and below the centre hold the centre column and (int)(a * cos(asin(i / b))) elements on
/// either side of it, in single precision, for every i up to b.
void fillEllipse(unsigned char *array, int rows, int columns, unsigned char value, Ellipse const &ellipse);

/// Copies the pixels of an ellipse, as far as they lie in the frame, and makes all others black. The frames must not
/// overlap.
void copyEllipse(Vec3b const *in, Vec3b *out, FrameSize size, Ellipse const &ellipse);

} // namespace zun::kernels
