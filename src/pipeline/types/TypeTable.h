// The types of values that travel on streams and fill options: one row for each.
//
// A row says how people write the type; everything else follows from its C++ type. A type that is put together from
// known ones, such as Mat<double, 2>, needs its row and nothing else. A type of a new kind also needs a TypeName, and
// Contents and a Record (in the files of these names) where the general ones don't fit. A plug-in that brings a type
// of its own specialises TypeName; its ports then make the type known.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "containers/Variant.h"
#include "containers/Vec.h"

namespace zun {

struct OptionNode;

/// The canonical type expression of a C++ type: `static constexpr std::string_view text`.
template <class T>
struct TypeName;

template <>
struct TypeName<bool> {
    static constexpr std::string_view text = "bool";
};
template <>
struct TypeName<int> {
    static constexpr std::string_view text = "int";
};
template <>
struct TypeName<unsigned char> {
    static constexpr std::string_view text = "unsigned char";
};
template <>
struct TypeName<float> {
    static constexpr std::string_view text = "float";
};
template <>
struct TypeName<double> {
    static constexpr std::string_view text = "double";
};
template <>
struct TypeName<std::string> {
    static constexpr std::string_view text = "std::string";
};
template <>
struct TypeName<Mask> {
    static constexpr std::string_view text = "zun::Mask";
};
template <>
struct TypeName<Variant> { // a port that takes values of every type
    static constexpr std::string_view text = "any";
};
template <>
struct TypeName<OptionNode> { // an option that takes values of every type
    static constexpr std::string_view text = "any";
};

namespace detail {

/// Texts in a row, joined at compile time.
template <std::string_view const &...Texts>
struct Joined {
    static constexpr auto storage = [] {
        std::array<char, (Texts.size() + ... + 0)> joined{};
        std::size_t end = 0;
        auto const append = [&](std::string_view part) {
            for (char const c : part) joined[end++] = c;
        };
        (append(Texts), ...);
        return joined;
    }();
    static constexpr std::string_view text{storage.data(), storage.size()};
};

inline constexpr std::string_view openVec = "zun::Vec<", openRect = "zun::Rect<", openMat = "zun::Mat<",
                                  openList = "zun::List<", comma = ", ", close = ">", digits = "0123456789";

template <int Digit>
requires(Digit >= 0 && Digit < 10) inline constexpr std::string_view digit = digits.substr(Digit, 1);

} // namespace detail

template <class T, int N>
struct TypeName<Vec<T, N>>
    : detail::Joined<detail::openVec, TypeName<T>::text, detail::comma, detail::digit<N>, detail::close> {};
template <class T>
struct TypeName<Rect<T>> : detail::Joined<detail::openRect, TypeName<T>::text, detail::close> {};
template <class T, int N>
struct TypeName<Mat<T, N>>
    : detail::Joined<detail::openMat, TypeName<T>::text, detail::comma, detail::digit<N>, detail::close> {};
template <class T>
struct TypeName<std::vector<T>> : detail::Joined<detail::openList, TypeName<T>::text, detail::close> {};

/// A type, and its further names, the usual one first; none for a type that is written by its canonical expression.
template <class T>
struct TypeRow {
    constexpr explicit TypeRow(std::string_view usualName = "", std::string_view furtherName = "")
        : usual(usualName), further(furtherName) {}

    std::string_view usual, further;
};

inline constexpr std::tuple typeTable{
    TypeRow<int>(),
    TypeRow<float>(),
    TypeRow<bool>(),
    TypeRow<std::string>(),
    TypeRow<Vec2i>("zun::Vec2i"),
    TypeRow<Vec2f>("zun::Vec2f"),
    TypeRow<Vec3b>("zun::Vec3b", "RGBPixel"),
    TypeRow<Vec3f>("zun::Vec3f"),
    TypeRow<Vec4b>("zun::Vec4b"),
    TypeRow<Box>("zun::Box", "zun::Rectf"),
    TypeRow<Mask>(),
    TypeRow<Mat<unsigned char, 2>>(),
    TypeRow<Mat<float, 2>>(),
    TypeRow<Mat<Vec3b, 2>>(),
    TypeRow<Mat<Vec4b, 2>>(),
    TypeRow<Mat<Vec3f, 2>>(),
    TypeRow<Mat<Vec<int, 4>, 1>>(),
    TypeRow<std::vector<int>>(),
    TypeRow<std::vector<std::string>>(),
    TypeRow<std::vector<Vec2f>>(),
    TypeRow<std::vector<Box>>(),
    TypeRow<std::vector<Mask>>(),
    TypeRow<std::vector<Mat<unsigned char, 2>>>(),
    TypeRow<std::vector<Mat<Vec3b, 2>>>(),
    TypeRow<std::vector<std::vector<Vec2i>>>(),
};

/// A further name of a type, and its canonical expression.
struct TypeAlias {
    std::string_view name, canonical;
    bool usual; ///< people write the type so
};

/// All further names of the table; those that a row leaves empty among them.
inline constexpr auto typeAliases = [] {
    std::array<TypeAlias, 2 * std::tuple_size_v<decltype(typeTable)>> aliases{};
    std::size_t end = 0;
    std::apply(
        [&]<class... Ts>(TypeRow<Ts> const &...rows) {
            ((aliases[end++] = {rows.usual, TypeName<Ts>::text, true},
              aliases[end++] = {rows.further, TypeName<Ts>::text, false}),
             ...);
        },
        typeTable);
    return aliases;
}();

} // namespace zun
