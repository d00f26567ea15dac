#include "imgproc/kernels/Ellipse.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "containers/Arithmetic.h"

namespace zun::kernels {

void fillEllipse(unsigned char *array, int rows, int columns, unsigned char value, Ellipse const &ellipse) {
    float const a = static_cast<float>(ellipse.horizontalDiameter) * 0.5f;
    float const b = static_cast<float>(ellipse.verticalDiameter) * 0.5f;
    if (rows < 1 || columns < 1 || !(b > 0)) return;

    std::int64_t const centreRow = ellipse.centreRow, centreColumn = ellipse.centreColumn;
    auto const fillRow = [&](std::int64_t row, int half) {
        if (row < 0 || row >= rows) return;
        std::int64_t const first = std::max<std::int64_t>(centreColumn - half, 0);
        std::int64_t const last = std::min<std::int64_t>(centreColumn + half, columns - 1);
        if (first <= last)
            std::memset(array + row * columns + first, value, static_cast<std::size_t>(last - first + 1));
    };
    // Rows further from the centre than this lie outside on either side.
    std::int64_t const furthest = std::max(centreRow, rows - 1 - centreRow);
    for (std::int64_t i = 0; i <= furthest && static_cast<float>(i) <= b; i++) {
        int const half = truncateToInt(a * std::cos(std::asin(static_cast<float>(i) / b)));
        fillRow(centreRow - i, half);
        if (i != 0) fillRow(centreRow + i, half);
    }
}

void blackenUnset(unsigned char const *__restrict mask, Vec3b *__restrict pixels, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; i++) {
        auto const kept = static_cast<unsigned char>(mask[i] == 0 ? 0 : 0xFF);
        for (unsigned char &channel : pixels[i].elements) channel &= kept;
    }
}

} // namespace zun::kernels
