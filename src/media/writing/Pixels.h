// A frame as image and video files take it: rows of bytes, or of floats.
#pragma once

#include <cstdint>
#include <memory>

#include "containers/Variant.h"

namespace zun::media {

/// Dense rows of numbers with 1 channel (grey), 3 (RGB) or 4 (RGBA).
struct Pixels {
    std::shared_ptr<unsigned char> bytes;
    std::shared_ptr<float> floats; ///< in place of `bytes`, where they were asked for
    int width = 0;
    int height = 0;
    int channels = 0;

    bool sameForm(Pixels const &other) const {
        return width == other.width && height == other.height && channels == other.channels;
    }

    /// Of a row of bytes; as many numbers are in a row of floats.
    std::size_t rowBytes() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels); }
};

/// The pixels of a frame of bytes as they are, without a copy, or, if `scale` is not 0, of any frame, each number
/// multiplied by it, rounded, halves away from zero, and clamped to 0..255; a NaN gives 0. A frame of floats without a
/// scale stays as it is where `takesFloats`. Throws zun::Exception for a value that is not a frame, for a frame of
/// floats that can't stay, and for a frame without pixels.
Pixels pixelsOf(std::shared_ptr<Variant> const &value, float scale, bool takesFloats);

} // namespace zun::media
