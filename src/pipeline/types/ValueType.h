// What is known of a type of values while the process runs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/types/Contents.h"
#include "pipeline/types/Record.h"
#include "pipeline/types/TypeExpression.h"

namespace zun {

/// The functions take a value of exactly this type.
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

    /// The value in a few words: "480 x 640" (rows, columns), "12 elements", or the number itself.
    std::string (*summary)(Variant const &value);

    /// The value as a record, and back; see pipeline/types/Record.h. Null for a type without records.
    void (*writeRecord)(Variant const &value, RecordSink &sink);
    std::shared_ptr<Variant> (*readRecord)(OptionNode const &record);
};

/// The types of the table, in its order, and then those that ports have brought. This and all below is thread-safe.
std::vector<ValueType const *> valueTypes();

/// By the dynamic type of a value, or of VariantType<T>; null for a type that nobody has made known.
ValueType const *valueTypeOf(Variant const &value);
ValueType const *valueTypeOf(std::type_info const &variant);

/// By type expression, in any of its spellings; null for "any" and for what is not known.
ValueType const *valueTypeNamed(std::string const &expression);

/// Makes a type known, unless it is. Returns the one that stands for it in the whole process.
ValueType const *makeKnown(ValueType const &type);

namespace detail {

template <class T>
T const &held(Variant const &value) {
    return static_cast<VariantType<T> const &>(value).value;
}

std::string countOf(std::uint64_t count, char const *noun);

template <class T>
std::string summaryOf(T const &) {
    return "";
}
template <class T, int N>
std::string summaryOf(Mat<T, N> const &mat) {
    std::string text;
    for (std::uint32_t const extent : mat.shape) text += (text.empty() ? "" : " x ") + std::to_string(extent);
    return text;
}
template <class T>
std::string summaryOf(std::vector<T> const &list) {
    return countOf(list.size(), "element");
}
inline std::string summaryOf(std::string const &text) { return countOf(text.size(), "byte"); }
inline std::string summaryOf(bool value) { return value ? "true" : "false"; }
inline std::string summaryOf(int value) { return std::to_string(value); }
inline std::string summaryOf(float value) { return std::to_string(value); }

template <class T>
ValueType describe() {
    ValueType type{
        .expression = std::string(TypeName<T>::text),
        .spelling = usualSpelling(std::string(TypeName<T>::text)),
        .variant = &typeid(VariantType<T>),
        .fixedBytes = Contents<T>::fixedSize ? objectBytes<T> : 0,
        .elementBytes = elementBytes<T>,
        .bytes = [](Variant const &value) { return objectBytes<T> + Contents<T>::bytes(held<T>(value)); },
        .copy = [](Variant const &value) -> std::shared_ptr<Variant> {
            return std::make_shared<VariantType<T>>(Contents<T>::copy(held<T>(value)));
        },
        .soleOwner = [](Variant const &value) { return Contents<T>::soleOwner(held<T>(value)); },
        .summary = [](Variant const &value) { return summaryOf(held<T>(value)); },
        .writeRecord = nullptr,
        .readRecord = nullptr,
    };
    if constexpr (HasRecord<T>) {
        type.writeRecord = [](Variant const &value, RecordSink &sink) { Record<T>::write(held<T>(value), sink); };
        type.readRecord = [](OptionNode const &record) -> std::shared_ptr<Variant> {
            return std::make_shared<VariantType<T>>(Record<T>::read(record, {}));
        };
    }
    return type;
}

template <class T, class Table>
inline constexpr bool isInTable = false;
template <class T, class... Ts>
inline constexpr bool isInTable<T, std::tuple<TypeRow<Ts>...>> = (std::is_same_v<T, Ts> || ...);

} // namespace detail

/// The type `T`, which becomes known by this; null for Variant, which stands for every type.
template <class T>
ValueType const *valueType() {
    if constexpr (std::is_same_v<T, Variant>) {
        return nullptr;
    } else if constexpr (detail::isInTable<T, std::remove_const_t<decltype(typeTable)>>) {
        static ValueType const *const type = valueTypeOf(typeid(VariantType<T>));
        return type;
    } else {
        static ValueType const *const type = makeKnown(detail::describe<T>());
        return type;
    }
}

/// Calls `visit` with std::type_identity<T>() for each type of the table, in order.
template <class Visitor>
void forEachTableType(Visitor &&visit) {
    std::apply([&]<class... Ts>(TypeRow<Ts> const &...) { (visit(std::type_identity<Ts>()), ...); }, typeTable);
}

} // namespace zun
