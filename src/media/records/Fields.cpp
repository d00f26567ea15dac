#include "media/records/Fields.h"

#include <algorithm>
#include <utility>

#include "containers/Exception.h"

namespace zun {

media::Column media::Fields::Field::column() const {
    try {
        return value == nullptr ? Column(name, scalar) : Column(name, *value);
    } catch (Exception const &error) {
        throw Exception("field '" + name + "': " + error.what());
    }
}

void media::Fields::add(Field field) {
    if (std::any_of(list.begin(), list.end(), [&](Field const &other) { return other.name == field.name; }))
        throw Exception("a record would have two fields '" + field.name +
                        "'; give one stream another name, or leave the field out of option 'with'");
    list.push_back(std::move(field));
}

std::uint64_t Contents<media::Fields>::bytes(media::Fields const &fields) {
    std::uint64_t total = 0;
    for (media::Fields::Field const &field : fields.list) {
        ValueType const *const type = field.value == nullptr ? nullptr : valueTypeOf(*field.value);
        total += sizeof field + (type == nullptr ? 0 : type->bytes(*field.value));
    }
    return total;
}

media::Fields Contents<media::Fields>::copy(media::Fields const &fields) {
    media::Fields own = fields;
    for (media::Fields::Field &field : own.list)
        if (ValueType const *const type = field.value == nullptr ? nullptr : valueTypeOf(*field.value))
            field.value = type->copy(*field.value);
    return own;
}

} // namespace zun
