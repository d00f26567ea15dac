#include "imgproc/kernels/SlidingEqualise.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "imgproc/kernels/Equalise.h"

namespace zun::kernels {
namespace {

struct Span {
    std::int64_t begin, end;
};

std::vector<Span> spansOf(WindowSeries series, std::int64_t extent) {
    std::vector<Span> spans;
    for (std::int64_t begin = 0; begin < extent; begin += series.step)
        spans.push_back({begin, std::min(begin + series.length, extent)});
    return spans;
}

} // namespace

void plain::equaliseInWindows(unsigned char const *in, unsigned char *out, FrameSize size, WindowSeries alongRows,
                              WindowSeries alongColumns) {
    std::size_t const pixels = std::size_t{size.rows} * size.columns;
    std::vector<std::uint32_t> below(pixels), total(pixels);
    std::vector<Span> const rowSpans = spansOf(alongColumns, size.rows), columnSpans = spansOf(alongRows, size.columns);
    for (Span const &rows : rowSpans)
        for (Span const &columns : columnSpans) {
            auto const forEachPixel = [&](auto visit) {
                for (std::int64_t y = rows.begin; y < rows.end; y++)
                    for (std::int64_t x = columns.begin; x < columns.end; x++)
                        visit(static_cast<std::size_t>(y * size.columns + x));
            };
            std::uint32_t histogram[256] = {}, countBelow[256], sum = 0;
            forEachPixel([&](std::size_t i) { histogram[in[i]]++; });
            for (std::size_t v = 0; v < 256; v++) {
                countBelow[v] = sum;
                sum += histogram[v];
            }
            forEachPixel([&](std::size_t i) {
                below[i] += countBelow[in[i]];
                total[i] += sum;
            });
        }
    for (std::size_t i = 0; i < pixels; i++) out[i] = equalised(below[i], total[i]);
}

} // namespace zun::kernels
