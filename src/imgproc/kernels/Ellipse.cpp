#include "imgproc/kernels/Ellipse.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "containers/Arithmetic.h"

namespace zun::kernels {
namespace {

/// Rows that follow each other, `end` not among them.
struct Rows {
    std::int64_t first, end;
};

/// Visits the rows of an ellipse that lie in a frame, each with the first and the last column that it has there, if it
/// has any. Gives the rows that were visited.
template <class Visit>
Rows forEachRow(std::int64_t rows, std::int64_t columns, Ellipse const &ellipse, Visit visit) {
    float const a = static_cast<float>(ellipse.horizontalDiameter) * 0.5f;
    float const b = static_cast<float>(ellipse.verticalDiameter) * 0.5f;
    std::int64_t const centreRow = ellipse.centreRow, centreColumn = ellipse.centreColumn;
    auto const visitRow = [&](std::int64_t row, int half) {
        if (row < 0 || row >= rows) return;
        visit(row, std::max<std::int64_t>(centreColumn - half, 0),
              std::min<std::int64_t>(centreColumn + half, columns - 1));
    };
    // Rows further from the centre than this lie outside on either side.
    std::int64_t const furthest = std::max(centreRow, rows - 1 - centreRow);
    std::int64_t i = 0;
    for (; b > 0 && i <= furthest && static_cast<float>(i) <= b; i++) {
        int const half = truncateToInt(a * std::cos(std::asin(static_cast<float>(i) / b)));
        visitRow(centreRow - i, half);
        if (i != 0) visitRow(centreRow + i, half);
    }
    auto const inFrame = [&](std::int64_t row) { return std::clamp<std::int64_t>(row, 0, rows); };
    return {inFrame(centreRow - i + 1), inFrame(centreRow + i)};
}

} // namespace

void fillEllipse(unsigned char *array, int rows, int columns, unsigned char value, Ellipse const &ellipse) {
    if (rows < 1 || columns < 1) return;
    forEachRow(rows, columns, ellipse, [=](std::int64_t row, std::int64_t first, std::int64_t last) {
        if (first <= last)
            std::memset(array + row * columns + first, value, static_cast<std::size_t>(last - first + 1));
    });
}

void copyEllipse(Vec3b const *in, Vec3b *out, FrameSize size, Ellipse const &ellipse) {
    if (size.rows == 0 || size.columns == 0) return;
    std::int64_t const columns = size.columns;
    auto const blacken = [=](std::int64_t first, std::int64_t end) {
        std::memset(static_cast<void *>(out + first), 0, static_cast<std::size_t>(end - first) * sizeof(Vec3b));
    };
    Rows const rows =
        forEachRow(size.rows, columns, ellipse, [=](std::int64_t row, std::int64_t first, std::int64_t last) {
            std::int64_t const start = row * columns, end = start + columns;
            if (first > last) return blacken(start, end);
            blacken(start, start + first);
            std::memcpy(out + start + first, in + start + first,
                        static_cast<std::size_t>(last - first + 1) * sizeof(Vec3b));
            blacken(start + last + 1, end);
        });
    blacken(0, rows.first * columns);
    blacken(rows.end * columns, size.rows * columns);
}

} // namespace zun::kernels
