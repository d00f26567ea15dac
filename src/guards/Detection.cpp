#include "guards/Detection.h"

#include <cstdint>
#include <sstream>

#include "containers/Mat.h"
#include "guards/Cropping.h"

namespace zun::guards {

std::optional<engine::Refusal> findContours(engine::GuardView const &view) {
    auto const *const frame = view.input<Mat<unsigned char, 2>>("input");
    if (frame == nullptr) return std::nullopt;
    constexpr std::uint64_t mostLabels = largestCutBytes / sizeof(int);
    std::uint64_t const rows = frame->shape[0] + std::uint64_t(2), columns = frame->shape[1] + std::uint64_t(2);
    if (rows <= mostLabels / columns) return std::nullopt;
    std::ostringstream reason;
    reason << "the frame of " << frame->shape[0] << " rows and " << frame->shape[1]
           << " columns, with a border of one pixel, needs more than " << mostLabels
           << " labels, which don't fit in memory; cut or shrink it before";
    return engine::Refusal{"input", reason.str()};
}

} // namespace zun::guards
