#include "imgproc/kernels/ResizeSize.h"

#include <cmath>
#include <numeric>

#include "containers/Arithmetic.h"

namespace zun::kernels {

ResizeRatio ResizeRatio::of(std::int64_t target, std::int64_t source) {
    std::int64_t const common = std::gcd(target, source);
    std::int64_t num = target / common, den = source / common;
    auto const fits = [](std::int64_t term) { return term > -16384 && term < 16384; };
    while (!fits(num) || !fits(den)) {
        num /= 2;
        den /= 2;
    }
    if (den == 0) return {16383, 1};
    std::int64_t const commonNow = std::gcd(num, den);
    return {static_cast<int>(num / commonNow), static_cast<int>(den / commonNow)};
}

int ResizeRatio::scaled(std::uint32_t side) const {
    return truncateToInt(std::round(static_cast<double>(num) / den * side));
}

std::optional<FrameSize> resizedSize(FrameSize frame, ResizeRequest const &request) {
    int width = request.width, height = request.height;
    if (request.largestSize != 0) {
        bool const wide = frame.columns > frame.rows;
        width = wide ? request.largestSize : 0;
        height = wide ? 0 : request.largestSize;
    }
    if (width == 0 && height == 0) return std::nullopt;

    auto const allowed = [&](std::int64_t side, std::int64_t target) {
        return (side < target || request.allowDownscale) && (request.allowUpscale || side > target);
    };
    if (width == 0 && !allowed(frame.rows, height)) return std::nullopt;
    if (height == 0 && !allowed(frame.columns, width)) return std::nullopt;

    ResizeRatio const rows = height != 0 ? ResizeRatio::of(height, frame.rows) : ResizeRatio::of(width, frame.columns);
    ResizeRatio const columns = width != 0 ? ResizeRatio::of(width, frame.columns) : rows;
    return FrameSize{static_cast<std::uint32_t>(rows.scaled(frame.rows)),
                     static_cast<std::uint32_t>(columns.scaled(frame.columns))};
}

} // namespace zun::kernels
