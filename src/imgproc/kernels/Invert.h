// The bitwise complement of bytes.
#pragma once

#include <cstddef>

namespace zun::kernels {

/// out[i] = ~in[i] for `count` bytes. The ranges must not overlap.
void invert(unsigned char const *in, unsigned char *out, std::size_t count);

} // namespace zun::kernels
