// Rectangles: a corner and a size, x along the width of a frame and y along its height.
#pragma once

#include <algorithm>
#include <cstdint>

#include "containers/Arithmetic.h"

namespace zun {

template <class T>
struct Rect {
    T x;      ///< first column
    T y;      ///< first row
    T width;  ///< number of columns
    T height; ///< number of rows

    friend constexpr bool operator==(Rect const &, Rect const &) = default;
};

/// In pixels; may be fractional and may lie partly or wholly outside a frame.
using Box = Rect<float>;
using Rectf = Rect<float>;

/// Each of the four numbers rounded by itself, halves away from zero.
inline Rect<int> roundToInt(Rect<float> const &box) {
    return {roundToInt(box.x), roundToInt(box.y), roundToInt(box.width), roundToInt(box.height)};
}

/// The part of a rectangle that lies in a frame; all zeros if no pixel does. Sums wrap.
inline Rect<int> clipToFrame(Rect<int> const &rect, std::uint32_t rows, std::uint32_t columns) {
    int const left = std::max(rect.x, 0), top = std::max(rect.y, 0);
    int const width = wrappingSubtract(std::min(wrappingAdd(rect.x, rect.width), static_cast<int>(columns)), left);
    int const height = wrappingSubtract(std::min(wrappingAdd(rect.y, rect.height), static_cast<int>(rows)), top);
    if (width < 1 || height < 1) return {0, 0, 0, 0};
    return {left, top, width, height};
}

} // namespace zun
