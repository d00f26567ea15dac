// How float results become bytes.
#pragma once

#include <cmath>

namespace zun::kernels {

/// The low byte of a value truncated toward zero. What no int holds, NaN with it, counts as the smallest int, whose low
/// byte is 0.
inline unsigned char lowByte(float value) {
    float const held = std::fabs(value) < 2147483648.0f ? value : 0.0f;
    return static_cast<unsigned char>(static_cast<int>(held));
}

} // namespace zun::kernels
