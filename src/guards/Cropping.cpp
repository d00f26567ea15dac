#include "guards/Cropping.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <string>

#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun::guards {
namespace {

struct Extent {
    std::int64_t rows, columns;
};

/// What is wrong with the part of a box that the node takes to lie in the frame, or null. Only sums that wrap around
/// 32 bits make that part reach out of it.
char const *faultOfInside(Rect<int> const &inside, Extent frame) {
    bool const lies =
        std::int64_t(inside.x) + inside.width <= frame.columns && std::int64_t(inside.y) + inside.height <= frame.rows;
    return lies ? nullptr : "reaches beyond what 32-bit coordinates hold";
}

/// What is wrong with a box that is cut with its frame's edges repeated, or null.
char const *faultOfPadded(Rect<int> const &box, Extent frame, std::uint64_t elementBytes) {
    constexpr std::int64_t largest = std::numeric_limits<int>::max(), smallest = std::numeric_limits<int>::min();
    if (box.width < 0 || box.height < 0) return "has a negative size";
    if (box.width == 0 || box.height == 0) return nullptr;
    if (std::uint64_t(box.width) * std::uint64_t(box.height) > largestCutBytes / elementBytes)
        return "is larger than any frame may be";

    std::int64_t const x = box.x, y = box.y, right = x + box.width, bottom = y + box.height;
    bool const wraps = right > largest || bottom > largest || y == smallest; // the node negates y
    if (wraps || frame.rows > largest || frame.columns > largest) return "reaches beyond what 32-bit coordinates hold";

    bool const sharesRows = std::max<std::int64_t>(y, 0) < std::min(bottom, frame.rows);
    if (!sharesRows) return nullptr;
    if (right < 0) return "lies wholly left of the frame";
    if (x > frame.columns) return "lies wholly right of the frame";
    return frame.columns > 0 ? nullptr : "asks for the edge of a frame that has no column";
}

std::string show(Box const &box) {
    std::ostringstream text;
    text << "(x " << box.x << ", y " << box.y << ", width " << box.width << ", height " << box.height << ")";
    return text.str();
}

template <class T>
std::optional<engine::Refusal> check(Mat<T, 2> const &frame, Box const &box, bool clamp) {
    Rect<int> const asked = roundToInt(box), inside = clipToFrame(asked, frame.shape[0], frame.shape[1]);
    Extent const extent{frame.shape[0], frame.shape[1]};
    bool const padded = !clamp && inside != asked;
    char const *const fault = padded ? faultOfPadded(asked, extent, sizeof(T)) : faultOfInside(inside, extent);
    if (fault == nullptr) return std::nullopt;

    std::ostringstream reason;
    reason << "box " << show(box) << " " << fault << " (" << extent.rows << " rows, " << extent.columns
           << " columns); send boxes that overlap the frame" << (padded ? ", or set the option clamp" : "");
    return engine::Refusal{"box", reason.str()};
}

} // namespace

std::optional<engine::Refusal> crop(engine::GuardView const &view) {
    auto const *const box = view.input<Box>("box");
    if (box == nullptr) return std::nullopt;
    bool const clamp = view.option<bool>("clamp", false);
    if (auto const *const bytes = view.input<Mat<Vec3b, 2>>("image")) return check(*bytes, *box, clamp);
    if (auto const *const floats = view.input<Mat<Vec3f, 2>>("image")) return check(*floats, *box, clamp);
    return std::nullopt;
}

} // namespace zun::guards
