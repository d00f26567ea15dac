// How a picture has to be turned to stand upright, and the turning.
#pragma once

#include <cstdint>
#include <string_view>

#include "containers/Mat.h"

namespace zun::media {

struct Orientation {
    int rotation = 0;      ///< clockwise: 0, 90, 180 or 270 degrees
    bool mirrored = false; ///< and flipped left to right after the rotation

    bool upright() const { return rotation == 0 && !mirrored; }
    bool swapsSides() const { return rotation == 90 || rotation == 270; }
};

/// Of the values 1 to 8 that EXIF and TIFF have for it; any other value stands for upright.
Orientation orientationFromExif(unsigned value);

/// Of EXIF data from its TIFF header on; upright if they don't say or are damaged.
Orientation orientationOfExif(std::string_view exif);

/// Of a video's display matrix, of nine numbers; the nearest quarter turn.
Orientation orientationOfMatrix(std::int32_t const *matrix);

/// The picture, turned: its own pixels if it is upright, else new storage.
Mat<Vec3b, 2> oriented(Mat<Vec3b, 2> const &picture, Orientation orientation);
Mat<unsigned char, 2> oriented(Mat<unsigned char, 2> const &picture, Orientation orientation);

} // namespace zun::media
