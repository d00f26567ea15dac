#include "pipeline/types/ValueType.h"

#include <deque>
#include <mutex>
#include <shared_mutex>
#include <typeindex>
#include <unordered_map>

namespace zun {
namespace {

struct KnownTypes {
    std::shared_mutex mutex;
    std::deque<ValueType> types; ///< which keeps its elements where they are
    std::unordered_map<std::type_index, ValueType const *> byVariant;
    std::unordered_map<std::string, ValueType const *> byExpression;

    KnownTypes() {
        forEachTableType([&]<class T>(std::type_identity<T>) { add(detail::describe<T>()); });
    }

    ValueType const *add(ValueType const &type) {
        if (auto const known = byVariant.find(*type.variant); known != byVariant.end()) return known->second;
        ValueType const *const added = &types.emplace_back(type);
        byVariant.emplace(*type.variant, added);
        byExpression.emplace(type.expression, added);
        return added;
    }
};

/// Made on first use, because static initialisers of plug-ins come here; never destroyed, because values may outlive
/// everything else.
KnownTypes &known() {
    static KnownTypes &instance = *new KnownTypes;
    return instance;
}

template <class Map, class Key>
ValueType const *find(Map const &map, Key const &key) {
    auto const found = map.find(key);
    return found == map.end() ? nullptr : found->second;
}

} // namespace

std::vector<ValueType const *> valueTypes() {
    std::shared_lock const lock(known().mutex);
    std::vector<ValueType const *> all;
    for (ValueType const &type : known().types) all.push_back(&type);
    return all;
}

ValueType const *valueTypeOf(Variant const &value) { return valueTypeOf(typeid(value)); }

ValueType const *valueTypeOf(std::type_info const &variant) {
    std::shared_lock const lock(known().mutex);
    return find(known().byVariant, std::type_index(variant));
}

ValueType const *valueTypeNamed(std::string const &expression) {
    std::string const canonical = canonicalType(expression);
    std::shared_lock const lock(known().mutex);
    return find(known().byExpression, canonical);
}

ValueType const *makeKnown(ValueType const &type) {
    std::lock_guard const lock(known().mutex);
    return known().add(type);
}

std::string detail::countOf(std::uint64_t count, char const *noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace zun
