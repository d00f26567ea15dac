// A histogram is kept as counts of what lies below each value. That, too, is a sum over pixels, modulo 2^32, so that
// sums may be taken in any order, and as differences of others:
//
//   - `sums` has, for each place along a line, the histogram of all columns before it, each pixel counted once for each
//     window over both it and the line. The sum over the columns of a window is the difference of two of these.
//   - From line to line each sum grows by its increment, which itself changes by a few rows of pixels.
//   - From place to place the histogram for a pixel grows by the sums over windows that begin, less those over windows
//     that ended. Of two that do so at the same place, one's columns begin where the other's end.
//
// Where every column is a place of its own, the frame is swept for a few values at a time, so that what is kept for
// them stays in the cache. Otherwise there are fewer places, and more pixels to count at each: then it is swept once.

#include "imgproc/kernels/SlidingEqualise.h"

#include <cstring>

#include "imgproc/kernels/SlidingWindows.h"
#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

constexpr std::uint32_t lanes = static_cast<std::uint32_t>(hn::MaxLanes(Words()));

/// The bytes for pixels with so many counts below them of `lineTotal` times the column's total, like equalised().
void equaliseCounts(std::uint32_t const *below, std::uint32_t const *columnTotals, std::uint32_t lineTotal,
                    unsigned char *bytes, std::uint32_t count) {
    using Doubles = hn::ScalableTag<double>;
    using Half = hn::Half<Ints>;
    // A quotient of two ints that is not an integer differs from the next one by at least 1 / divisor, which is far
    // more than a double of its size is rounded by: so this truncates like the division of ints. Only -2^31 / -1 is not
    // an int; the low byte that it wraps to is 0.
    auto const divide = [](hn::Vec<Half> scaled, hn::Vec<Half> total) HWY_ATTR {
        auto const quotient = hn::Div(hn::PromoteTo(Doubles(), scaled), hn::PromoteTo(Doubles(), total));
        auto const wraps = hn::Ge(quotient, hn::Set(Doubles(), 2147483648.0));
        return hn::DemoteTo(Half(), hn::IfThenZeroElse(wraps, quotient));
    };
    for (std::uint32_t i = 0; i < count; i += lanes) {
        VInts const scaled = hn::BitCast(Ints(), hn::ShiftLeft<8>(hn::Load(Words(), below + i)));
        VInts const total =
            hn::BitCast(Ints(), hn::Mul(hn::LoadU(Words(), columnTotals + i), hn::Set(Words(), lineTotal)));
        auto const low = divide(hn::LowerHalf(Half(), scaled), hn::LowerHalf(Half(), total));
        auto const high = divide(hn::UpperHalf(Half(), scaled), hn::UpperHalf(Half(), total));
        storeLowBytes(hn::Min(hn::Combine(Ints(), high, low), hn::Set(Ints(), 255)), bytes + i);
    }
}

void clear(Sweep const &sweep, std::size_t countsOfPlace) {
    std::size_t const bytes = (sweep.placeCount + 1) * countsOfPlace * sizeof(std::uint32_t);
    std::memset(sweep.increments[0], 0, bytes);
    std::memset(sweep.increments[1], 0, bytes);
    std::memset(sweep.sums, 0, bytes);
}

// Columns that are places of their own. The counters of a place are those of a few values.

constexpr std::uint32_t parts = HWY_TARGET <= HWY_AVX3 ? 2 : 4;
constexpr std::uint32_t valuesAtOnce = parts * lanes;
static_assert(valuesAtOnce <= mostValuesAtOnce);

/// Counts below some values next to each other.
struct Counts {
    VWords part[parts];

    HWY_INLINE Counts() {
        for (VWords &each : part) each = hn::Zero(Words());
    }
    explicit HWY_INLINE Counts(std::uint32_t const *from) {
        for (std::uint32_t i = 0; i < parts; i++) part[i] = hn::Load(Words(), from + i * lanes);
    }
    HWY_INLINE void store(std::uint32_t *to) const {
        for (std::uint32_t i = 0; i < parts; i++) hn::Store(part[i], Words(), to + i * lanes);
    }
    HWY_INLINE void add(Counts const &other) {
        for (std::uint32_t i = 0; i < parts; i++) part[i] = hn::Add(part[i], other.part[i]);
    }
    HWY_INLINE void subtractTwice(Counts const &other) {
        for (std::uint32_t i = 0; i < parts; i++) part[i] = hn::Sub(part[i], hn::ShiftLeft<1>(other.part[i]));
    }
};

/// What a change of rows is in one column, for the values from `first` on.
class Change {
public:
    HWY_INLINE Change(RowChange const &change, std::uint32_t first)
        : rows(change), values(hn::Iota(Small(), static_cast<std::uint8_t>(first))), once(hn::Set(Small(), 1)),
          times(hn::Set(Small(), change.times)) {}

