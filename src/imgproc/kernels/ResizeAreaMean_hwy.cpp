// Each lane sums up the area of one output pixel, in the plain form's order: which columns are covered, and by which
// share, differs from lane to lane, and so all lanes take the most that any needs. Those that are not covered have
// weight 0, and adding 0 to a sum that is not negative changes no bit of it; nor does a factor of 1.
#include "imgproc/kernels/Resize.h"

#include <algorithm>

#include "imgproc/kernels/ResizePicks-inl.h"
#include "imgproc/kernels/ResizePicks.h"
#include "imgproc/kernels/ResizeTables.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

/// One of the columns that each output column covers.
struct CoveredColumn {
    Picks picks;
    float *weights;
};

struct AreaMeanScratch {
    Span const *rows;
    float divisor;
    CoveredColumn *covered; ///< the one at the left, the inner ones, the one at the right
    std::size_t coveredCount;
    std::uint32_t *picked;
    float *sums; ///< for each vector of columns the three channels one after the other
};

/// One of the columns that a span covers: 0 is the one that it begins in, `last` the one that it ends in.
struct Share {
    std::uint32_t column;
    float weight;
};
static Share shareOf(Span const &span, std::uint32_t which, std::uint32_t last) {
    if (which == 0) return {span.first, span.wFirst};
    if (which == last) return {span.end, span.wLast};
    std::uint32_t const column = span.whole + which - 1;
    return {column, column < span.end ? 1.0f : 0.0f};
}

using SumAreas = void(AreaMeanScratch const &scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

static void areaMeanWith(SumAreas sumAreas, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    if (to.columns < mostLanes) return plain::resizeAreaMean(in, from, out, to); // most lanes would be idle
    std::vector<Span> const rows = spans(from.rows, to.rows), columns = spans(from.columns, to.columns);
    std::uint32_t inner = 0;
    for (Span const &span : columns) inner = std::max(inner, span.end - span.whole);
    std::uint32_t const coveredCount = inner + 2;

    PickScratch const tables(coveredCount, to.columns);
    std::size_t const count = wholeVectors(to.columns);
    Scratch<float> const floats((coveredCount + 3) * count);
    Scratch<std::uint32_t> const picked(count);
    Scratch<CoveredColumn> const covered(coveredCount);
    for (std::uint32_t k = 0; k < coveredCount; k++) {
        auto const share = [&](std::size_t j) { return shareOf(columns[j], k, coveredCount - 1); };
        // One of weight 0 may lie beyond the frame.
        Picks const picks =
            tables.picks(k, to.columns, [&](std::size_t j) { return std::min(share(j).column, from.columns - 1); });
        float *const weights = floats.data() + k * count;
        for (std::size_t j = 0; j < count; j++) weights[j] = j < to.columns ? share(j).weight : 0.0f;
        covered[k] = {picks, weights};
    }
    AreaMeanScratch const scratch{rows.data(),  meanDivisor(from, to), covered.data(),
                                  coveredCount, picked.data(),         floats.data() + coveredCount * count};
    sumAreas(scratch, in, from, out, to);
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

class AreaSums {
public:
    AreaSums(std::uint8_t const *frame, std::uint32_t columns, AreaMeanScratch const &tables)
        : in(frame), rowBytes(3 * std::size_t(columns)), count(tables.covered[0].picks.count), scratch(tables) {}

    void clear() const { std::memset(scratch.sums, 0, 3 * count * sizeof(float)); }

    /// One row, of which the share `weight` is covered.
    void addRow(std::uint32_t row, float weight) const {
        for (std::size_t k = 0; k < scratch.coveredCount; k++) addColumns(k, row, weight);
    }

    void addWholeRows(std::uint32_t first, std::uint32_t end) const {
        std::size_t const right = scratch.coveredCount - 1;
        for (std::uint32_t row = first; row < end; row++) addColumns(0, row, 1.0f);
        for (std::uint32_t row = first; row < end; row++)
            for (std::size_t k = 1; k < right; k++) addColumns(k, row, 1.0f);
        for (std::uint32_t row = first; row < end; row++) addColumns(right, row, 1.0f);
    }

    void storeMeans(std::uint8_t *out, std::size_t columns, RowWriter const &writer) const {
        VFloats const divisor = hn::Set(Floats(), scratch.divisor);
        std::size_t const lanes = hn::Lanes(Floats());
        auto const mean = [&](std::size_t first)
                              HWY_ATTR { return truncate(hn::Div(hn::Load(Floats(), scratch.sums + first), divisor)); };
        for (std::size_t j = 0; j < columns; j += lanes)
            writer.store(out + 3 * j, columns - j, mean(3 * j), mean(3 * j + lanes), mean(3 * j + 2 * lanes));
    }

private:
    void addColumns(std::size_t which, std::uint32_t row, float rowWeight) const {
        CoveredColumn const &column = scratch.covered[which];
        pick(column.picks, in + row * rowBytes, scratch.picked);
        VFloats const shareOfRow = hn::Set(Floats(), rowWeight);
        std::size_t const lanes = hn::Lanes(Floats());
        for (std::size_t j = 0; j < count; j += lanes) {
            VWords const pixels = hn::Load(Words(), scratch.picked + j);
            VFloats const weight = hn::Mul(shareOfRow, hn::Load(Floats(), column.weights + j));
            float *const sums = scratch.sums + 3 * j;
            auto const add = [&](VFloats value, float *sum) HWY_ATTR {
                hn::Store(hn::Add(hn::Load(Floats(), sum), hn::Mul(value, weight)), Floats(), sum);
            };
            add(floatsOf<0>(pixels), sums);
            add(floatsOf<1>(pixels), sums + lanes);
            add(floatsOf<2>(pixels), sums + 2 * lanes);
        }
    }

    std::uint8_t const *in;
    std::size_t rowBytes, count;
    AreaMeanScratch const &scratch;
};

void sumAreas(AreaMeanScratch const &scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    for (std::size_t k = 0; k < scratch.coveredCount; k++) makeWindows(scratch.covered[k].picks, from.columns);
    RowWriter const writer;
    AreaSums const sums(reinterpret_cast<std::uint8_t const *>(in), from.columns, scratch);
    for (std::uint32_t i = 0; i < to.rows; i++, out += to.columns) {
        Span const &rows = scratch.rows[i];
        sums.clear();
        if (rows.wFirst != 0.0f) sums.addRow(rows.first, rows.wFirst);
        sums.addWholeRows(rows.whole, rows.end);
        if (rows.wLast != 0.0f) sums.addRow(rows.end, rows.wLast);
        sums.storeMeans(reinterpret_cast<std::uint8_t *>(out), to.columns, writer);
    }
}

void resizeAreaMean(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    areaMeanWith(sumAreas, in, from, out, to);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(resizeAreaMean)
