#include "imgproc/kernels/Warp.h"

#include <cstring>

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

using Longs = hn::Repartition<std::uint64_t, Words>;
constexpr auto lanes = static_cast<std::uint32_t>(hn::MaxLanes(Words()));

/// Neighbouring samples of one row, as far as they have come. They are found, fetched and blended run by run: to fetch
/// pixels one by one takes less time than to gather them in vectors.
struct Run {
    static constexpr std::uint32_t most = 128;

    alignas(64) std::int32_t x[most], y[most]; ///< the neighbour before on either axis
    std::int32_t offset[most];                 ///< of that neighbour in the frame, in bytes; -1 for one at an edge
    float weightX[most], weightY[most];        ///< of the neighbours after
    /// Two neighbours side by side, in the lowest six bytes of the upper row's and the highest six of the lower row's.
    std::uint64_t upper[most], lower[most];
};

/// One coordinate of a map's image of the pixels of a row.
class Coordinate {
public:
    HWY_INLINE Coordinate(float perColumn, float inRow, float inAll)
        : slope(hn::Set(Floats(), perColumn)), row(hn::Set(Floats(), inRow)), shift(hn::Set(Floats(), inAll)) {}

    /// Splits it into the whole numbers below or at it, which are returned as well, and the weights of those after. The
    /// plain form has a whole coordinate be its own neighbour after; here that is always the next, whose weight is 0
    /// then, and what byte is multiplied by 0 makes no difference. What no int holds becomes the smallest int, as in
    /// the plain form, and the one after lies outside all frames, too.
    HWY_INLINE VInts split(VFloats column, std::int32_t *before, float *weight) const {
        VFloats const at = hn::Add(hn::Add(row, hn::Mul(slope, column)), shift);
        VInts const whole = truncate(hn::Floor(at));
        hn::Store(whole, Ints(), before);
        hn::Store(hn::Sub(at, hn::ConvertTo(Floats(), whole)), Floats(), weight);
        return whole;
    }

private:
    VFloats slope, row, shift;
};

class Source {
public:
    Source(Vec3b const *pixels, FrameSize frameSize, Vec3b outside)
        : frame(reinterpret_cast<std::uint8_t const *>(pixels)), size(frameSize), border(0) {
        std::memcpy(&border, &outside, sizeof outside);
    }

    HWY_INLINE VInts offsetOf(VInts x, VInts y) const {
        VInts const pixel = hn::Add(hn::Mul(y, hn::Set(Ints(), static_cast<int>(size.columns))), x);
        // As unsigned numbers, those below 0 are beyond any extent.
        auto const within = [](VInts before, std::uint32_t extent) HWY_ATTR {
            return hn::Lt(hn::BitCast(Words(), before), hn::Set(Words(), extent == 0 ? 0 : extent - 1));
        };
        auto const inside = hn::RebindMask(Ints(), hn::And(within(x, size.columns), within(y, size.rows)));
        return hn::IfThenElse(inside, hn::Add(hn::Add(pixel, pixel), pixel), hn::Set(Ints(), -1));
    }

    void fetch(Run &run, std::uint32_t count) const {
        // Two more bytes are read after the upper row's pair, and before the lower row's. The other row makes sure
        // that they exist.
        std::uint64_t const below = 3 * std::uint64_t(size.columns) - 2;
        for (std::uint32_t i = 0; i < count; i++) {
            if (run.offset[i] < 0) {
                fetchAtEdge(run, i);
                continue;
            }
            auto const offset = static_cast<std::uint64_t>(run.offset[i]);
            std::memcpy(&run.upper[i], frame + offset, sizeof(std::uint64_t));
            std::memcpy(&run.lower[i], frame + offset + below, sizeof(std::uint64_t));
        }
    }

private:
    HWY_INLINE void fetchAtEdge(Run &run, std::uint32_t i) const {
        auto const left = static_cast<std::uint32_t>(run.x[i]), top = static_cast<std::uint32_t>(run.y[i]);
        if (left + 1 > size.columns || top + 1 > size.rows) {
            run.upper[i] = border | border << 24;
            run.lower[i] = border << 16 | border << 40;
            return;
        }
        run.upper[i] = at(top, left) | at(top, left + 1) << 24;
        run.lower[i] = at(top + 1, left) << 16 | at(top + 1, left + 1) << 40;
    }

    HWY_INLINE std::uint64_t at(std::uint32_t row, std::uint32_t column) const {
        std::uint64_t pixel = border;
        if (row < size.rows && column < size.columns)
            std::memcpy(&pixel, frame + 3 * (std::uint64_t(row) * size.columns + column), sizeof(Vec3b));
        return pixel;
    }

    std::uint8_t const *frame;
    FrameSize size;
    std::uint64_t border;
};