    HWY_INLINE void addTo(Counts &counts, std::size_t column) const {
        V const added = hn::Add(below(rows.added[column], once), below(rows.addedToo[column], once));
        V const difference = hn::Sub(added, below(rows.taken[column], times));
        alignas(64) std::int8_t stored[valuesAtOnce];
        hn::Store(hn::BitCast(Signed(), difference), Signed(), stored);
        for (std::uint32_t i = 0; i < parts; i++) {
            VInts const part = hn::PromoteTo(Ints(), hn::Load(hn::Rebind<std::int8_t, Ints>(), stored + i * lanes));
            counts.part[i] = hn::Add(counts.part[i], hn::BitCast(Words(), part));
        }
    }

private:
    using Small = hn::FixedTag<std::uint8_t, valuesAtOnce>;
    using Signed = hn::FixedTag<std::int8_t, valuesAtOnce>;
    using V = hn::Vec<Small>;

    HWY_INLINE V below(unsigned char pixel, V weight) const {
        return hn::IfThenElseZero(hn::Lt(hn::Set(Small(), pixel), values), weight);
    }

    RowChange rows;
    V values, once, times;
};

/// `addChange` adds the changes of a column.
template <class AddChange>
HWY_INLINE void moveColumns(Sweep const &sweep, std::uint32_t *increments, AddChange const &addChange) {
    std::uint32_t *sums = sweep.sums;
    Counts change;
    for (std::size_t column = 0, count = sweep.placeCount; column < count; column++) {
        addChange(change, column);
        Counts increment(increments);
        increment.add(change);
        increment.store(increments);
        increments += valuesAtOnce, sums += valuesAtOnce;
        Counts sum(sums);
        sum.add(increment);
        sum.store(sums);
    }
}

void moveColumnsTo(Line const &line, Sweep const &sweep, std::uint32_t first) {
    RowChange const *const begin = sweep.changes + line.changesBegin, *const end = sweep.changes + line.changesEnd;
    if (end - begin == 1) {
        Change const change(*begin, first);
        moveColumns(sweep, sweep.increments[line.increment],
                    [&](Counts &counts, std::size_t column) HWY_ATTR { change.addTo(counts, column); });
    } else {
        moveColumns(sweep, sweep.increments[line.increment], [&](Counts &counts, std::size_t column) HWY_ATTR {
            for (RowChange const *change = begin; change < end; change++) Change(*change, first).addTo(counts, column);
        });
    }
}

/// Equalises those pixels of a row that have one of the values from `first` on.
void equaliseSome(Sweep const &sweep, std::size_t y, std::uint32_t lineTotal, std::uint32_t first) {
    unsigned char const *const row = sweep.in + y * sweep.columns;
    std::uint32_t *HWY_RESTRICT const below = sweep.below;
    std::uint32_t *HWY_RESTRICT const chosen = sweep.chosen;
    std::uint32_t const *const sums = sweep.sums;
    Place const *const places = sweep.places;
    std::uint32_t count = 0;
    Counts counts;
    for (std::size_t column = 0; column < sweep.columns; column++) {
        Place const &place = places[column];
        counts.add(Counts(sums + std::size_t{place.openedEnd} * valuesAtOnce));
        counts.add(Counts(sums + std::size_t{place.closedBegin} * valuesAtOnce));
        counts.subtractTwice(Counts(sums + column * valuesAtOnce));
        alignas(64) std::uint32_t stored[valuesAtOnce];
        counts.store(stored);
        std::uint32_t const value = row[column] - first;
        below[count] = stored[value % valuesAtOnce];
        chosen[count] = static_cast<std::uint32_t>(column);
        count += value < valuesAtOnce; // otherwise the next one takes its place
    }
    for (std::uint32_t i = 0; i < count; i++) sweep.totals[i] = sweep.columnTotals[chosen[i]];
    equaliseCounts(below, sweep.totals, lineTotal, sweep.bytes, count);
    unsigned char *const out = sweep.out + y * sweep.columns;
    for (std::uint32_t i = 0; i < count; i++) out[chosen[i]] = sweep.bytes[i];
}

void sweepColumns(Sweep const &sweep) {
    for (std::uint32_t first = 0; first < 256; first += valuesAtOnce) {
        clear(sweep, valuesAtOnce);
        for (Line const *line = sweep.lines; line < sweep.lines + sweep.lineCount; line++) {
            moveColumnsTo(*line, sweep, first);
            for (std::size_t y = line->begin; y < line->end; y++) equaliseSome(sweep, y, line->total, first);
        }
    }
}

// Places of any number of columns. The counters of a place are those of all values, and where each lies is such that a
// vector is `lanes` runs of them side by side: adding up vectors counts what is below within the runs.

constexpr std::uint32_t run = 256 / lanes;

HWY_INLINE std::uint32_t slotOf(unsigned char value) { return value % run * lanes + value / run; }

HWY_INLINE void count(RowChange const &change, Place const &place, std::uint32_t *counters) {
    for (std::uint32_t x = place.begin; x < place.end; x++) {
        counters[slotOf(change.added[x])]++;
        counters[slotOf(change.taken[x])] -= change.times;
        counters[slotOf(change.addedToo[x])]++;
    }
}

