// Arithmetic that the language leaves undefined or to the implementation, given one result each.
#pragma once

#include <cmath>
#include <cstdint>
#include <limits>

namespace zun {

/// Truncates toward zero; what is out of the range of int, and a NaN, gives the smallest int.
constexpr int truncateToInt(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<int>(value) : std::numeric_limits<int>::min();
}

/// Rounds to the nearest integer, halves away from zero; out of range and NaN as in truncateToInt.
inline int roundToInt(float value) { return truncateToInt(std::round(value)); }

/// Signed 32-bit sums, differences and products modulo 2^32.
constexpr int wrappingAdd(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}
constexpr int wrappingSubtract(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) - static_cast<unsigned>(b));
}
constexpr int wrappingMultiply(int a, int b) {
    return static_cast<int>(static_cast<unsigned>(a) * static_cast<unsigned>(b));
}

} // namespace zun
