// What Crop and CropAny share: the cut, and which boxes can't be cut.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "node/Guard.h"

namespace zun {

/// Cuts a rectangle out of a frame, onto fresh storage. With `clamp` the cut is the part of the rectangle that lies in
/// the frame, possibly none of it. Without, it has the rectangle's size, and what lies outside repeats the frame's edge
/// as cropReplicate() does.
template <class T>
Mat<T, 2> cropRectangle(Mat<T, 2> const &frame, Box const &box, bool clamp) {
    Rect<int> const asked = roundToInt(box);
    Rect<int> const inside = clipToFrame(asked, frame.shape[0], frame.shape[1]);
    if (!clamp && inside != asked) return cropReplicate(frame, asked.x, asked.y, asked.width, asked.height);
    auto const extent = [](int value) { return static_cast<std::uint32_t>(value); };
    return frame.region(extent(inside.x), extent(inside.y), extent(inside.width), extent(inside.height)).toMat();
}

namespace detail {

struct CropExtent {
    std::int64_t rows, columns;
};

/// What is wrong with the part of a box that the node takes to lie in the frame, or null. It reaches out of the frame
/// only where sums wrap around 32 bits.
inline char const *faultOfInside(Rect<int> const &inside, CropExtent frame) {
    bool const lies =
        std::int64_t(inside.x) + inside.width <= frame.columns && std::int64_t(inside.y) + inside.height <= frame.rows;
    return lies ? nullptr : "reaches beyond what 32-bit coordinates hold";
}

/// Whether cropReplicate() copies anything; otherwise the cut stays zero, even one of a negative size.
inline bool copies(Rect<int> const &box, CropExtent frame) {
    int const rows = static_cast<int>(frame.rows), columns = static_cast<int>(frame.columns);
    int const right = wrappingAdd(box.x, box.width), bottom = wrappingAdd(box.y, box.height);
    int const last = wrappingSubtract(wrappingSubtract(rows, 1), box.y);
    bool const sharesRows = std::max(box.y, 0) < std::min(bottom, rows);
    bool const above = box.y < 0 && box.height > wrappingSubtract(0, box.y) && box.y < bottom;
    bool const below = last >= 0 && last < box.height && std::max(rows, box.y) < bottom;
    return above || below || (sharesRows && (box.width > 0 || box.x < 0 || right > columns));
}

/// What is wrong with where a box of a positive size lies, or null. One that misses the frame's columns on rows of the
/// frame writes into the row after its own, or the one before, and may do so within the cut.
inline char const *faultOfPlace(Rect<int> const &box, CropExtent frame) {
    constexpr std::int64_t largest = std::numeric_limits<int>::max(), smallest = std::numeric_limits<int>::min();
    std::int64_t const x = box.x, y = box.y, right = x + box.width, bottom = y + box.height;
    bool const wraps = right > largest || bottom > largest || y == smallest; // the node negates y
    if (wraps || frame.rows > largest || frame.columns > largest) return "reaches beyond what 32-bit coordinates hold";

    std::int64_t const first = std::max<std::int64_t>(y, 0), end = std::min(bottom, frame.rows);
    if (first >= end) return nullptr;
    if (frame.columns == 0) return "asks for the edge of a frame that has no column";
    if (right < 0 && (end - 1 - y) * box.width - x > std::int64_t(box.width) * box.height)
        return "lies wholly left of the frame";
    bool const writesBefore = x > frame.columns && (first - y) * box.width + frame.columns - x < 0;
    return writesBefore ? "lies wholly right of the frame" : nullptr;
}

/// What is wrong with a box that is cut with its frame's edges repeated, or null.
inline char const *faultOfPadded(Rect<int> const &box, CropExtent frame, std::uint64_t elementBytes) {
    if (box.width == 0 || box.height == 0) return nullptr;
    bool const negative = box.width < 0 || box.height < 0, copied = copies(box, frame);
    if (negative && copied) return "has a negative size";
    std::uint64_t const elements = copied ? std::uint64_t(box.width) * std::uint64_t(box.height)
                                          : elementCount<2>({std::uint32_t(box.height), std::uint32_t(box.width)});
    if (elements > mostBytes / elementBytes)
        return negative ? "has a negative size" : "is larger than any frame may be";
    return copied ? faultOfPlace(box, frame) : nullptr;
}

} // namespace detail

/// The guard of the nodes. `at` is the input of the box; `frame` may be null, as may `box`.
template <class T>
Verdict checkCrop(InputStream<Box> const &at, Mat<T, 2> const *frame, Box const *box, bool clamp) {
    if (frame == nullptr || box == nullptr) return pass;
    Rect<int> const asked = roundToInt(*box), inside = clipToFrame(asked, frame->shape[0], frame->shape[1]);
    detail::CropExtent const extent{frame->shape[0], frame->shape[1]};
    bool const padded = !clamp && inside != asked;
    char const *const fault =
        padded ? detail::faultOfPadded(asked, extent, sizeof(T)) : detail::faultOfInside(inside, extent);
    if (fault == nullptr) return pass;
    return refuse(at, "box ", *box, " ", fault, " (", extent.rows, " rows, ", extent.columns,
                  " columns); send boxes that overlap the frame", padded ? ", or set the option clamp" : "");
}

} // namespace zun