/// How many were counted in the runs before each lane's.
HWY_INLINE VWords countsOfRunsBefore(std::uint32_t const *counters) {
    VWords runTotals = hn::Zero(Words());
    for (std::uint32_t i = 0; i < 256; i += lanes) runTotals = hn::Add(runTotals, hn::Load(Words(), counters + i));
    VWords const lane = hn::Iota(Words(), 0);
    VWords before = runTotals;
    for (std::uint32_t by = 1; by < lanes; by *= 2) {
        VWords const from = hn::Sub(lane, hn::Min(lane, hn::Set(Words(), by)));
        VWords const moved = hn::TableLookupLanes(before, hn::IndicesFromVec(Words(), from));
        before = hn::Add(before, hn::IfThenZeroElse(hn::Lt(lane, hn::Set(Words(), by)), moved));
    }
    return hn::Sub(before, runTotals);
}

void movePlacesTo(Line const &line, Sweep const &sweep) {
    alignas(64) std::uint32_t counters[256] = {}; // of all columns up to the place
    std::uint32_t *increments = sweep.increments[line.increment], *sums = sweep.sums;
    for (std::size_t place = 0; place < sweep.placeCount; place++) {
        for (std::size_t i = line.changesBegin; i < line.changesEnd; i++)
            count(sweep.changes[i], sweep.places[place], counters);
        VWords below = countsOfRunsBefore(counters);
        sums += 256;
        for (std::uint32_t i = 0; i < 256; i += lanes) {
            VWords const increment = hn::Add(hn::Load(Words(), increments + i), below);
            hn::Store(increment, Words(), increments + i);
            hn::Store(hn::Add(hn::Load(Words(), sums + i), increment), Words(), sums + i);
            below = hn::Add(below, hn::Load(Words(), counters + i));
        }
        increments += 256;
    }
}

/// Equalises a line's pixels at some places from their counts.
void equalisePlaces(Sweep const &sweep, Line const &line, Place const *begin, Place const *end,
                    std::uint32_t const *counts) {
    std::uint32_t const left = begin->begin, width = end[-1].end - left;
    for (std::size_t y = line.begin; y < line.end; y++) {
        unsigned char const *const row = sweep.in + y * sweep.columns;
        for (Place const *place = begin; place < end; place++)
            for (std::uint32_t x = place->begin; x < place->end; x++)
                sweep.below[x - left] = counts[(place - begin) * 256 + slotOf(row[x])];
        equaliseCounts(sweep.below, sweep.columnTotals + left, line.total, sweep.bytes, width);
        std::memcpy(sweep.out + y * sweep.columns + left, sweep.bytes, width);
    }
}

/// From the counts for the place before those for a place.
HWY_INLINE void slidePlace(Sweep const &sweep, std::size_t place, std::uint32_t const *before, std::uint32_t *counts) {
    std::uint32_t const *const here = sweep.sums + place * 256;
    std::uint32_t const *const openedEnd = sweep.sums + std::size_t{sweep.places[place].openedEnd} * 256;
    std::uint32_t const *const closedBegin = sweep.sums + std::size_t{sweep.places[place].closedBegin} * 256;
    for (std::uint32_t i = 0; i < 256; i += lanes) {
        VWords const ends = hn::Add(hn::Load(Words(), openedEnd + i), hn::Load(Words(), closedBegin + i));
        VWords const change = hn::Sub(ends, hn::ShiftLeft<1>(hn::Load(Words(), here + i)));
        hn::Store(hn::Add(hn::Load(Words(), before + i), change), Words(), counts + i);
    }
}

void sweepPlaces(Sweep const &sweep) {
    constexpr std::size_t atOnce = 16;
    alignas(64) std::uint32_t last[256], counts[atOnce * 256];
    clear(sweep, 256);
    for (Line const *line = sweep.lines; line < sweep.lines + sweep.lineCount; line++) {
        movePlacesTo(*line, sweep);
        std::memset(last, 0, sizeof last);
        for (std::size_t begin = 0, end; begin < sweep.placeCount; begin = end) {
            end = HWY_MIN(begin + atOnce, sweep.placeCount);
            slidePlace(sweep, begin, last, counts);
            for (std::size_t i = 1; i < end - begin; i++)
                slidePlace(sweep, begin + i, counts + (i - 1) * 256, counts + i * 256);
            std::memcpy(last, counts + (end - begin - 1) * 256, sizeof last);
            equalisePlaces(sweep, *line, sweep.places + begin, sweep.places + end, counts);
        }
    }
}

void equaliseInWindows(unsigned char const *in, unsigned char *out, FrameSize size, WindowSeries alongRows,
                       WindowSeries alongColumns) {
    sweepFrame(sweepColumns, sweepPlaces, in, out, size, alongRows, alongColumns);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(equaliseInWindows)
