// The windows are an axis' worth of spans by another's, so the histogram of a pixel is a sum over the spans that cover
// its column, of sums over the spans that cover its row. Both slide from one position to the next.

#include "imgproc/kernels/SlidingEqualise.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <numeric>
#include <vector>

#include "imgproc/kernels/Equalise.h"

namespace zun::kernels {
namespace {

using Histogram = std::array<std::uint32_t, 256>;

void add(Histogram &histogram, unsigned char value) { histogram[value]++; }
void subtract(Histogram &histogram, unsigned char value) { histogram[value]--; }

void add(Histogram &histogram, Histogram const &other) {
    for (std::size_t v = 0; v < 256; v++) histogram[v] += other[v];
}
void subtract(Histogram &histogram, Histogram const &other) {
    for (std::size_t v = 0; v < 256; v++) histogram[v] -= other[v];
}

/// Sums of what lies along an axis, single values or histograms, over all spans of a series that cover a position.
class CoveringSpans {
public:
    CoveringSpans(WindowSeries ofSpans, std::uint32_t axisExtent) : series(ofSpans), extent(axisExtent) {}

    /// To the next position, at first 0. `at` tells what lies at one.
    template <class At>
    Histogram const &advance(At const &at) {
        if (position % series.step == 0) add(sum, begun.slideTo(position, endOf(position), at));
        std::int64_t const endedBegin = position - series.length;
        if (endedBegin >= 0 && endedBegin % series.step == 0) subtract(sum, ended.slideTo(endedBegin, position, at));
        position++;
        return sum;
    }

private:
    /// The sum over one span, which slides from 0 on.
    struct Span {
        std::int64_t begin = 0, end = 0;
        Histogram sum{};

        template <class At>
        Histogram const &slideTo(std::int64_t newBegin, std::int64_t newEnd, At const &at) {
            for (; end < newEnd; end++) add(sum, at(static_cast<std::size_t>(end)));
            for (; begin < newBegin; begin++) subtract(sum, at(static_cast<std::size_t>(begin)));
            return sum;
        }
    };

    std::int64_t endOf(std::int64_t begin) const { return std::min<std::int64_t>(begin + series.length, extent); }

    WindowSeries series;
    std::uint32_t extent;
    std::int64_t position = 0;
    Span begun, ended; ///< the spans that began and ended last
    Histogram sum{};
};

} // namespace

void plain::equaliseInWindows(unsigned char const *in, unsigned char *out, FrameSize size, WindowSeries alongRows,
                              WindowSeries alongColumns) {
    std::vector<CoveringSpans> columns(size.columns, CoveringSpans(alongColumns, size.rows));
    std::vector<Histogram const *> sums(size.columns);
    for (std::size_t y = 0; y < size.rows; y++) {
        for (std::size_t x = 0; x < size.columns; x++)
            sums[x] = &columns[x].advance([=](std::size_t row) { return in[row * size.columns + x]; });
        CoveringSpans row(alongRows, size.columns);
        for (std::size_t x = 0; x < size.columns; x++) {
            Histogram const &values =
                row.advance([&](std::size_t column) -> Histogram const & { return *sums[column]; });
            std::size_t const pixel = y * size.columns + x;
            std::uint32_t const below = std::accumulate(values.begin(), values.begin() + in[pixel], 0u);
            out[pixel] = equalised(below, std::accumulate(values.begin() + in[pixel], values.end(), below));
        }
    }
}

} // namespace zun::kernels
