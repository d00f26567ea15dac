#include "imgproc/kernels/Warp.h"

#include <cmath>
#include <limits>

#include "imgproc/kernels/LowByte.h"

namespace zun::kernels {
namespace {

/// The whole coordinates on either side of a coordinate, equal for a whole one, and the weight of the one after.
struct Neighbours {
    int before, after;
    float weight;
};

Neighbours neighboursOf(float at) {
    constexpr int smallest = std::numeric_limits<int>::min();
    if (!(std::fabs(at) < 2147483648.0f)) return {smallest, smallest, at - static_cast<float>(smallest)};
    float const before = std::floor(at);
    return {static_cast<int>(before), static_cast<int>(std::ceil(at)), at - before};
}

class Source {
public:
    Source(Vec3b const *frame, FrameSize frameSize, Vec3b outside) : pixels(frame), size(frameSize), border(outside) {}

    Vec3b sample(Neighbours const &x, Neighbours const &y) const {
        float const wx = x.weight, wy = y.weight, ux = 1.0f - wx, uy = 1.0f - wy;
        Vec3b const &p00 = at(y.before, x.before), &p10 = at(y.after, x.before);
        Vec3b const &p01 = at(y.before, x.after), &p11 = at(y.after, x.after);
        auto const channel = [&](int k) {
            float const upper = static_cast<float>(p00[k]) * ux + static_cast<float>(p01[k]) * wx;
            float const lower = static_cast<float>(p10[k]) * ux + static_cast<float>(p11[k]) * wx;
            return lowByte(upper * uy + lower * wy);
        };
        return {channel(0), channel(1), channel(2)};
    }

private:
    Vec3b const &at(int row, int column) const {
        bool const inside = row >= 0 && column >= 0 && static_cast<std::uint32_t>(row) < size.rows &&
                            static_cast<std::uint32_t>(column) < size.columns;
        if (!inside) return border;
        return pixels[static_cast<std::uint64_t>(row) * size.columns + static_cast<std::uint64_t>(column)];
    }

    Vec3b const *pixels;
    FrameSize size;
    Vec3b border;
};

} // namespace

AffineMap inverse(AffineMap const &map) {
    auto const [a, b, c, d, e, f] = map;
    float const determinant = a * e - b * d;
    float const r = determinant != 0.0f ? 1.0f / determinant : 0.0f;
    AffineMap back{};
    back.a = e * r;
    back.b = b * -r;
    back.d = -r * d;
    back.e = r * a;
    back.c = -(f * back.b + c * back.a);
    back.f = -(f * back.e + c * back.d);
    return back;
}

void plain::warpAffine(Vec3b const *in, FrameSize from, AffineMap const &map, Vec3b border, Vec3b *out, FrameSize to) {
    Source const source(in, from, border);
    for (std::uint32_t i = 0; i < to.rows; i++) {
        float const row = static_cast<float>(i), rowInX = map.b * row, rowInY = map.e * row;
        for (std::uint32_t j = 0; j < to.columns; j++) {
            float const column = static_cast<float>(j);
            Neighbours const x = neighboursOf(rowInX + map.a * column + map.c);
            Neighbours const y = neighboursOf(rowInY + map.d * column + map.f);
            *out++ = source.sample(x, y);
        }
    }
}

} // namespace zun::kernels
