// Conversions between colour formats: one flat pass each over `count` pixels. The ranges must not overlap.
//
// Sums run over the channels from the first to the last, in single precision.
#pragma once

#include <array>
#include <cstdint>

#include "containers/Vec.h"
#include "imgproc/kernels/Dispatch.h"

namespace zun::kernels {

/// Three rows of `N` weights: row k makes channel k of the result.
template <int N>
using Weights = std::array<std::array<float, N>, 3>;

namespace plain {

/// The three channels in reverse order.
void reverseChannels(Vec3b const *in, Vec3b *out, std::uint32_t count);

/// Channel k of the result is channel `chosen[k]`, 0 to 3.
void pickChannels(Vec4b const *in, Vec3b *out, std::uint32_t count, std::array<int, 3> chosen);

/// Each channel of the result is a weighted sum.
void multiply(Vec3b const *in, Vec3f *out, std::uint32_t count, Weights<3> weights);
void multiplyFour(Vec4b const *in, Vec3f *out, std::uint32_t count, Weights<4> weights);

/// Likewise, with sums held between 0 and 255 and truncated; NaN gives 0.
void multiplyToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> weights);

/// One weighted sum for each pixel, truncated, of which the low byte is kept.
void weightedSum(Vec3b const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights);
void weightedSumOfFour(Vec4b const *in, unsigned char *out, std::uint32_t count, std::array<float, 4> weights);
void weightedSumOfFloats(Vec3f const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights);

/// The cell in all three channels.
void broadcast(unsigned char const *in, Vec3b *out, std::uint32_t count);

} // namespace plain

inline constexpr auto &reverseChannels = Dispatched<plain::reverseChannels>::call;
inline constexpr auto &pickChannels = Dispatched<plain::pickChannels>::call;
inline constexpr auto &multiply = Dispatched<plain::multiply>::call;
inline constexpr auto &multiplyFour = Dispatched<plain::multiplyFour>::call;
inline constexpr auto &multiplyToBytes = Dispatched<plain::multiplyToBytes>::call;
inline constexpr auto &weightedSum = Dispatched<plain::weightedSum>::call;
inline constexpr auto &weightedSumOfFour = Dispatched<plain::weightedSumOfFour>::call;
inline constexpr auto &weightedSumOfFloats = Dispatched<plain::weightedSumOfFloats>::call;
inline constexpr auto &broadcast = Dispatched<plain::broadcast>::call;

// The compiler's own vectors do for the following.

/// multiplyToBytes() with `second`, on what multiply() with `first` makes of the pixel.
void multiplyTwiceToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> first, Weights<3> second);

/// The cell in the first channel, 0 in the others.
void toFirstChannel(unsigned char const *in, Vec3f *out, std::uint32_t count);

/// 0 stays 0, 1 becomes 255, any other cell v 256 - v.
void negate(unsigned char const *in, unsigned char *out, std::uint32_t count);

} // namespace zun::kernels
