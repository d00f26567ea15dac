#include "guards/Drawing.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun::guards {
namespace {

using Frame = Mat<Vec3b, 2>;

/// Where the node writes a point, computed as the node does.
std::uint64_t flatIndex(Vec2f const &point, std::uint32_t columns) {
    auto const row = static_cast<std::uint32_t>(truncateToInt(point[0]));
    auto const column = static_cast<std::uint32_t>(truncateToInt(point[1]));
    return std::uint64_t(row) * columns + column;
}

int area(Rect<int> const &rect) { return wrappingMultiply(rect.width, rect.height); }

std::string show(Box const &box) {
    std::ostringstream text;
    text << "(x " << box.x << ", y " << box.y << ", width " << box.width << ", height " << box.height << ")";
    return text.str();
}

/// Whether painting what clipToFrame() left of a rectangle leads out of the frame's elements. It does only where sums
/// wrapped around 32 bits, or where the strides are not those of the shape.
bool leaves(Frame const &frame, Rect<int> const &cut) {
    if (cut.width == 0 || frame.count == 0) return false;
    auto const width = static_cast<std::uint32_t>(cut.width), rowsBelow = static_cast<std::uint32_t>(cut.height) - 1;
    std::uint32_t const gap = frame.strides[0] - frame.strides[1] * width; // modulo 2^32, as the node has it
    std::uint64_t const corner = std::uint64_t(cut.x) + std::uint64_t(cut.y) * frame.shape[1];
    std::uint64_t const way = rowsBelow * (std::uint64_t(width) + gap);
    return corner >= frame.count || way >= frame.count || corner + way + width > frame.count;
}

bool outlineLeaves(Frame const &frame, Rect<int> const &box, int thickness) {
    int const left = wrappingSubtract(box.x, thickness), top = wrappingSubtract(box.y, thickness);
    int const width = wrappingAdd(box.width, wrappingMultiply(2, thickness));
    Rect<int> const bands[] = {
        {left, top, width, thickness},
        {wrappingAdd(box.x, box.width), box.y, thickness, box.height},
        {left, wrappingAdd(box.y, box.height), width, thickness},
        {left, box.y, thickness, box.height},
    };
    return std::ranges::any_of(
        bands, [&](Rect<int> const &band) { return leaves(frame, clipToFrame(band, frame.shape[0], frame.shape[1])); });
}

} // namespace

bool colourFails(engine::GuardView const &view, char const *option) {
    std::string const text = view.option<std::string>(option, "#FF00FF");
    std::size_t const prefix = text.starts_with('#') ? 1 : text.starts_with("0x") ? 2 : 0;
    return text.size() != prefix + 6;
}

std::optional<engine::Refusal> drawPoints(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("image");
    auto const *const points = view.input<std::vector<Vec2f>>("points");
    if (frame == nullptr || points == nullptr || colourFails(view, "colour")) return std::nullopt;

    for (std::size_t i = 0; i < points->size(); i++) {
        Vec2f const &point = (*points)[i];
        if (flatIndex(point, frame->shape[1]) < frame->count) continue;
        std::ostringstream reason;
        reason << "point " << i << " (row " << point[0] << ", column " << point[1] << ") lies outside the frame of "
               << frame->shape[0] << " rows and " << frame->shape[1]
               << " columns; leave it out, and check that points are given row first";
        return engine::Refusal{"points", reason.str()};
    }
    return std::nullopt;
}

std::optional<engine::Refusal> drawText(engine::GuardView const &view) {
    auto const *const strings = view.input<std::vector<std::string>>("strings");
    auto const *const locations = view.input<std::vector<Vec2f>>("locations");
    if (strings == nullptr || locations == nullptr || locations->size() >= strings->size()) return std::nullopt;
    if (!locations->empty() && colourFails(view, "colour")) return std::nullopt;
    return engine::Refusal{"locations", "string " + std::to_string(locations->size()) + " has no location: there are " +
                                            std::to_string(strings->size()) + " strings and " +
                                            std::to_string(locations->size()) + " locations; send one for each"};
}

std::optional<engine::Refusal> drawBoxes(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("frames");
    auto const *const boxes = view.input<std::vector<Box>>("boxes");
    auto const *const labels = view.input<std::vector<std::string>>("text");
    if (frame == nullptr || boxes == nullptr || boxes->empty() || colourFails(view, "colour")) return std::nullopt;

    bool const clamp = view.option("clamp", true), filled = view.option("filled", false);
    int const thickness = view.option("lineThickness", 1);
    for (std::size_t i = 0; i < boxes->size(); i++) {
        Rect<int> const asked = roundToInt((*boxes)[i]);
        Rect<int> const inside = clipToFrame(asked, frame->shape[0], frame->shape[1]);
        if (!clamp && area(inside) != area(asked)) return std::nullopt; // the node fails here by itself
        std::ostringstream reason;
        reason << "box " << i << " " << show((*boxes)[i]) << " ";
        if (filled ? leaves(*frame, inside) : outlineLeaves(*frame, inside, thickness)) {
            reason << "leads out of the frame of " << frame->shape[0] << " rows and " << frame->shape[1] << " columns";
            if (!filled) reason << " with a lineThickness of " << thickness;
            reason << ", because 32-bit coordinates don't hold it; send boxes "
                   << (filled ? "near the frame" : "near the frame, and set lineThickness to a smaller number");
            return engine::Refusal{"boxes", reason.str()};
        }
        if (labels != nullptr && i >= labels->size()) {
            reason << "has no text: there are " << boxes->size() << " boxes and " << labels->size()
                   << " texts; send one for each";
            return engine::Refusal{"text", reason.str()};
        }
    }
    return std::nullopt;
}

} // namespace zun::guards
