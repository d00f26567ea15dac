#include "imgproc/kernels/Resize.h"

#include "imgproc/kernels/ResizePicks-inl.h"
#include "imgproc/kernels/ResizePicks.h"
#include "imgproc/kernels/ResizeTables.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

/// What is kept for each side of a column's position.
struct BilinearSide {
    Picks picks;
    float *weights;
    std::uint32_t *picked;
};

struct BilinearScratch {
    Neighbours const *rows;
    BilinearSide left, right;
    float *upper, *lower; ///< interpolated rows, for each vector of columns the three channels one after the other
};

using Interpolate = void(BilinearScratch scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to);

static void bilinearWith(Interpolate interpolate, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    std::vector<Neighbours> const rows = rowNeighbours(from.rows, to.rows),
                                  columns = columnNeighbours(from.columns, to.columns);
    PickScratch const tables(2, to.columns);
    Picks const left = tables.picks(0, to.columns, [&](std::size_t j) { return columns[j].first; }),
                right = tables.picks(1, to.columns, [&](std::size_t j) { return columns[j].second; });
    Scratch<std::uint32_t> const picked(2 * left.count);
    Scratch<float> const floats(8 * left.count);
    float *const weights = floats.data(), *const stretched = weights + 2 * left.count;
    for (std::size_t j = 0; j < left.count; j++) {
        Neighbours const &at = columns[j < to.columns ? j : to.columns - 1];
        weights[j] = at.wFirst;
        weights[left.count + j] = at.wSecond;
    }
    BilinearScratch const scratch{rows.data(),
                                  {left, weights, picked.data()},
                                  {right, weights + left.count, picked.data() + left.count},
                                  stretched,
                                  stretched + 3 * left.count};
    interpolate(scratch, in, from, out, to);
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

/// The rows of a frame at their new width, of which the last two are kept for the output rows between them.
class StretchedRows {
public:
    StretchedRows(std::uint8_t const *frame, std::uint32_t columns, BilinearScratch const &tables)
        : in(frame), rowBytes(3 * std::size_t(columns)),
          scratch(tables), upper{scratch.upper, none}, lower{scratch.lower, none} {}

    struct Pair {
        float const *upper, *lower;
    };
    Pair rows(std::uint32_t top, std::uint32_t bottom) {
        if (lower.row == top) {
            Held const passed = upper;
            upper = lower;
            lower = passed;
        }
        hold(upper, top);
        hold(lower, bottom);
        return {upper.values, lower.values};
    }

private:
    static constexpr std::uint64_t none = ~std::uint64_t(0);
    struct Held {
        float *values;
        std::uint64_t row;
    };

    void hold(Held &held, std::uint32_t row) const {
        if (held.row == row) return;
        held.row = row;
        BilinearSide const &left = scratch.left, &right = scratch.right;
        pick(left.picks, in + row * rowBytes, left.picked);
        pick(right.picks, in + row * rowBytes, right.picked);
        std::size_t const lanes = hn::Lanes(Words());
        for (std::size_t j = 0; j < left.picks.count; j += lanes) {
            VWords const pixels = hn::Load(Words(), left.picked + j), next = hn::Load(Words(), right.picked + j);
            VFloats const weight = hn::Load(Floats(), left.weights + j),
                          weightOfNext = hn::Load(Floats(), right.weights + j);
            auto const store = [&](VFloats value, VFloats valueOfNext, std::size_t channel) HWY_ATTR {
                hn::Store(hn::Add(hn::Mul(value, weight), hn::Mul(valueOfNext, weightOfNext)), Floats(),
                          held.values + 3 * j + channel * lanes);
            };
            store(floatsOf<0>(pixels), floatsOf<0>(next), 0);
            store(floatsOf<1>(pixels), floatsOf<1>(next), 1);
            store(floatsOf<2>(pixels), floatsOf<2>(next), 2);
        }
    }

    std::uint8_t const *in;
    std::size_t rowBytes;
    BilinearScratch const &scratch;
    Held upper, lower;
};

void interpolate(BilinearScratch scratch, Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    makeWindows(scratch.left.picks, from.columns);
    makeWindows(scratch.right.picks, from.columns);
    RowWriter const writer;
    StretchedRows stretched(reinterpret_cast<std::uint8_t const *>(in), from.columns, scratch);
    auto *row = reinterpret_cast<std::uint8_t *>(out);
    std::size_t const lanes = hn::Lanes(Floats());
    for (std::uint32_t i = 0; i < to.rows; i++, row += 3 * std::size_t(to.columns)) {
        Neighbours const &at = scratch.rows[i];
        StretchedRows::Pair const pair = stretched.rows(at.first, at.second);
        VFloats const wUpper = hn::Set(Floats(), at.wFirst), wLower = hn::Set(Floats(), at.wSecond);
        auto const blended = [&](std::size_t first) HWY_ATTR {
            VFloats const value = hn::Add(hn::Mul(hn::Load(Floats(), pair.upper + first), wUpper),
                                          hn::Mul(hn::Load(Floats(), pair.lower + first), wLower));
            return truncate(hn::Max(hn::Zero(Floats()), hn::Min(hn::Set(Floats(), 255.0f), value)));
        };
        for (std::size_t j = 0; j < to.columns; j += lanes)
            writer.store(row + 3 * j, to.columns - j, blended(3 * j), blended(3 * j + lanes),
                         blended(3 * j + 2 * lanes));
    }
}

void resizeBilinear(Vec3b const *in, FrameSize from, Vec3b *out, FrameSize to) {
    bilinearWith(interpolate, in, from, out, to);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(resizeBilinear)
