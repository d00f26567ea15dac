// How sums over the windows of two series change from place to place on a frame. What lies under the same windows is
// taken together.
#pragma once

#include <cstddef>
#include <cstdint>

#include "imgproc/kernels/SlidingEqualise.h"

namespace zun::kernels {

/// Columns that lie under the same windows.
struct Place {
    std::uint32_t begin, end;
    std::uint32_t total;
    /// As places: where the windows that begin here end, and where those that ended here began; this one, for none.
    std::uint32_t openedEnd, closedBegin;
};

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
