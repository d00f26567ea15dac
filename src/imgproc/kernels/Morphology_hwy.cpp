// Mismatches are bytes that are not 0. Those under the element's rows are gathered first, then those under its columns.
//
// The frame is cut across into blocks as high as the element, the first of which begins with the first output row's
// window. A window lies in a block from some row on, and in the next block up to some row; so it is the disjunction of
// a tail of the one and a head of the other, whatever the element's height.

#include "imgproc/kernels/Morphology.h"

#include <algorithm>
#include <cstring>

#include "imgproc/kernels/Scratch.h"

#ifndef ZUN_MORPHOLOGY_ONCE
#define ZUN_MORPHOLOGY_ONCE
namespace zun::kernels {

constexpr std::int64_t mostRowsRead = 3; ///< for an output row, before windows are joined from blocks
constexpr std::size_t mostMarksRead = 3; ///< for a pixel, before marks that cover more are made
constexpr std::size_t marksBehind = 64;  ///< a row of marks, for vectors that reach over its end

/// A frame in which what is not `value` mismatches.
struct BinaryFrame {
    unsigned char const *first;
    std::uint32_t pitch;
    std::int64_t rows;
    std::uint32_t columns;
    unsigned char value;

    unsigned char const *row(std::int64_t y) const { return first + static_cast<std::size_t>(y) * pitch; }
};

struct MorphologyScratch {
    std::uint8_t *window;   ///< a row of marks, as wide as the frame and the element, that is 0 beside the frame
    std::uint8_t *marks[2]; ///< further ones, undefined
    std::uint8_t *head;     ///< a row
    std::uint8_t *tails;    ///< as many rows as the element or the frame has, whichever has fewer
};

} // namespace zun::kernels
#endif

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imgproc/kernels/Morphology_hwy.cpp"
#include <hwy/foreach_target.h>

#include "imgproc/kernels/Vectors-inl.h"

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

/// The mismatches under the element's rows, for one output row after the other.
class RowWindows {
public:
    RowWindows(BinaryFrame const &wholeFrame, Element const &element, std::uint8_t *headRow, std::uint8_t *tailRows)
        : frame(wholeFrame), height(element.rows), originRow(element.originRow), head(headRow), tails(tailRows) {}

    void gather(std::int64_t y, std::uint8_t *window) {
        std::int64_t const top = y - originRow;
        if (height > mostRowsRead) return joinBlocks(y, top, window);
        auto const row = [&](std::int64_t k) HWY_ATTR {
            return frame.row(HWY_MIN(HWY_MAX(top + HWY_MIN(k, height - 1), 0), frame.rows - 1));
        };
        joinRows(row(0), row(1), row(2), frame.value, window, frame.columns);
    }

private:
    void joinBlocks(std::int64_t y, std::int64_t top, std::uint8_t *window) {
        std::int64_t const bottom = top + height - 1;
        unsigned char const *entering = nullptr;
        if (y % height == 0)
            beginBlock(top, bottom);
        else if (bottom < frame.rows)
            entering = frame.row(bottom);
        joinWindow(tailOf(HWY_MAX(top, firstTail)), entering, frame.value, head, window, frame.columns);
    }

    void beginBlock(std::int64_t top, std::int64_t bottom) {
        firstTail = HWY_MAX(top, 0);
        std::uint8_t const *below = nullptr;
        for (std::int64_t row = HWY_MIN(bottom, frame.rows - 1); row >= firstTail; row--) {
            gatherTail(frame.row(row), frame.value, below, tailOf(row), frame.columns);
            below = tailOf(row);
        }
        std::memset(head, 0, frame.columns);
    }

    std::uint8_t *tailOf(std::int64_t row) const {
        return tails + static_cast<std::size_t>(row - firstTail) * frame.columns;
    }

    BinaryFrame frame;
    std::int64_t height, originRow, firstTail = 0;
    std::uint8_t *head, *tails;
};

/// out[x] = in[x] | in[x + distance]; both have room for a vector more.
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
    if (frame.columns < hn::Lanes(Bytes()))
        return plain::matchElement(frame.first, frame.pitch, out, static_cast<std::uint32_t>(frame.rows), frame.columns,
                                   element, frame.value, hit, miss);
    auto const width = static_cast<std::size_t>(element.columns);
    RowWindows rows(frame, element, scratch.head, scratch.tails);
    for (std::int64_t y = 0; y < frame.rows; y++, out += frame.columns) {
        rows.gather(y, scratch.window + element.originColumn);
        // A mark covers twice as many columns with each step, until a few of them make the whole width.
        std::uint8_t const *marks = scratch.window;
        std::size_t covered = 1;
        for (int next = 0; covered * mostMarksRead < width; covered *= 2, next = 1 - next) {
            orWithNeighbour(marks, scratch.marks[next], frame.columns + width - 2 * covered, covered);
            marks = scratch.marks[next];
        }
        writeResult(marks, covered, width, hit, miss, out, frame.columns);
    }
}

#else

void matchElement(BinaryFrame const &frame, Element const &element, unsigned char hit, unsigned char miss,
                  unsigned char *out, MorphologyScratch const &) {
    plain::matchElement(frame.first, frame.pitch, out, static_cast<std::uint32_t>(frame.rows), frame.columns, element,
                        frame.value, hit, miss);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zun::kernels {

HWY_EXPORT(matchElement);
void matchElement(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                  std::uint32_t columns, Element const &element, unsigned char value, unsigned char hit,
                  unsigned char miss) {
    if (rows == 0 || columns == 0) return;
    std::uint64_t const markRow = std::uint64_t(columns) + static_cast<std::uint32_t>(element.columns) + marksBehind;
    Scratch<std::uint8_t> const marks(3 * markRow), head(columns);
    Scratch<std::uint8_t> const tails(std::uint64_t(columns) * std::min<std::int64_t>(rows, element.rows));
    // Columns off the frame never mismatch.
    std::memset(marks.data(), 0, markRow);
    HWY_DYNAMIC_DISPATCH(matchElement)
    ({in, inPitch, rows, columns, value}, element, hit, miss, out,
     {marks.data(), {marks.data() + markRow, marks.data() + 2 * markRow}, head.data(), tails.data()});
}

} // namespace zun::kernels
#endif
