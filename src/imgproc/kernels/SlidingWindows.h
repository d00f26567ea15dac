// How sums over the windows of two series change from place to place on a frame. What lies under the same windows is
// taken together.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "imgproc/kernels/SlidingEqualise.h"

namespace zun::kernels {

/// Positions next to each other on an axis that lie under the same spans of a series.
struct Cell {
    std::uint32_t begin, end;
    std::uint32_t total; ///< the lengths of these spans
    bool opens, closes;  ///< whether a span begins with this cell, and whether one ended before it
};

/// The cells of an axis, each a single position unless `merged`.
inline std::vector<Cell> cellsOf(WindowSeries series, std::uint32_t extent, bool merged) {
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

/// Columns that lie under the same windows.
struct Place {
    std::uint32_t begin, end;
    std::uint32_t total;
    /// As places: where the windows that begin here end, and where those that ended here began; this one, for none.
    std::uint32_t openedEnd, closedBegin;
};

inline std::vector<Place> placesOf(std::vector<Cell> const &cells, std::int64_t length) {
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

/// Rows of pixels of which the first and the last are to be counted, and that in the middle `times` less.
struct RowChange {
    unsigned char const *added, *taken, *addedToo;
    unsigned char times; ///< 1 or 2
};

/// Rows that lie under the same windows. With the first of them, the histograms of the columns, each pixel counted once
/// for every window over both it and the line, grow by an increment.
struct Line {
    std::uint32_t begin, end;
    std::uint32_t total;
    std::uint32_t increment;              ///< which of two
    std::size_t changesBegin, changesEnd; ///< what is to be counted in the increment since it was used last; not empty
};

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

/// A frame to sweep, and the scratch for that.
struct Sweep {
    unsigned char const *in;
    unsigned char *out;
    std::size_t columns;
    Line const *lines;
    std::size_t lineCount;
    RowChange const *changes;
    Place const *places;
    std::size_t placeCount;

    std::uint32_t *increments[2]; ///< [place]: the increment of all columns before the next place
    std::uint32_t *sums;          ///< [place]: the histogram of all columns before the place
    std::uint32_t *below, *totals, *chosen;
    std::uint32_t const *columnTotals;
    unsigned char *bytes;
};

/// How many values are counted at a time, at most, where columns are places of their own.
constexpr std::uint32_t mostValuesAtOnce = 32;

/// Sweeps a frame with the one function, for which all columns are places of their own, or the other.
void sweepFrame(void sweepColumns(Sweep const &), void sweepPlaces(Sweep const &), unsigned char const *in,
                unsigned char *out, FrameSize size, WindowSeries alongRows, WindowSeries alongColumns);

} // namespace zun::kernels
