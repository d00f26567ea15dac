#include "imgproc/kernels/Resize.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include "containers/Arithmetic.h"
#include "imgproc/kernels/LowByte.h"

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

/// Where bilinear sampling finds a column: two neighbours and their weights.
struct ColumnTap {
    std::uint32_t left, right;
    float wLeft, wRight;
};

/// A fraction in lowest terms.
struct Step {
    std::uint64_t num, den;

    Step(std::uint32_t from, std::uint32_t to) : num(from), den(to) {
        std::uint64_t const common = std::gcd(num, den);
        num /= common;
        den /= common;
    }
    float toFloat() const { return static_cast<float>(num) / static_cast<float>(den); }
};

std::vector<ColumnTap> columnTaps(std::uint32_t from, std::uint32_t to) {
    Step const step(from, to);
    float const stepFloat = step.toFloat();
    std::vector<ColumnTap> taps(to);
    for (std::uint32_t j = 0; j < to; j++) {
        auto const at = static_cast<std::uint32_t>(j * step.num / step.den);
        std::uint32_t const left = std::min(at, from - 1), right = std::min(at + 1, from - 1);
        float const position = static_cast<float>(j) * stepFloat;
        taps[j] = {left, right, static_cast<float>(right) - position, position - static_cast<float>(left)};
    }
    return taps;
}

using FloatRow = std::vector<float>; // three channels for each pixel

void interpolateRow(Vec3b const *in, std::vector<ColumnTap> const &taps, FloatRow &out) {
    float *__restrict next = out.data();
    for (ColumnTap const &tap : taps)
        for (int k = 0; k < 3; k++)
            *next++ =
                static_cast<float>(in[tap.left][k]) * tap.wLeft + static_cast<float>(in[tap.right][k]) * tap.wRight;
}

void blendRows(float const *__restrict upper, float const *__restrict lower, float wTop, float wBottom,
               unsigned char *__restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) {
        float const value = upper[i] * wTop + lower[i] * wBottom;
        out[i] = static_cast<unsigned char>(std::max(0.0f, std::min(255.0f, value)));
    }
}

/// What an output row or column covers: the source index where it begins, the whole ones from `whole` up to `end`, and
/// the shares of the one it begins in and the one it ends in, 0 where it begins or ends between two.
struct Span {
    std::uint32_t first, whole, end;
    float wFirst, wLast;
};

std::vector<Span> spans(std::uint32_t from, std::uint32_t to) {
    std::vector<Span> result(to);
    for (std::uint64_t i = 0; i < to; i++) {
        std::uint64_t const begin = i * from, end = begin + from; // in units of 1 / to
        std::uint64_t const first = begin / to, whole = (begin + to - 1) / to, last = end / to;
        result[i] = {static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(whole),
                     static_cast<std::uint32_t>(last), static_cast<float>(whole * to - begin) / static_cast<float>(to),
                     static_cast<float>(end - last * to) / static_cast<float>(to)};
    }
    return result;
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

void resizeNearest(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::vector<std::uint32_t> columns(to.columns);
    for (std::uint32_t j = 0; j < to.columns; j++) columns[j] = j * from.columns / to.columns;
    for (std::uint32_t i = 0, above = 0; i < to.rows; i++, out += to.columns) {
        std::uint32_t const row = i * from.rows / to.rows;
        Vec3b const *const source = rowOf(in, from, row);
        if (i > 0 && row == above)
            std::copy_n(out - to.columns, to.columns, out);
        else
            for (std::uint32_t j = 0; j < to.columns; j++) out[j] = source[columns[j]];
        above = row;
    }
}

void resizeBlockMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::uint32_t const height = from.rows / to.rows, width = from.columns / to.columns;
    auto const area = static_cast<float>(height * width);
    std::vector<Sums> sums(to.columns);
    for (std::uint32_t i = 0; i < to.rows; i++) {
        std::fill(sums.begin(), sums.end(), Sums());
        for (std::uint32_t a = 0; a < height; a++)
            for (Sums &block : sums)
                for (std::uint32_t b = 0; b < width; b++) block.add(*in++);
        for (Sums const &block : sums) *out++ = block.dividedBy(area);
    }
}

void resizeBilinear(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::vector<ColumnTap> const taps = columnTaps(from.columns, to.columns);
    float const step = Step(from.rows, to.rows).toFloat();
    std::size_t const width = std::size_t(3) * to.columns;

    // A source row is interpolated once for all the output rows between it and its neighbours.
    constexpr std::int64_t none = -1;
    struct {
        std::int64_t row = none;
        FloatRow values;
    } upper{none, FloatRow(width)}, lower{none, FloatRow(width)};
    auto const hold = [&](auto &held, std::uint32_t row) {
        if (held.row == row) return;
        interpolateRow(rowOf(in, from, row), taps, held.values);
        held.row = row;
    };
    for (std::uint32_t i = 0; i < to.rows; i++, out += to.columns) {
        float const position = static_cast<float>(i) * step;
        auto const at = static_cast<std::uint32_t>(position);
        std::uint32_t const top = std::min(at, from.rows - 1), bottom = std::min(at + 1, from.rows - 1);
        if (lower.row == top) std::swap(upper, lower);
        hold(upper, top);
        hold(lower, bottom);
        blendRows(upper.values.data(), lower.values.data(), static_cast<float>(bottom) - position,
                  position - static_cast<float>(top), reinterpret_cast<unsigned char *>(out), width);
    }
}

void resizeAreaMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    auto const product = [](FrameSize size) {
        return static_cast<float>(wrappingMultiply(static_cast<int>(size.rows), static_cast<int>(size.columns)));
    };
    float const area = product(from) / product(to);
    std::vector<Span> const rowSpans = spans(from.rows, to.rows), columnSpans = spans(from.columns, to.columns);
    for (Span const &rows : rowSpans)
        for (Span const &columns : columnSpans) {
            Sums sums;
            if (rows.wFirst != 0.0f) addPartOfRow(sums, rowOf(in, from, rows.first), columns, rows.wFirst);
            addWholeRows(sums, in, from, rows, columns);
            if (rows.wLast != 0.0f) addPartOfRow(sums, rowOf(in, from, rows.end), columns, rows.wLast);
            *out++ = sums.dividedBy(area);
        }
}

} // namespace zun::kernels
