#include "media/records/Elements.h"

#include <cstdint>
#include <string_view>

#include "containers/Exception.h"
#include "media/records/RecordText.h"

namespace zun::media {
namespace {

std::size_t sizeOf(auto const &) { return 0; }
template <class T>
std::size_t sizeOf(std::vector<T> const &list) {
    return list.size();
}
template <class T>
std::size_t sizeOf(Mat<T, 1> const &list) {
    return list.count;
}

template <class T>
std::vector<T> picked(std::vector<T> const &list, std::vector<std::size_t> const &places) {
    std::vector<T> result;
    result.reserve(places.size());
    for (std::size_t const place : places) result.push_back(list[place]);
    return result;
}
template <class T>
Mat<T, 1> picked(Mat<T, 1> const &list, std::vector<std::size_t> const &places) {
    Mat<T, 1> const result({static_cast<std::uint32_t>(places.size())});
    for (std::size_t i = 0; i < places.size(); i++) result.first()[i] = list.first()[places[i]];
    return result;
}

template <class T>
inline constexpr bool isList = false;
template <class T>
inline constexpr bool isList<std::vector<T>> = true;
template <class T>
inline constexpr bool isList<Mat<T, 1>> = true;

/// Calls `visit` with the list that a value holds, if it is of a type of the table.
bool visitList(Variant const &value, auto const &visit) {
    bool found = false;
    forEachTableType([&]<class T>(std::type_identity<T>) {
        if constexpr (isList<T>)
            if (auto const *const held = dynamic_cast<VariantType<T> const *>(&value)) {
                found = true;
                visit(held->value);
            }
    });
    return found;
}

/// Counts the elements of a list that is written to it.
class CountingSink final : public RecordSink {
public:
    std::size_t elements = 0;

    void beginList() override {
        count();
        depth++;
    }
    void endList() override { depth--; }
    void write(bool) override { count(); }
    void write(std::int64_t) override { count(); }
    void write(float) override { count(); }
    void write(double) override { count(); }
    void write(std::string_view) override { count(); }

private:
    void count() { elements += depth == 1 ? 1 : 0; }

    std::size_t depth = 0;
};

} // namespace

std::optional<std::size_t> elementCount(Variant const &value) {
    std::size_t count = 0;
    if (visitList(value, [&](auto const &list) { count = sizeOf(list); })) return count;
    ValueType const *const type = valueTypeOf(value);
    if (type == nullptr || type->writeRecord == nullptr || !divisionOf(*type).isList) return std::nullopt;
    CountingSink sink;
    type->writeRecord(value, sink);
    return sink.elements;
}

std::shared_ptr<Variant> pickElements(Variant const &list, std::vector<std::size_t> const &places) {
    std::shared_ptr<Variant> result;
    auto const pick = [&]<class T>(T const &held) { result = std::make_shared<VariantType<T>>(picked(held, places)); };
    if (visitList(list, pick)) return result;
    ValueType const &type = recordTypeOf(list);
    OptionNode record = parseJson(recordText(list));
    OptionNode chosen = OptionNode::ofVector({});
    for (std::size_t const place : places) chosen.vectorValue.push_back(record.vectorValue.at(place));
    return type.readRecord(chosen);
}

} // namespace zun::media
