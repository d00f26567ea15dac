// The types of values that travel on streams: their names, sizes and copies.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "containers/Variant.h"

namespace zun::engine {

template <class... Ts>
struct TypeList {};

/// Every type that a stream of the library carries.
using StreamTypes =
    TypeList<int, float, bool, std::string, Vec2i, Box, Mat<unsigned char, 2>, Mat<float, 2>, Mat<Vec3b, 2>,
             Mat<Vec4b, 2>, Mat<Vec3f, 2>, Mat<Vec<int, 4>, 1>, std::vector<int>, std::vector<std::string>,
             std::vector<Vec2f>, std::vector<Box>, std::vector<Mask>, std::vector<Mat<unsigned char, 2>>,
             std::vector<Mat<Vec3b, 2>>, std::vector<std::vector<Vec2i>>>;

/// What is known of one of them. The functions take a value of exactly this type.
struct ValueType {
    std::string expression;        ///< canonical, see canonicalType()
    std::string spelling;          ///< the usual one, for people: "zun::Mat<zun::Vec3b, 2>"
    std::type_info const *variant; ///< of VariantType<T>
    std::uint64_t fixedBytes;      ///< what every value of the type holds; 0 if they differ
    std::uint64_t elementBytes;    ///< of a frame, what each element takes; 0 for other types

    /// What a value holds: of a frame its pixels, of a list its elements and what they hold.
    std::uint64_t (*bytes)(Variant const &value);

    /// A copy that shares no storage with the value.
    std::shared_ptr<Variant> (*copy)(Variant const &value);

    /// False if another header shares the storage of one of the value's frames.
    bool (*soleOwner)(Variant const &value);
};

/// All stream types. This and all below is thread-safe.
std::vector<ValueType> const &valueTypes();

/// By the dynamic type of a value; null for a type that is not in the list. Takes some 15 ns.
ValueType const *valueTypeOf(Variant const &value);

/// By type expression, in any of its spellings; null for "any" and for what is not in the list.
ValueType const *valueTypeNamed(std::string const &expression);

/// One text for one type: aliases are resolved ("RGBPixel" and "zun::Vec3b" to "zun::Vec<unsigned char, 3>", "zun::Box"
/// and "zun::Rectf" to "zun::Rect<float>") and blanks are made regular. A text that can't be read comes back as it is.
std::string canonicalType(std::string const &expression);

/// Whether a stream of one type can feed an input of the other: equal when canonical, or either is "any".
bool typesAgree(std::string const &a, std::string const &b);

} // namespace zun::engine
