// Grey bytes to 0 and 1.
#pragma once

#include <cstdint>

#include "imgproc/kernels/Dispatch.h"

namespace zun::kernels {

namespace plain {

/// out[i] = 1 where in[i] is at least the threshold, else 0. The ranges must not overlap.
void setAtLeast(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold);

/// out[i] = 1 where in[i] is below the threshold, else 0: the complement.
void setBelow(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold);

/// Both at once, which reads the frame only once.
void splitAt(unsigned char const *in, unsigned char *atLeast, unsigned char *below, std::uint32_t count, int threshold);

} // namespace plain

inline constexpr auto &setAtLeast = Dispatched<plain::setAtLeast>::call;
inline constexpr auto &setBelow = Dispatched<plain::setBelow>::call;
inline constexpr auto &splitAt = Dispatched<plain::splitAt>::call;

} // namespace zun::kernels
