// Histogram equalisation: values replaced by how many of the frame's lie below them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "containers/Arithmetic.h"
#include "containers/Vec.h"
#include "imgproc/kernels/Dispatch.h"

namespace zun::kernels {

/// The byte for a value with `below` of `total` counts below it: 256 * below / total in signed 32-bit integers, the
/// product wrapping; 255 from there on, the low byte of what is less, and that may be negative. A total of 0 is a
/// division by zero.
inline unsigned char equalised(std::uint32_t below, std::uint32_t total) {
    auto const scaled = static_cast<int>(below * 256u), divisor = static_cast<int>(total);
    int const quotient = divisor == -1 ? wrappingSubtract(0, scaled) : scaled / divisor;
    return static_cast<unsigned char>(quotient >= 255 ? 255 : quotient);
}

/// The bin of a value among so many, as equaliseFirstChannel() says.
inline std::size_t binOf(float value, int bins) {
    int const bin = truncateToInt(value * static_cast<float>(bins));
    return static_cast<std::size_t>(std::max(std::min(bin, bins - 1), 0));
}

/// `below` / `count` in single precision, both taken as signed 32-bit integers.
inline float share(std::uint32_t below, std::size_t count) {
    return static_cast<float>(static_cast<int>(below)) /
           static_cast<float>(static_cast<int>(static_cast<std::uint32_t>(count)));
}

namespace plain {

/// Equalises `count` bytes, at least one, by their own histogram. The ranges must not overlap.
void equaliseGrey(unsigned char const *in, unsigned char *out, std::size_t count);

/// Replaces the first channel of `count` pixels by the share of the pixels, from 0 to less than 1, that lie in a lower
/// bin of its histogram; the other two are copied. A value v falls into bin v * `bins`, truncated, and held within the
/// `bins` there are, at least one; what no int holds, NaN with it, into the first. The ranges must not overlap. With
/// more bins than pixels, the fast form's memory grows with the pixels only.
void equaliseFirstChannel(Vec3f const *in, Vec3f *out, std::size_t count, int bins);

} // namespace plain

inline constexpr auto &equaliseGrey = Dispatched<plain::equaliseGrey>::call;
inline constexpr auto &equaliseFirstChannel = Dispatched<plain::equaliseFirstChannel>::call;

} // namespace zun::kernels
