#include "imgproc/kernels/Colour.h"

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

template <class Pixel>
std::uint8_t const *bytesOf(Pixel const *pixels) {
    return reinterpret_cast<std::uint8_t const *>(pixels);
}
template <class Pixel>
std::uint8_t *bytesOf(Pixel *pixels) {
    return reinterpret_cast<std::uint8_t *>(pixels);
}

void reverseChannels(Vec3b const *in, Vec3b *out, std::uint32_t count) {
    alignas(16) static constexpr std::uint8_t order[16] = {2, 1, 0, 5, 4, 3, 8, 7, 6, 11, 10, 9, 12, 13, 14, 15};
    VBytes const reversed = hn::LoadDup128(Bytes(), order);
    RgbLanes const rgb;
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes()))
        rgb.storeBlocks(hn::TableLookupBytes(rgb.loadBlocks(bytesOf(in + done)), reversed), bytesOf(out + done));
    plain::reverseChannels(in + done, out + done, count - done);
}

void pickChannels(Vec4b const *in, Vec3b *out, std::uint32_t count, std::array<int, 3> chosen) {
    alignas(16) std::uint8_t order[16] = {};
    for (std::uint32_t i = 0; i < 12; i++)
        order[i] = static_cast<std::uint8_t>(i / 3 * 4 + static_cast<std::uint32_t>(chosen.data()[i % 3]));
    VBytes const picked = hn::LoadDup128(Bytes(), order);
    RgbLanes const rgb;
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes()))
        rgb.storeBlocks(hn::TableLookupBytes(hn::LoadU(Bytes(), bytesOf(in + done)), picked), bytesOf(out + done));
    plain::pickChannels(in + done, out + done, count - done, chosen);
}

// The channels of a vector's worth of pixels, as floats.

HWY_INLINE void loadChannels(RgbLanes const &rgb, Vec3b const *pixels, VFloats (&channels)[3]) {
    VBytes const blocks = rgb.loadBlocks(bytesOf(pixels));
    channels[0] = hn::ConvertTo(Floats(), RgbLanes::channelOf<0>(blocks));
    channels[1] = hn::ConvertTo(Floats(), RgbLanes::channelOf<1>(blocks));
    channels[2] = hn::ConvertTo(Floats(), RgbLanes::channelOf<2>(blocks));
}

HWY_INLINE void loadChannels(RgbLanes const &, Vec4b const *pixels, VFloats (&channels)[4]) {
    VWords const words = hn::BitCast(Words(), hn::LoadU(Bytes(), bytesOf(pixels)));
    channels[0] = floatsOf<0>(words);
    channels[1] = floatsOf<1>(words);
    channels[2] = floatsOf<2>(words);
    channels[3] = floatsOf<3>(words);
}

HWY_INLINE void loadChannels(RgbLanes const &, Vec3f const *pixels, VFloats (&channels)[3]) {
    prefetchAhead<sizeof channels>(pixels);
    hn::LoadInterleaved3(Floats(), reinterpret_cast<float const *>(pixels), channels[0], channels[1], channels[2]);
}

/// A weighted sum in the plain form's order.
template <int N>
struct Row {
    VFloats weights[N];

    explicit HWY_INLINE Row(float const *from) {
        for (int k = 0; k < N; k++) weights[k] = hn::Set(Floats(), from[k]);
    }

    HWY_INLINE VFloats dot(VFloats const (&channels)[N]) const {
        VFloats sum = hn::Mul(weights[0], channels[0]);
        for (int k = 1; k < N; k++) sum = hn::Add(sum, hn::Mul(weights[k], channels[k]));
        return sum;
    }
};

template <int N>
struct Rows {
    Row<N> first, second, third;

    explicit HWY_INLINE Rows(Weights<N> const &weights)
        : first(weights.data()[0].data()), second(weights.data()[1].data()), third(weights.data()[2].data()) {}
};

