// What a value holds beyond its own object: how many bytes, a copy that shares nothing, and whether it is the only one
// to hold its frames.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "containers/Mask.h"
#include "containers/Mat.h"

namespace zun {

/// Types of fixed size hold nothing further; the other kinds each have a specialisation.
template <class T>
struct Contents {
    static constexpr bool fixedSize = true;
    static std::uint64_t bytes(T const &) { return 0; }
    static T copy(T const &value) { return value; }
    static bool soleOwner(T const &) { return true; }
    static bool sound(T const &) { return true; }
};

template <>
struct Contents<std::string> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(std::string const &text) { return text.size(); }
    static std::string copy(std::string const &text) { return text; }
    static bool soleOwner(std::string const &) { return true; }
    static bool sound(std::string const &) { return true; }
};

template <class T, int N>
struct Contents<Mat<T, N>> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(Mat<T, N> const &mat) { return mat.bytes(); }
    static Mat<T, N> copy(Mat<T, N> const &mat) { return mat.clone(); }
    static bool soleOwner(Mat<T, N> const &mat) { return mat.data.use_count() <= 1 && mat.owner == nullptr; }

    /// The count wraps at 2^32, so a shape can say more than there is.
    static bool sound(Mat<T, N> const &mat) {
        std::uint64_t elements = 1;
        for (std::uint32_t const extent : mat.shape)
            if (__builtin_mul_overflow(elements, extent, &elements)) return false;
        return elements == mat.count;
    }
};

template <>
struct Contents<Mask> {
    using Bytes = Contents<Mat<unsigned char, 2>>;
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(Mask const &mask) { return mask.mask.bytes(); }
    static Mask copy(Mask const &mask) { return {mask.rectangle, mask.mask.clone()}; }
    static bool soleOwner(Mask const &mask) { return Bytes::soleOwner(mask.mask); }
    static bool sound(Mask const &) { return true; } // a negative rectangle has a shape that wraps, and is legal
};

template <class T>
struct Contents<std::vector<T>> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(std::vector<T> const &list) {
        std::uint64_t total = list.size() * sizeof(T);
        if constexpr (!Contents<T>::fixedSize)
            for (T const &element : list) total += Contents<T>::bytes(element);
        return total;
    }
    static std::vector<T> copy(std::vector<T> const &list) {
        std::vector<T> result;
        result.reserve(list.size());
        for (T const &element : list) result.push_back(Contents<T>::copy(element));
        return result;
    }
    static bool soleOwner(std::vector<T> const &list) {
        return Contents<T>::fixedSize || std::all_of(list.begin(), list.end(), Contents<T>::soleOwner);
    }
    static bool sound(std::vector<T> const &list) {
        return Contents<T>::fixedSize || std::all_of(list.begin(), list.end(), Contents<T>::sound);
    }
};

/// What the object itself counts for. Headers of frames are not counted: a frame is as large as its pixels, which is
/// what nodes can forecast.
template <class T>
inline constexpr std::uint64_t objectBytes = sizeof(T);
template <class T, int N>
inline constexpr std::uint64_t objectBytes<Mat<T, N>> = 0;

/// Of a frame, what each element takes; 0 for other types.
template <class T>
inline constexpr std::uint64_t elementBytes = 0;
template <class T, int N>
inline constexpr std::uint64_t elementBytes<Mat<T, N>> = sizeof(T);

} // namespace zun
