// Small fixed vectors: pixels and points.
#pragma once

namespace zun {

/// `N` elements of `T` in a row and nothing else; an aggregate without alignment of its own (a Vec3b takes 3 bytes).
template <class T, int N>
struct Vec {
    T elements[N];

    constexpr T &operator[](int i) { return elements[i]; }
    constexpr T const &operator[](int i) const { return elements[i]; }

    friend constexpr bool operator==(Vec const &, Vec const &) = default;
};

using Vec2i = Vec<int, 2>;
using Vec2f = Vec<float, 2>;
using Vec3b = Vec<unsigned char, 3>;
using Vec3f = Vec<float, 3>;
using Vec4b = Vec<unsigned char, 4>;

} // namespace zun
