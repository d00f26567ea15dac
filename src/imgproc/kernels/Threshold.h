// Grey bytes to 0 and 1.
#pragma once

#include <cstdint>

namespace zun::kernels {

/// out[i] = 1 where in[i] is at least the threshold, else 0. The ranges must not overlap.
void setAtLeast(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold);

/// out[i] = 1 where in[i] is below the threshold, else 0: the complement.
void setBelow(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold);

/// Both at once, which reads the frame only once.
void splitAt(unsigned char const *in, unsigned char *atLeast, unsigned char *below, std::uint32_t count, int threshold);

namespace plain {
void setAtLeast(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold);
void setBelow(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold);
void splitAt(unsigned char const *in, unsigned char *atLeast, unsigned char *below, std::uint32_t count, int threshold);
} // namespace plain

} // namespace zun::kernels