/// As many pixels as whole vectors hold; gives their number.
template <int N, class Pixel>
HWY_INLINE std::uint32_t sumChannels(Pixel const *in, unsigned char *out, std::uint32_t count,
                                     std::array<float, N> const &weights) {
    RgbLanes const rgb;
    Row<N> const row(weights.data());
    VFloats channels[N];
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes())) {
        loadChannels(rgb, in + done, channels);
        storeLowBytes(truncate(row.dot(channels)), out + done);
    }
    return done;
}

/// Likewise.
template <int N, class Pixel>
HWY_INLINE std::uint32_t multiplyChannels(Pixel const *in, Vec3f *out, std::uint32_t count, Weights<N> const &weights) {
    RgbLanes const rgb;
    Rows<N> const rows(weights);
    VFloats channels[N];
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes())) {
        loadChannels(rgb, in + done, channels);
        hn::StoreInterleaved3(rows.first.dot(channels), rows.second.dot(channels), rows.third.dot(channels), Floats(),
                              reinterpret_cast<float *>(out + done));
    }
    return done;
}

void weightedSum(Vec3b const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights) {
    std::uint32_t const done = sumChannels<3>(in, out, count, weights);
    plain::weightedSum(in + done, out + done, count - done, weights);
}
void weightedSumOfFour(Vec4b const *in, unsigned char *out, std::uint32_t count, std::array<float, 4> weights) {
    std::uint32_t const done = sumChannels<4>(in, out, count, weights);
    plain::weightedSumOfFour(in + done, out + done, count - done, weights);
}
void weightedSumOfFloats(Vec3f const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights) {
    std::uint32_t const done = sumChannels<3>(in, out, count, weights);
    plain::weightedSumOfFloats(in + done, out + done, count - done, weights);
}
void multiply(Vec3b const *in, Vec3f *out, std::uint32_t count, Weights<3> weights) {
    std::uint32_t const done = multiplyChannels<3>(in, out, count, weights);
    plain::multiply(in + done, out + done, count - done, weights);
}
void multiplyFour(Vec4b const *in, Vec3f *out, std::uint32_t count, Weights<4> weights) {
    std::uint32_t const done = multiplyChannels<4>(in, out, count, weights);
    plain::multiplyFour(in + done, out + done, count - done, weights);
}

void multiplyToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> weights) {
    RgbLanes const rgb;
    Rows<3> const rows(weights);
    // Of a NaN and a number, the second operand is the greater one.
    auto const held = [](VFloats sum) HWY_ATTR {
        return truncate(hn::Min(hn::Max(sum, hn::Zero(Floats())), hn::Set(Floats(), 255.0f)));
    };
    VFloats channels[3];
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes())) {
        loadChannels(rgb, in + done, channels);
        VInts const upper = hn::Or(hn::ShiftLeft<8>(held(rows.second.dot(channels))),
                                   hn::ShiftLeft<16>(held(rows.third.dot(channels))));
        rgb.store(hn::Or(held(rows.first.dot(channels)), upper), bytesOf(out + done));
    }
    plain::multiplyToBytes(in + done, out + done, count - done, weights);
}

void broadcast(unsigned char const *in, Vec3b *out, std::uint32_t count) {
    std::uint32_t done = 0;
    for (; count - done >= 16; done += 16) {
        auto const cells = hn::LoadU(Block(), in + done);
        std::uint8_t *const to = bytesOf(out + done);
        hn::StoreU(tripled<0>(cells), Block(), to);
        hn::StoreU(tripled<1>(cells), Block(), to + 16);
        hn::StoreU(tripled<2>(cells), Block(), to + 32);
    }
    plain::broadcast(in + done, out + done, count - done);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(reverseChannels)
ZUN_DISPATCH(pickChannels)
ZUN_DISPATCH(multiply)
ZUN_DISPATCH(multiplyFour)
ZUN_DISPATCH(multiplyToBytes)
ZUN_DISPATCH(weightedSum)
ZUN_DISPATCH(weightedSumOfFour)
ZUN_DISPATCH(weightedSumOfFloats)
ZUN_DISPATCH(broadcast)
