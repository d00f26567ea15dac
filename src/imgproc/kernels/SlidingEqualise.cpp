// The windows are an axis' worth of spans by another's, and the spans that cover a position are a run of the series. So
// the histogram of a pixel is a sum over a run of spans on either axis, and each sum is slid on its own:
//
//   - The frame is swept line by line. For each place on the line, `sums` has the histogram of the pixels across the
//     line, each counted once for every span that covers both it and the line. It changes where a span begins, by the
//     span's histogram in `opened`, and behind its end, by that in `closed`. These two slide by a few pixels at a time.
//   - Along the line, the sum over the places under a span slides likewise, and `totals` adds it up from span to span.
//     The difference of two totals is the histogram of a run of spans.
//
// All of that is linear and modulo 2^32, so that it may be done in whatever form of histogram is linear as well: in
// Ranks, which a pixel changes in 32 counters and which tell the count below a value from two.

#include "imgproc/kernels/SlidingEqualise.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <vector>

#include "imgproc/kernels/Equalise.h"

namespace zun::kernels {
namespace {

/// A histogram of bytes as counts of what lies below. The counter of a value tells how many values of its group, of 16
/// values, lie below it; behind these, the counter of a group tells how many lie in the groups below.
template <class Count>
using Ranks = std::array<Count, 256 + 16>;
using Sum = Ranks<std::uint32_t>;

constexpr std::size_t groupCounter(unsigned char value) { return 256u + value / 16u; }

std::uint32_t below(unsigned char value, Sum const &ranks) { return ranks[value] + ranks[groupCounter(value)]; }

/// above<Count>[i][k]: all bits where k > i.
template <class Count>
constexpr auto above = [] {
    std::array<std::array<Count, 16>, 16> masks{};
    for (std::size_t i = 0; i < 16; i++)
        for (std::size_t k = i + 1; k < 16; k++) masks[i][k] = std::numeric_limits<Count>::max();
    return masks;
}();

/// Counts a value `times`: once, or once less as the largest Count.
template <class Count>
void count(Ranks<Count> &ranks, unsigned char value, Count times) {
    auto const addWhere = [times](std::array<Count, 16> const &mask, Count *counters) {
        for (std::size_t k = 0; k < 16; k++) counters[k] = static_cast<Count>(counters[k] + (mask[k] & times));
    };
    addWhere(above<Count>[value % 16u], ranks.data() + value / 16u * 16u);
    addWhere(above<Count>[value / 16u], ranks.data() + 256);
}

/// sum += opened - closed; spanSum += sum.
template <class Count>
void enter(Sum &__restrict spanSum, Sum &__restrict sum, Ranks<Count> const &__restrict opened,
           Ranks<Count> const &__restrict closed) {
    for (std::size_t i = 0; i < sum.size(); i++) {
        std::uint32_t const now = sum[i] + opened[i] - closed[i];
        sum[i] = now;
        spanSum[i] += now;
    }
}

void leave(Sum &__restrict spanSum, Sum const &__restrict sum) {
    for (std::size_t i = 0; i < sum.size(); i++) spanSum[i] -= sum[i];
}

void add(Sum &__restrict next, Sum const &__restrict total, Sum const &__restrict spanSum) {
    for (std::size_t i = 0; i < next.size(); i++) next[i] = total[i] + spanSum[i];
}

struct Span {
    std::size_t begin = 0, end = 0;
};

/// The spans of a series on an axis, and for each position on it what covers it: the spans from the count of those that
/// have ended up to the count of those that have begun.
struct Axis {
    struct Cover {
        std::size_t ended = 0, begun = 0;
        std::uint32_t total = 0; ///< the lengths of these spans
    };
    std::vector<Span> spans;
    std::vector<Cover> covers;

    Axis(WindowSeries series, std::uint32_t extent) : covers(extent) {
        for (std::int64_t begin = 0; begin < extent; begin += series.step)
            spans.push_back({static_cast<std::size_t>(begin),
                             static_cast<std::size_t>(std::min<std::int64_t>(begin + series.length, extent))});
        Cover now;
        for (std::size_t position = 0; position < extent; position++) {
            auto const length = [&](std::size_t i) {
                return static_cast<std::uint32_t>(spans[i].end - spans[i].begin);
            };
            if (now.begun < spans.size() && spans[now.begun].begin == position) now.total += length(now.begun++);
            if (now.ended < now.begun && spans[now.ended].end == position) now.total -= length(now.ended++);
            covers[position] = now;
        }
    }
};

/// A frame seen as lines with places on them, either way round.
struct Lines {
    unsigned char const *in;
    unsigned char *out;
    std::size_t linePitch, placePitch;

