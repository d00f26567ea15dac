// Mismatches are bytes that are not 0. Those under the element's rows are gathered first, then those under its columns.
//
// The frame is cut across into blocks as high as the element, the first of which begins with the first output row's
// window. A window lies in a block from some row on, and in the next block up to some row; so it is the disjunction of
// a tail of the one and a head of the other, whatever the element's height.

#include "imgproc/kernels/Morphology.h"

#include <algorithm>
#include <cstring>

#include "imgproc/kernels/Scratch.h"
#include "imgproc/kernels/Vectors-inl.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

constexpr std::int64_t mostRowsRead = 3;    ///< for an output row, before windows are joined from blocks
constexpr std::size_t mostMarksRead = 3;    ///< for a pixel, before marks that cover more are made
constexpr std::uint32_t longestVector = 64; ///< of all targets, in bytes

/// A frame in which what is not `value` mismatches.
struct BinaryFrame {
    unsigned char const *first;
    std::uint32_t pitch;
    std::int64_t rows;
    std::uint32_t columns;
    unsigned char value;
};

/// Its rows of marks are as long as a row, or a vector if that is longer.
struct MorphologyScratch {
    std::uint8_t *window;   ///< a row of marks, with the element's width more, that is 0 beside the frame
    std::uint8_t *marks[2]; ///< further ones, undefined
    std::uint8_t *head;     ///< a row
    std::uint8_t *tails;    ///< as many rows as the element or the frame has, whichever has fewer
};

using MatchElement = void(BinaryFrame const &frame, Element const &element, unsigned char hit, unsigned char miss,
                          unsigned char *out, MorphologyScratch const &scratch);

