// What a value looks like: the frames in it, as pictures that a person can see.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "containers/Variant.h"
#include "media/writing/Pixels.h"

namespace zun::observers {

/// One frame of a value. A grey frame whose pixels are all 0 or 1 is a binary one, and 1 shows as 255. A frame of
/// floats is scaled so that the least of its numbers shows as 0 and the greatest as 255; a NaN shows as 0. All other
/// frames show as they are.
struct Picture {
    /// The range of a frame of floats; numbers that are not finite don't count. Equal where there is nothing between.
    struct Range {
        float from = 0, to = 0;
    };

    media::Pixels pixels; ///< bytes; they share the storage of a frame that shows as it is
    bool binary = false;
    std::optional<Range> range;
    int x = 0, y = 0; ///< of a mask: the place of its upper left corner, in the frame that it is for
};

/// How many frames a value holds: 1 of a frame or a mask, the elements of a list of them, and 0 of anything else.
/// Thread-safe, as are all functions here.
std::size_t frameCount(Variant const &value);

/// Whether the value is a list of frames or masks, even one without elements.
bool isFrameList(Variant const &value);

/// The frame of this index. Throws zun::Exception for a frame without pixels, or with a shape that says more than it
/// holds.
Picture pictureOf(Variant const &value, std::size_t index);

/// The very numbers of one pixel, by channel; none for a place outside of the frame.
std::vector<double> pixelAt(Variant const &value, std::size_t index, std::int64_t x, std::int64_t y);

/// A picture of at most so many pixels a side, each the mean of those that it covers; the same one if it is small
/// enough.
media::Pixels reduced(media::Pixels const &pixels, int mostWidth, int mostHeight);

} // namespace zun::observers
