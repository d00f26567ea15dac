// A run of the least length covers one of the pixels that lie that far apart, so that only these are looked at, and
// what a run through them reaches.

#include "imgproc/kernels/LongRuns.h"

#include <cstring>

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

/// How many bytes from the first on have the value, at most `most`.
std::size_t countFrom(unsigned char const *first, std::size_t most, unsigned char value) {
    std::size_t const lanes = hn::Lanes(Bytes());
    VBytes const wanted = hn::Set(Bytes(), value);
    std::size_t i = 0;
    for (; i + lanes <= most; i += lanes) {
        std::intptr_t const other = hn::FindFirstTrue(Bytes(), hn::Ne(hn::LoadU(Bytes(), first + i), wanted));
        if (other >= 0) return i + static_cast<std::size_t>(other);
    }
    while (i < most && first[i] == value) i++;
    return i;
}

/// Likewise for those before the end.
std::size_t countBefore(unsigned char const *end, std::size_t most, unsigned char value) {
    std::size_t const lanes = hn::Lanes(Bytes());
    VBytes const wanted = hn::Set(Bytes(), value);
    std::size_t i = 0;
    while (i + lanes <= most && hn::AllTrue(Bytes(), hn::Eq(hn::LoadU(Bytes(), end - i - lanes), wanted))) i += lanes;
    while (i < most && end[-1 - static_cast<std::ptrdiff_t>(i)] == value) i++;
    return i;
}

void overwriteLongRowRuns(unsigned char const *in, unsigned char *out, std::uint32_t rows, std::uint32_t columns,
                          RunRule const &rule) {
    if (rule.leastLength < 1) return plain::overwriteLongRowRuns(in, out, rows, columns, rule);
    auto const least = static_cast<std::size_t>(rule.leastLength);
    for (std::uint32_t row = 0; row < rows; row++, in += columns, out += columns) {
        // No run that is looked for begins before the last pixel that was found not to be of one.
        for (std::size_t x = least - 1; x < columns; x += least) {
            if (in[x] != rule.runValue) continue;
            std::size_t const before = countBefore(in + x, least - 1, rule.runValue);
            std::size_t const end = x + 1 + countFrom(in + x + 1, columns - x - 1, rule.runValue);
            if (end - x + before >= least) std::memset(out + x - before, rule.fillValue, end - x + before);
            x = end;
        }
    }
}

/// Columns side by side, one for each lane of a vector.
class ColumnBlock {
public:
    ColumnBlock(unsigned char const *inTop, std::size_t inRow, unsigned char *outTop, std::size_t outRow,
                std::uint32_t rowCount, RunRule const &runRule)
        : in(inTop), out(outTop), inPitch(inRow), outPitch(outRow), rows(rowCount),
          least(static_cast<std::size_t>(runRule.leastLength)), run(hn::Set(Bytes(), runRule.runValue)),
          fill(hn::Set(Bytes(), runRule.fillValue)) {}

    /// Overwrites what the long runs through a row have less than their least length above and below it.
    void overwriteThrough(std::size_t row) const {
        std::uint64_t const alive = bitsOf(isRun(row));
        if (alive == 0) return;
        std::size_t const above = HWY_MIN(row, least - 1), below = HWY_MIN(rows - 1 - row, least - 1);
        std::uint32_t lengths[64] = {};
        addLengths(row, -1, above, alive, lengths);
        addLengths(row, 1, below, alive, lengths);

        alignas(64) std::uint8_t isLong[64] = {};
        bool any = false;
        for (std::size_t i = 0; i < hn::Lanes(Bytes()); i++) {
            bool const enough = (alive >> i & 1) != 0 && lengths[i] + 1 >= least;
            isLong[i] = enough ? 0xFF : 0;
            any = any || enough;
        }
        if (!any) return;
        auto const overwritten = hn::MaskFromVec(hn::Load(Bytes(), isLong));
        overwrite(row, -1, above, overwritten);
        overwrite(row, 1, below, overwritten);
    }

private:
    using Lanes = hn::Mask<Bytes>;

    Lanes isRun(std::size_t row) const { return hn::Eq(hn::LoadU(Bytes(), in + row * inPitch), run); }

    static std::uint64_t bitsOf(Lanes lanes) {
        std::uint8_t bytes[8] = {};
        hn::StoreMaskBits(Bytes(), lanes, bytes);
        std::uint64_t bits;
        std::memcpy(&bits, bytes, sizeof bits);
        return bits;
    }

    static std::size_t next(std::size_t row, int step) { return step < 0 ? row - 1 : row + 1; }

    /// Adds for each lane how many of the next `most` rows go on with its run.
    void addLengths(std::size_t row, int step, std::size_t most, std::uint64_t alive, std::uint32_t *lengths) const {
        std::uint32_t length = 0;
        for (; alive != 0 && length < most; length++) {
            row = next(row, step);
            std::uint64_t const still = alive & bitsOf(isRun(row));
            addWhere(alive & ~still, length, lengths);
            alive = still;
        }
        addWhere(alive, length, lengths);
    }

    static void addWhere(std::uint64_t lanes, std::uint32_t length, std::uint32_t *lengths) {
        for (; lanes != 0; lanes &= lanes - 1) lengths[hwy::Num0BitsBelowLS1Bit_Nonzero64(lanes)] += length;
    }

    void overwrite(std::size_t row, int step, std::size_t most, Lanes lanes) const {
        for (std::size_t i = 0; !hn::AllFalse(Bytes(), lanes); i++) {
            std::uint8_t *const to = out + row * outPitch;
            hn::StoreU(hn::IfThenElse(lanes, fill, hn::LoadU(Bytes(), to)), Bytes(), to);
            if (i == most) return;
            row = next(row, step);
            lanes = hn::And(lanes, isRun(row));
        }
    }

    unsigned char const *in;
    unsigned char *out;
    std::size_t inPitch, outPitch, rows, least;
    VBytes run, fill;
};

void overwriteLongColumnRuns(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                             std::uint32_t columns, RunRule const &rule) {
    if (rule.leastLength < 1 || columns < hn::Lanes(Bytes()))
        return plain::overwriteLongColumnRuns(in, inPitch, out, rows, columns, rule);
    auto const least = static_cast<std::size_t>(rule.leastLength);
    for (std::size_t row = least - 1; row < rows; row += least)
        forEachVector(columns, [&](std::size_t x) HWY_ATTR {
            ColumnBlock(in + x, inPitch, out + x, columns, rows, rule).overwriteThrough(row);
        });
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(overwriteLongRowRuns)
ZUN_DISPATCH(overwriteLongColumnRuns)
