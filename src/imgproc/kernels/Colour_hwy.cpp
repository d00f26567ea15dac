#include "imgproc/kernels/Colour.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "imgproc/kernels/Colour_hwy.cpp"
#include <hwy/foreach_target.h>

#include "imgproc/kernels/Vectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

using Block = hn::FixedTag<std::uint8_t, 16>;

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

/// A weighted sum in the plain form's order.
struct Row {
    VFloats a, b, c;

    explicit HWY_INLINE Row(float const *weights)
        : a(hn::Set(Floats(), weights[0])), b(hn::Set(Floats(), weights[1])), c(hn::Set(Floats(), weights[2])) {}

    HWY_INLINE VFloats dot(VFloats x, VFloats y, VFloats z) const {
        return hn::Add(hn::Add(hn::Mul(a, x), hn::Mul(b, y)), hn::Mul(c, z));
    }
};

struct Channels {
    VFloats x, y, z;

    HWY_INLINE Channels(RgbLanes const &rgb, Vec3b const *pixels) {
        VBytes const blocks = rgb.loadBlocks(bytesOf(pixels));
        x = hn::ConvertTo(Floats(), RgbLanes::channelOf<0>(blocks));
        y = hn::ConvertTo(Floats(), RgbLanes::channelOf<1>(blocks));
        z = hn::ConvertTo(Floats(), RgbLanes::channelOf<2>(blocks));
    }
};

void weightedSum(Vec3b const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights) {
    RgbLanes const rgb;
    Row const row(weights.data());
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes())) {
        Channels const p(rgb, in + done);
        storeLowBytes(truncate(row.dot(p.x, p.y, p.z)), out + done);
    }
    plain::weightedSum(in + done, out + done, count - done, weights);
}

void multiply(Vec3b const *in, Vec3f *out, std::uint32_t count, Weights<3> weights) {
    RgbLanes const rgb;
    Row const rows[3] = {Row(weights.data()[0].data()), Row(weights.data()[1].data()), Row(weights.data()[2].data())};
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes())) {
        Channels const p(rgb, in + done);
        hn::StoreInterleaved3(rows[0].dot(p.x, p.y, p.z), rows[1].dot(p.x, p.y, p.z), rows[2].dot(p.x, p.y, p.z),
                              Floats(), reinterpret_cast<float *>(out + done));
    }
    plain::multiply(in + done, out + done, count - done, weights);
}

void multiplyToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> weights) {
    RgbLanes const rgb;
    Row const rows[3] = {Row(weights.data()[0].data()), Row(weights.data()[1].data()), Row(weights.data()[2].data())};
    // Of a NaN and a number, the second operand is the greater one.
    auto const held = [](VFloats sum) HWY_ATTR {
        return truncate(hn::Min(hn::Max(sum, hn::Zero(Floats())), hn::Set(Floats(), 255.0f)));
    };
    std::uint32_t done = 0;
    for (; RgbLanes::fit(count - done); done += static_cast<std::uint32_t>(RgbLanes::lanes())) {
        VFloats x, y, z;
        prefetchAhead<3 * sizeof(VFloats)>(in + done);
        hn::LoadInterleaved3(Floats(), reinterpret_cast<float const *>(in + done), x, y, z);
        VInts const upper =
            hn::Or(hn::ShiftLeft<8>(held(rows[1].dot(x, y, z))), hn::ShiftLeft<16>(held(rows[2].dot(x, y, z))));
        rgb.store(hn::Or(held(rows[0].dot(x, y, z)), upper), bytesOf(out + done));
    }
    plain::multiplyToBytes(in + done, out + done, count - done, weights);
}

void spread(unsigned char const *in, Vec3b *out, std::uint32_t count) {
    // Sixteen cells make three blocks.
    alignas(16) static constexpr std::uint8_t orders[3][16] = {
        {0, 0, 0, 1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5},
        {5, 5, 6, 6, 6, 7, 7, 7, 8, 8, 8, 9, 9, 9, 10, 10},
        {10, 11, 11, 11, 12, 12, 12, 13, 13, 13, 14, 14, 14, 15, 15, 15}};
    auto const first = hn::Load(Block(), orders[0]), second = hn::Load(Block(), orders[1]),
               third = hn::Load(Block(), orders[2]);
    std::uint32_t done = 0;
    for (; count - done >= 16; done += 16) {
        auto const cells = hn::LoadU(Block(), in + done);
        std::uint8_t *const to = bytesOf(out + done);
        hn::StoreU(hn::TableLookupBytes(cells, first), Block(), to);
        hn::StoreU(hn::TableLookupBytes(cells, second), Block(), to + 16);
        hn::StoreU(hn::TableLookupBytes(cells, third), Block(), to + 32);
    }
    plain::spread(in + done, out + done, count - done);
}

#else

using plain::multiplyToBytes, plain::pickChannels, plain::reverseChannels, plain::spread;
void multiply(Vec3b const *in, Vec3f *out, std::uint32_t count, Weights<3> weights) {
    plain::multiply(in, out, count, weights);
}
void weightedSum(Vec3b const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights) {
    plain::weightedSum(in, out, count, weights);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zun::kernels {

HWY_EXPORT(reverseChannels);
void reverseChannels(Vec3b const *in, Vec3b *out, std::uint32_t count) {
    HWY_DYNAMIC_DISPATCH(reverseChannels)(in, out, count);
}

HWY_EXPORT(pickChannels);
void pickChannels(Vec4b const *in, Vec3b *out, std::uint32_t count, std::array<int, 3> chosen) {
    HWY_DYNAMIC_DISPATCH(pickChannels)(in, out, count, chosen);
}

HWY_EXPORT(multiply);
void multiply(Vec3b const *in, Vec3f *out, std::uint32_t count, Weights<3> weights) {
    HWY_DYNAMIC_DISPATCH(multiply)(in, out, count, weights);
}

HWY_EXPORT(multiplyToBytes);
void multiplyToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> weights) {
    HWY_DYNAMIC_DISPATCH(multiplyToBytes)(in, out, count, weights);
}

HWY_EXPORT(weightedSum);
void weightedSum(Vec3b const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights) {
    HWY_DYNAMIC_DISPATCH(weightedSum)(in, out, count, weights);
}

HWY_EXPORT(spread);
void spread(unsigned char const *in, Vec3b *out, std::uint32_t count) { HWY_DYNAMIC_DISPATCH(spread)(in, out, count); }

} // namespace zun::kernels
#endif