/// The pairs of one row, for as many samples as there are lanes.
struct Pairs {
    VWords low, high;

    explicit HWY_INLINE Pairs(std::uint64_t const *pairs) {
        VWords const first = hn::BitCast(Words(), hn::Load(Longs(), pairs));
        VWords const second = hn::BitCast(Words(), hn::Load(Longs(), pairs + hn::Lanes(Longs())));
        low = hn::ConcatEven(Words(), second, first);
        high = hn::ConcatOdd(Words(), second, first);
    }

    template <int position>
    HWY_INLINE VFloats byte() const {
        VWords const shifted = hn::ShiftRight<position % 4 * 8>(position < 4 ? low : high);
        VWords const only = position % 4 == 3 ? shifted : hn::And(shifted, hn::Set(Words(), 0xFF));
        return hn::ConvertTo(Floats(), hn::BitCast(Ints(), only));
    }
};

/// A sample is made of sums in the plain form's order.
HWY_INLINE void blend(Run const &run, std::uint32_t i, RgbLanes const &rgb, std::uint8_t *out) {
    VFloats const one = hn::Set(Floats(), 1.0f);
    VFloats const wx = hn::Load(Floats(), run.weightX + i), ux = hn::Sub(one, wx);
    VFloats const wy = hn::Load(Floats(), run.weightY + i), uy = hn::Sub(one, wy);
    Pairs const upper(run.upper + i), lower(run.lower + i);
    auto const blended = [=](VFloats p00, VFloats p01, VFloats p10, VFloats p11) HWY_ATTR {
        VFloats const above = hn::Add(hn::Mul(p00, ux), hn::Mul(p01, wx));
        VFloats const below = hn::Add(hn::Mul(p10, ux), hn::Mul(p11, wx));
        return truncate(hn::Add(hn::Mul(above, uy), hn::Mul(below, wy)));
    };
    rgb.store(blended(upper.byte<0>(), upper.byte<3>(), lower.byte<2>(), lower.byte<5>()),
              blended(upper.byte<1>(), upper.byte<4>(), lower.byte<3>(), lower.byte<6>()),
              blended(upper.byte<2>(), upper.byte<5>(), lower.byte<4>(), lower.byte<7>()), out);
}

void locate(AffineMap const &map, std::uint32_t row, std::uint32_t column, std::uint32_t count, Source const &source,
            Run &run) {
    auto const r = static_cast<float>(row);
    Coordinate const x(map.a, map.b * r, map.c), y(map.d, map.e * r, map.f);
    VInts columns = hn::Iota(Ints(), static_cast<std::int32_t>(column));
    for (std::uint32_t i = 0; i < count; i += lanes) {
        VFloats const at = hn::ConvertTo(Floats(), columns);
        VInts const left = x.split(at, run.x + i, run.weightX + i), top = y.split(at, run.y + i, run.weightY + i);
        hn::Store(source.offsetOf(left, top), Ints(), run.offset + i);
        columns = hn::Add(columns, hn::Set(Ints(), static_cast<std::int32_t>(lanes)));
    }
}

/// `left`: how many pixels may be written at `out`. What reaches beyond the run is written over by the next one.
void blend(Run const &run, std::uint32_t count, RgbLanes const &rgb, std::uint8_t *out, std::uint64_t left) {
    std::uint32_t i = 0;
    for (; i < count && RgbLanes::fit(left - i); i += lanes) blend(run, i, rgb, out + 3 * i);
    for (; i < count; i += lanes) {
        alignas(64) std::uint8_t last[4 * lanes];
        blend(run, i, rgb, last);
        std::memcpy(out + 3 * i, last, 3 * HWY_MIN(lanes, count - i));
    }
}

void warpAffine(Vec3b const *in, FrameSize from, AffineMap const &map, Vec3b border, Vec3b *out, FrameSize to) {
    constexpr std::uint64_t most = hwy::LimitsMax<std::int32_t>();
    if (std::uint64_t(from.rows) * from.columns > most / sizeof(Vec3b) || from.rows > most || from.columns > most ||
        to.columns > most)
        return plain::warpAffine(in, from, map, border, out, to);

    Source const source(in, from, border);
    RgbLanes const rgb;
    Run run;
    std::uint64_t left = std::uint64_t(to.rows) * to.columns;
    for (std::uint32_t row = 0; row < to.rows; row++)
        for (std::uint32_t column = 0; column < to.columns;) {
            std::uint32_t const count = HWY_MIN(Run::most, to.columns - column);
            locate(map, row, column, count, source, run);
            source.fetch(run, count);
            blend(run, count, rgb, reinterpret_cast<std::uint8_t *>(out), left);
            out += count;
            left -= count;
            column += count;
        }
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(warpAffine)
