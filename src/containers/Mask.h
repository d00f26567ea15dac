// A part of a frame, picked out pixel by pixel.
#pragma once

#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun {

struct Mask {
    Rect<int> rectangle;        ///< where the mask lies in a frame
    Mat<unsigned char, 2> mask; ///< `rectangle.height` rows of `rectangle.width` columns; what is not 0 is set
};

} // namespace zun
