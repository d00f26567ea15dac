// The cut that Crop and CropAny share.
#pragma once

#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun {

/// Cuts a rectangle out of a frame, onto fresh storage. With `clamp` the cut is the part of the rectangle that lies in
/// the frame, possibly none of it. Without, it has the rectangle's size, and what lies outside repeats the frame's edge
/// as cropReplicate() does; the rectangle then has to overlap the frame's columns where it overlaps its rows.
template <class T>
Mat<T, 2> cropRectangle(Mat<T, 2> const &frame, Box const &box, bool clamp) {
    Rect<int> const asked = roundToInt(box);
    Rect<int> const inside = clipToFrame(asked, frame.shape[0], frame.shape[1]);
    if (!clamp && inside != asked) return cropReplicate(frame, asked.x, asked.y, asked.width, asked.height);
    auto const extent = [](int value) { return static_cast<std::uint32_t>(value); };
    return frame.region(extent(inside.x), extent(inside.y), extent(inside.width), extent(inside.height)).toMat();
}

} // namespace zun