static void matchWith(MatchElement matchElement, BinaryFrame const &frame, Element const &element, unsigned char hit,
                      unsigned char miss, unsigned char *out) {
    if (frame.rows == 0 || frame.columns == 0) return;
    std::uint64_t const row = std::max(frame.columns, longestVector);
    std::uint64_t const markRow = row + static_cast<std::uint32_t>(element.columns) + longestVector;
    Scratch<std::uint8_t> const marks(3 * markRow), head(row);
    Scratch<std::uint8_t> const tails(row *
                                      static_cast<std::uint64_t>(std::min<std::int64_t>(frame.rows, element.rows)));
    // Columns off the frame never mismatch.
    std::memset(marks.data(), 0, markRow);
    matchElement(frame, element, hit, miss, out,
                 {marks.data(), {marks.data() + markRow, marks.data() + 2 * markRow}, head.data(), tails.data()});
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

/// tail[x] = whether the row or what is below mismatches; `below` may be missing.
void gatherTail(unsigned char const *row, unsigned char value, std::uint8_t const *below, std::uint8_t *tail,
                std::uint32_t columns) {
    VBytes const wanted = hn::Set(Bytes(), value);
    forEachVector(columns, [&](std::size_t x) HWY_ATTR {
        VBytes const here = hn::Xor(hn::LoadU(Bytes(), row + x), wanted);
        hn::StoreU(below != nullptr ? hn::Or(here, hn::LoadU(Bytes(), below + x)) : here, Bytes(), tail + x);
    });
}

/// window[x] = tail[x] | head[x], the head with the mismatches of the row that enters it, if there is one.
void joinWindow(std::uint8_t const *tail, unsigned char const *entering, unsigned char value, std::uint8_t *head,
                std::uint8_t *window, std::uint32_t columns) {
    VBytes const wanted = hn::Set(Bytes(), value);
    forEachVector(columns, [&](std::size_t x) HWY_ATTR {
        VBytes joined = hn::LoadU(Bytes(), head + x);
        if (entering != nullptr) {
            joined = hn::Or(joined, hn::Xor(hn::LoadU(Bytes(), entering + x), wanted));
            hn::StoreU(joined, Bytes(), head + x);
        }
        hn::StoreU(hn::Or(joined, hn::LoadU(Bytes(), tail + x)), Bytes(), window + x);
    });
}

/// window[x] = whether any of the three rows mismatches.
void joinRows(unsigned char const *a, unsigned char const *b, unsigned char const *c, unsigned char value,
              std::uint8_t *window, std::uint32_t columns) {
    VBytes const wanted = hn::Set(Bytes(), value);
    auto const mismatches = [&](unsigned char const *row) HWY_ATTR { return hn::Xor(hn::LoadU(Bytes(), row), wanted); };
    forEachVector(columns, [&](std::size_t x) HWY_ATTR {
        hn::StoreU(hn::Or(hn::Or(mismatches(a + x), mismatches(b + x)), mismatches(c + x)), Bytes(), window + x);
    });
}

/// The rows of a frame. One that is shorter than a vector is copied, and pixels that match follow it.
class PaddedRows {
public:
    explicit PaddedRows(BinaryFrame const &wholeFrame)
        : frame(wholeFrame), length(HWY_MAX(frame.columns, static_cast<std::uint32_t>(hn::Lanes(Bytes())))) {
        std::memset(copies, frame.value, sizeof copies);
    }

    /// Of the frame or a copy.
    std::uint32_t columns() const { return length; }

    /// `copy`, below mostRowsRead: the rows that are wanted at the same time have different ones.
    unsigned char const *row(std::int64_t y, std::int64_t copy = 0) {
        unsigned char const *const first = frame.first + static_cast<std::size_t>(y) * frame.pitch;
        if (frame.columns == length) return first;
        std::memcpy(copies[copy], first, frame.columns);
        return copies[copy];
    }

private:
    BinaryFrame frame;
    std::uint32_t length;
    std::uint8_t copies[mostRowsRead][longestVector];
};

/// The mismatches under the element's rows, for one output row after the other.
class RowWindows {
public:
    RowWindows(BinaryFrame const &frame, Element const &element, std::uint8_t *headRow, std::uint8_t *tailRows)
        : rows(frame), rowCount(frame.rows), value(frame.value), height(element.rows), originRow(element.originRow),
          head(headRow), tails(tailRows) {}

    std::uint32_t columns() const { return rows.columns(); }

    void gather(std::int64_t y, std::uint8_t *window) {
        std::int64_t const top = y - originRow;
        if (height > mostRowsRead) return joinBlocks(y, top, window);
        auto const row = [&](std::int64_t k) HWY_ATTR {
            return rows.row(HWY_MIN(HWY_MAX(top + HWY_MIN(k, height - 1), 0), rowCount - 1), k);
        };
        joinRows(row(0), row(1), row(2), value, window, columns());
    }

private:
    void joinBlocks(std::int64_t y, std::int64_t top, std::uint8_t *window) {
        std::int64_t const bottom = top + height - 1;
        unsigned char const *entering = nullptr;
        if (y % height == 0)
            beginBlock(top, bottom);
        else if (bottom < rowCount)
            entering = rows.row(bottom);
        joinWindow(tailOf(HWY_MAX(top, firstTail)), entering, value, head, window, columns());
    }

    void beginBlock(std::int64_t top, std::int64_t bottom) {
        firstTail = HWY_MAX(top, 0);
        std::uint8_t const *below = nullptr;
        for (std::int64_t row = HWY_MIN(bottom, rowCount - 1); row >= firstTail; row--) {
            gatherTail(rows.row(row), value, below, tailOf(row), columns());
            below = tailOf(row);
        }
        std::memset(head, 0, columns());
    }

    std::uint8_t *tailOf(std::int64_t row) const {
        return tails + static_cast<std::size_t>(row - firstTail) * columns();
    }

    PaddedRows rows;
    std::int64_t rowCount;
    unsigned char value;
    std::int64_t height, originRow, firstTail = 0;
    std::uint8_t *head, *tails;
};

/// out[x] = in[x] | in[x + distance]; both have space for a vector more.
void orWithNeighbour(std::uint8_t const *in, std::uint8_t *out, std::size_t count, std::size_t distance) {
    for (std::size_t x = 0; x < count; x += hn::Lanes(Bytes()))
        hn::StoreU(hn::Or(hn::LoadU(Bytes(), in + x), hn::LoadU(Bytes(), in + x + distance)), Bytes(), out + x);
}

/// Looks at the `width` columns from each on, of which a mark covers `covered`, at least a third.
void writeResult(std::uint8_t const *marks, std::size_t covered, std::size_t width, unsigned char hit,
                 unsigned char miss, unsigned char *out, std::uint32_t columns) {
    VBytes const hits = hn::Set(Bytes(), hit), misses = hn::Set(Bytes(), miss);
    std::uint8_t const *const last = marks + width - covered, *const middle = HWY_MIN(marks + covered, last);
    forEachVector(columns, [&](std::size_t x) HWY_ATTR {
        VBytes const two = hn::Or(hn::LoadU(Bytes(), marks + x), hn::LoadU(Bytes(), middle + x));
        VBytes const any = hn::Or(two, hn::LoadU(Bytes(), last + x));
        hn::StoreU(hn::IfThenElse(hn::Eq(any, hn::Zero(Bytes())), hits, misses), Bytes(), out + x);
    });
}

void matchElement(BinaryFrame const &frame, Element const &element, unsigned char hit, unsigned char miss,
                  unsigned char *out, MorphologyScratch const &scratch) {
    auto const width = static_cast<std::size_t>(element.columns);
    RowWindows rows(frame, element, scratch.head, scratch.tails);
    bool const fits = frame.columns == rows.columns();
    std::uint8_t vector[longestVector];
    for (std::int64_t y = 0; y < frame.rows; y++, out += frame.columns) {
        rows.gather(y, scratch.window + element.originColumn);
        // A mark covers twice as many columns with each step, until a few of them make the whole width.
        std::uint8_t const *marks = scratch.window;
        std::size_t covered = 1;
        for (int next = 0; covered * mostMarksRead < width; covered *= 2, next = 1 - next) {
            orWithNeighbour(marks, scratch.marks[next], rows.columns() + width - 2 * covered, covered);
            marks = scratch.marks[next];
        }
        writeResult(marks, covered, width, hit, miss, fits ? out : vector, rows.columns());
        if (!fits) std::memcpy(out, vector, frame.columns);
    }
}

void erodeOrDilate(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                   std::uint32_t columns, Element const &element, unsigned char value, unsigned char hit,
                   unsigned char miss) {
    matchWith(matchElement, {in, inPitch, rows, columns, value}, element, hit, miss, out);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(erodeOrDilate)
