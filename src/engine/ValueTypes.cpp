#include "engine/ValueTypes.h"

#include <algorithm>
#include <typeindex>
#include <unordered_map>

namespace zun::engine {
namespace {

// The usual spelling of each type.
template <class T>
constexpr char const *simpleSpelling = nullptr;
template <>
constexpr char const *simpleSpelling<int> = "int";
template <>
constexpr char const *simpleSpelling<float> = "float";
template <>
constexpr char const *simpleSpelling<bool> = "bool";
template <>
constexpr char const *simpleSpelling<unsigned char> = "unsigned char";
template <>
constexpr char const *simpleSpelling<std::string> = "std::string";
template <>
constexpr char const *simpleSpelling<Vec2i> = "zun::Vec2i";
template <>
constexpr char const *simpleSpelling<Vec2f> = "zun::Vec2f";
template <>
constexpr char const *simpleSpelling<Vec3b> = "zun::Vec3b";
template <>
constexpr char const *simpleSpelling<Vec3f> = "zun::Vec3f";
template <>
constexpr char const *simpleSpelling<Vec4b> = "zun::Vec4b";
template <>
constexpr char const *simpleSpelling<Vec<int, 4>> = "zun::Vec<int, 4>";
template <>
constexpr char const *simpleSpelling<Box> = "zun::Box";
template <>
constexpr char const *simpleSpelling<Mask> = "zun::Mask";

template <class T>
struct Spelling {
    static std::string text() { return simpleSpelling<T>; }
};
template <class T, int N>
struct Spelling<Mat<T, N>> {
    static std::string text() { return "zun::Mat<" + Spelling<T>::text() + ", " + std::to_string(N) + ">"; }
};
template <class T>
struct Spelling<std::vector<T>> {
    static std::string text() { return "zun::List<" + Spelling<T>::text() + ">"; }
};

// What a value holds beyond its own object, a copy that shares nothing, and whether another header shares its storage.
// Values of fixed size come first; the other kinds each have a specialisation.
template <class T>
struct Contents {
    static constexpr bool fixedSize = true;
    static std::uint64_t bytes(T const &) { return 0; }
    static T copy(T const &value) { return value; }
    static bool soleOwner(T const &) { return true; }
};

template <>
struct Contents<std::string> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(std::string const &text) { return text.size(); }
    static std::string copy(std::string const &text) { return text; }
    static bool soleOwner(std::string const &) { return true; }
};

template <class T, int N>
struct Contents<Mat<T, N>> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(Mat<T, N> const &mat) { return mat.bytes(); }
    static Mat<T, N> copy(Mat<T, N> const &mat) { return mat.clone(); }
    static bool soleOwner(Mat<T, N> const &mat) { return mat.data.use_count() <= 1 && mat.owner == nullptr; }
};

template <>
struct Contents<Mask> {
    static constexpr bool fixedSize = false;
    static std::uint64_t bytes(Mask const &mask) { return mask.mask.bytes(); }
    static Mask copy(Mask const &mask) { return {mask.rectangle, mask.mask.clone()}; }
    static bool soleOwner(Mask const &mask) { return Contents<Mat<unsigned char, 2>>::soleOwner(mask.mask); }
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
        return std::all_of(list.begin(), list.end(), Contents<T>::soleOwner);
    }
};

/// Headers of frames are not counted: a frame is as large as its pixels, which is what nodes can forecast.
template <class T>
inline constexpr std::uint64_t objectBytes = sizeof(T);
template <class T, int N>
inline constexpr std::uint64_t objectBytes<Mat<T, N>> = 0;

template <class T>
inline constexpr std::uint64_t elementBytes = 0;
template <class T, int N>
inline constexpr std::uint64_t elementBytes<Mat<T, N>> = sizeof(T);

template <class T>
T const &held(Variant const &value) {
    return static_cast<VariantType<T> const &>(value).value;
}

template <class T>
ValueType describe() {
    std::string const spelling = Spelling<T>::text();
    return {
        .expression = canonicalType(spelling),
        .spelling = spelling,
        .variant = &typeid(VariantType<T>),
        .fixedBytes = Contents<T>::fixedSize ? objectBytes<T> : 0,
        .elementBytes = elementBytes<T>,
        .bytes = [](Variant const &value) { return objectBytes<T> + Contents<T>::bytes(held<T>(value)); },
        .copy = [](Variant const &value) -> std::shared_ptr<Variant> {
            return std::make_shared<VariantType<T>>(Contents<T>::copy(held<T>(value)));
        },
        .soleOwner = [](Variant const &value) { return Contents<T>::soleOwner(held<T>(value)); },
    };
}

template <class... Ts>
std::vector<ValueType> describeAll(TypeList<Ts...>) {
    return {describe<Ts>()...};
}

} // namespace

std::vector<ValueType> const &valueTypes() {
    static std::vector<ValueType> const types = describeAll(StreamTypes());
    return types;
}

ValueType const *valueTypeOf(Variant const &value) {
    static auto const byType = [] {
        std::unordered_map<std::type_index, ValueType const *> map;
        for (ValueType const &type : valueTypes()) map.emplace(*type.variant, &type);
        return map;
    }();
    auto const found = byType.find(typeid(value));
    return found == byType.end() ? nullptr : found->second;
}

ValueType const *valueTypeNamed(std::string const &expression) {
    static auto const byName = [] {
        std::unordered_map<std::string, ValueType const *> map;
        for (ValueType const &type : valueTypes()) map.emplace(type.expression, &type);
        return map;
    }();
    auto const found = byName.find(canonicalType(expression));
    return found == byName.end() ? nullptr : found->second;
}

} // namespace zun::engine