    unsigned char at(std::size_t line, std::size_t place) const { return in[line * linePitch + place * placePitch]; }
};

/// For each place the histogram of the pixels on the lines of a span.
template <class Count>
class SpanHistograms {
public:
    SpanHistograms(Lines const &frameLines, std::size_t places) : lines(frameLines), histograms(places) {}

    /// Names the next span, which begins and ends no earlier than the one before.
    void moveTo(Span const &span) {
        left = {current.begin, std::min(current.end, span.begin)};
        entered = {std::max(current.end, span.begin), span.end};
        current = span;
    }

    /// Brings a place from the span before to the current one.
    Ranks<Count> const &slide(std::size_t place) {
        Ranks<Count> &histogram = histograms[place];
        for (std::size_t line = left.begin; line < left.end; line++)
            count(histogram, lines.at(line, place), std::numeric_limits<Count>::max());
        for (std::size_t line = entered.begin; line < entered.end; line++)
            count(histogram, lines.at(line, place), Count(1));
        return histogram;
    }

private:
    Lines lines;
    std::vector<Ranks<Count>> histograms;
    Span current, left, entered;
};

template <class Count>
class Sweep {
public:
    Sweep(Lines const &frameLines, Axis const &acrossLines, Axis const &alongLine)
        : lines(frameLines), across(acrossLines), along(alongLine), opened(lines, along.covers.size()),
          closed(lines, along.covers.size()), sums(along.covers.size()), totals(along.spans.size() + 1) {}

    void run() {
        Axis::Cover before;
        for (std::size_t line = 0; line < across.covers.size(); line++) {
            Axis::Cover const &cover = across.covers[line];
            bool const opens = cover.begun != before.begun, closes = cover.ended != before.ended;
            if (opens) opened.moveTo(across.spans[cover.begun - 1]);
            if (closes) closed.moveTo(across.spans[cover.ended - 1]);
            if (opens || closes) addUp(opens, closes);
            equaliseLine(line, cover.total);
            before = cover;
        }
    }

private:
    /// Brings `sums` to the next line, and makes the totals over its spans.
    void addUp(bool opens, bool closes) {
        static constexpr Ranks<Count> nothing{};
        Sum spanSum{};
        std::size_t entering = 0, leaving = 0;
        for (std::size_t i = 0; i < along.spans.size(); i++) {
            for (; entering < along.spans[i].end; entering++)
                enter(spanSum, sums[entering], opens ? opened.slide(entering) : nothing,
                      closes ? closed.slide(entering) : nothing);
            for (; leaving < along.spans[i].begin; leaving++) leave(spanSum, sums[leaving]);
            add(totals[i + 1], totals[i], spanSum);
        }
    }

    void equaliseLine(std::size_t line, std::uint32_t total) {
        unsigned char *out = lines.out + line * lines.linePitch;
        for (std::size_t place = 0; place < along.covers.size(); place++, out += lines.placePitch) {
            unsigned char const value = lines.at(line, place);
            Axis::Cover const &cover = along.covers[place];
            *out =
                equalised(below(value, totals[cover.begun]) - below(value, totals[cover.ended]), total * cover.total);
        }
    }

    Lines lines;
    Axis const &across, &along;
    SpanHistograms<Count> opened, closed;
    std::vector<Sum> sums;
    std::vector<Sum> totals; ///< [i]: over the spans before the i-th
};

} // namespace

void equaliseInWindows(unsigned char const *in, unsigned char *out, FrameSize size, WindowSeries alongRows,
                       WindowSeries alongColumns) {
    if (size.rows == 0 || size.columns == 0) return;
    Axis const rows(alongColumns, size.rows), columns(alongRows, size.columns);
    // The histograms are kept for each place on a line, so lines are the shorter way across the frame.
    bool const byRows = size.columns <= size.rows;
    Lines const lines{in, out, byRows ? size.columns : 1u, byRows ? 1u : size.columns};
    Axis const &across = byRows ? rows : columns, &along = byRows ? columns : rows;
    if (std::max(size.rows, size.columns) <= std::numeric_limits<std::uint16_t>::max())
        Sweep<std::uint16_t>(lines, across, along).run();
    else
        Sweep<std::uint32_t>(lines, across, along).run();
}

} // namespace zun::kernels
