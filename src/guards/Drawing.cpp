#include "guards/Drawing.h"

#include <cstdint>
#include <sstream>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"

namespace zun::guards {
namespace {

/// Where the node writes a point, computed as the node does.
std::uint64_t flatIndex(Vec2f const &point, std::uint32_t columns) {
    auto const row = static_cast<std::uint32_t>(truncateToInt(point[0]));
    auto const column = static_cast<std::uint32_t>(truncateToInt(point[1]));
    return std::uint64_t(row) * columns + column;
}

} // namespace

std::optional<engine::Refusal> drawPoints(engine::GuardView const &view) {
    auto const *const frame = view.input<Mat<Vec3b, 2>>("image");
    auto const *const points = view.input<std::vector<Vec2f>>("points");
    if (frame == nullptr || points == nullptr) return std::nullopt;

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

} // namespace zun::guards
