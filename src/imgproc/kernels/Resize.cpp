#include "imgproc/kernels/Resize.h"

#include <algorithm>

#include "imgproc/kernels/LowByte.h"
#include "imgproc/kernels/ResizeTables.h"

namespace zun::kernels {
namespace {

Vec3b const *rowOf(Vec3b const *frame, FrameSize size, std::uint32_t row) {
    return frame + std::uint64_t(row) * size.columns;
}

/// Sums of the three channels.
struct Sums {
    float channels[3] = {0.0f, 0.0f, 0.0f};

    void add(Vec3b const &pixel) {
        for (int k = 0; k < 3; k++) channels[k] += static_cast<float>(pixel[k]);
    }
    void add(Vec3b const &pixel, float weight) {
        for (int k = 0; k < 3; k++) channels[k] += static_cast<float>(pixel[k]) * weight;
    }
    Vec3b dividedBy(float divisor) const {
        auto const byte = [&](int k) { return lowByte(channels[k] / divisor); };
        return {byte(0), byte(1), byte(2)};
    }
};

float interpolated(Vec3b const *row, Neighbours const &columns, int k) {
    return static_cast<float>(row[columns.first][k]) * columns.wFirst +
           static_cast<float>(row[columns.second][k]) * columns.wSecond;
}

/// Adds a row of which the share `weight` is covered.
void addPartOfRow(Sums &sums, Vec3b const *row, Span const &columns, float weight) {
    if (columns.wFirst != 0.0f) sums.add(row[columns.first], weight * columns.wFirst);
    for (std::uint32_t j = columns.whole; j < columns.end; j++) sums.add(row[j], weight);
    if (columns.wLast != 0.0f) sums.add(row[columns.end], weight * columns.wLast);
}

/// Adds the rows that are covered whole: the column at the left of each, then the inner columns, then the right ones.
void addWholeRows(Sums &sums, Vec3b const *in, FrameSize size, Span const &rows, Span const &columns) {
    Vec3b const *const first = rowOf(in, size, rows.whole), *const end = rowOf(in, size, rows.end);
    if (columns.wFirst != 0.0f)
        for (Vec3b const *row = first; row < end; row += size.columns) sums.add(row[columns.first], columns.wFirst);
    for (Vec3b const *row = first; row < end; row += size.columns)
        for (std::uint32_t j = columns.whole; j < columns.end; j++) sums.add(row[j]);
    if (columns.wLast != 0.0f)
        for (Vec3b const *row = first; row < end; row += size.columns) sums.add(row[columns.end], columns.wLast);
}

} // namespace

void plain::resizeNearest(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::vector<std::uint32_t> const columns = nearestSources(from.columns, to.columns);
    for (std::uint32_t const row : nearestSources(from.rows, to.rows))
        for (std::uint32_t const column : columns) *out++ = rowOf(in, from, row)[column];
}

void plain::resizeBlockMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::uint32_t const height = from.rows / to.rows, width = from.columns / to.columns;
    auto const area = static_cast<float>(height * width);
    for (std::uint32_t i = 0; i < to.rows; i++, in += std::uint64_t(height) * from.columns)
        for (std::uint32_t j = 0; j < to.columns; j++) {
            Sums sums;
            for (std::uint32_t a = 0; a < height; a++)
                for (std::uint32_t b = 0; b < width; b++) sums.add(rowOf(in, from, a)[std::uint64_t(j) * width + b]);
            *out++ = sums.dividedBy(area);
        }
}

void plain::resizeBilinear(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::vector<Neighbours> const allColumns = columnNeighbours(from.columns, to.columns);
    for (Neighbours const &rows : rowNeighbours(from.rows, to.rows)) {
        Vec3b const *const top = rowOf(in, from, rows.first), *const bottom = rowOf(in, from, rows.second);
        for (Neighbours const &columns : allColumns) {
            for (int k = 0; k < 3; k++) {
                float const value =
                    interpolated(top, columns, k) * rows.wFirst + interpolated(bottom, columns, k) * rows.wSecond;
                (*out)[k] = static_cast<unsigned char>(std::max(0.0f, std::min(255.0f, value)));
            }
            out++;
        }
    }
}

void plain::resizeAreaMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    float const area = meanDivisor(from, to);
    std::vector<Span> const columnSpans = spans(from.columns, to.columns);
    for (Span const &rows : spans(from.rows, to.rows))
        for (Span const &columns : columnSpans) {
            Sums sums;
            if (rows.wFirst != 0.0f) addPartOfRow(sums, rowOf(in, from, rows.first), columns, rows.wFirst);
            addWholeRows(sums, in, from, rows, columns);
            if (rows.wLast != 0.0f) addPartOfRow(sums, rowOf(in, from, rows.end), columns, rows.wLast);
            *out++ = sums.dividedBy(area);
        }
}

} // namespace zun::kernels
