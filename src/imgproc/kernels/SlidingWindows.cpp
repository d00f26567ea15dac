#include "imgproc/kernels/SlidingWindows.h"

#include <algorithm>
#include <vector>

#include "imgproc/kernels/Scratch.h"

namespace zun::kernels {
namespace {

/// Positions next to each other on an axis that lie under the same spans of a series.
struct Cell {
    std::uint32_t begin, end;
    std::uint32_t total; ///< the lengths of these spans
    bool opens, closes;  ///< whether a span begins with this cell, and whether one ended before it
};

/// The cells of an axis, each a single position unless `merged`.
std::vector<Cell> cellsOf(WindowSeries series, std::uint32_t extent, bool merged) {
    std::vector<Cell> cells;
    std::uint32_t total = 0;
    std::int64_t nextBegin = 0, nextEnd = series.length;
    for (std::int64_t begin = 0, end; begin < extent; begin = end) {
        bool const opens = begin == nextBegin, closes = begin == nextEnd;
        if (opens) total += static_cast<std::uint32_t>(std::min<std::int64_t>(series.length, extent - begin));
        if (closes) total -= static_cast<std::uint32_t>(series.length);
        if (opens) nextBegin += series.step;
        if (closes) nextEnd += series.step;
        end = merged ? std::min({nextBegin, nextEnd, std::int64_t{extent}}) : begin + 1;
        cells.push_back({static_cast<std::uint32_t>(begin), static_cast<std::uint32_t>(end), total, opens, closes});
    }
    return cells;
}

std::vector<Place> placesOf(std::vector<Cell> const &cells, std::int64_t length) {
    std::vector<Place> places;
    std::uint32_t openedEnd = 0, closedBegin = 0;
    for (Cell const &cell : cells) {
        while (openedEnd < cells.size() && cells[openedEnd].begin < cell.begin + length) openedEnd++;
        while (cells[closedBegin].begin + length < cell.begin) closedBegin++;
        auto const here = static_cast<std::uint32_t>(places.size());
        places.push_back(
            {cell.begin, cell.end, cell.total, cell.opens ? openedEnd : here, cell.closes ? closedBegin : here});
    }
    return places;
}

/// The lines of a frame. The increment is the histogram of the rows of windows that begin, less that of the rows of
/// those that ended; where windows end between the lines that others begin with, each has an increment of its own.
struct Lines {
    std::vector<Line> all;
    std::vector<RowChange> changes;

    /// `nothing` stands in for a row where there is none.
    Lines(unsigned char const *in, FrameSize size, WindowSeries series, unsigned char const *nothing) {
        struct Span {
            std::int64_t begin = 0, end = 0;
        } opened, closed;
        auto const row = [=](std::int64_t y, std::int64_t end) {
            return y < end ? in + static_cast<std::size_t>(y) * size.columns : nothing;
        };
        for (Cell const &cell : cellsOf(series, size.rows, true)) {
            all.push_back({cell.begin, cell.end, cell.total, cell.opens ? 0u : 1u, changes.size(), 0});
            Span const lastOpened = opened, lastClosed = closed;
            std::int64_t const begin = cell.begin, length = series.length;
            if (cell.opens) opened = {begin, std::min<std::int64_t>(begin + length, size.rows)};
            if (cell.closes) closed = {begin - length, begin};
            for (std::int64_t i = 0;; i++) {
                auto const *const entered = row(lastOpened.end + i, opened.end);
                auto const *const left = row(lastOpened.begin + i, opened.begin);
                auto const *const enteredClosed = row(lastClosed.end + i, closed.end);
                auto const *const leftClosed = row(lastClosed.begin + i, closed.begin);
                if (entered == nothing && left == nothing && enteredClosed == nothing && leftClosed == nothing) break;
                bool const same = left == enteredClosed;
                changes.push_back({entered, left, leftClosed, same ? std::uint8_t{2} : std::uint8_t{1}});
                if (!same) changes.push_back({nothing, enteredClosed, nothing, 1});
            }
            all.back().changesEnd = changes.size();
        }
    }
};

} // namespace

void sweepFrame(void sweepColumns(Sweep const &), void sweepPlaces(Sweep const &), unsigned char const *in,
                unsigned char *out, FrameSize size, WindowSeries alongRows, WindowSeries alongColumns) {
    if (size.rows == 0 || size.columns == 0) return;
    std::vector<unsigned char> const nothing(size.columns, 255); // counts below no value
    Lines const lines(in, size, alongColumns, nothing.data());
    std::vector<Cell> cells = cellsOf(alongRows, size.columns, true);
    bool const single = cells.size() > size.columns / 4 * 3;
    if (single) cells = cellsOf(alongRows, size.columns, false);
    std::vector<Place> const places = placesOf(cells, alongRows.length);

    std::uint64_t const counters = (places.size() + 1) * (single ? mostValuesAtOnce : 256);
    Scratch<std::uint32_t> const increments(counters), others(counters), sums(counters);
    std::uint64_t const padded = size.columns + std::uint64_t{64}; // vectors are whole
    Scratch<std::uint32_t> const below(padded), totals(padded), chosen(padded), columnTotals(padded);
    Scratch<unsigned char> const bytes(padded);
    for (Place const &place : places) std::fill_n(&columnTotals[place.begin], place.end - place.begin, place.total);
    (single ? sweepColumns : sweepPlaces)({.in = in,
                                           .out = out,
                                           .columns = size.columns,
                                           .lines = lines.all.data(),
                                           .lineCount = lines.all.size(),
                                           .changes = lines.changes.data(),
                                           .places = places.data(),
                                           .placeCount = places.size(),
                                           .increments = {increments.data(), others.data()},
                                           .sums = sums.data(),
                                           .below = below.data(),
                                           .totals = totals.data(),
                                           .chosen = chosen.data(),
                                           .columnTotals = columnTotals.data(),
                                           .bytes = bytes.data()});
}

} // namespace zun::kernels
