#include "studio/ValueTexts.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "media/records/Fields.h"
#include "media/records/RecordText.h"
#include "media/records/RecordTree.h"
#include "media/writing/PictureEncoders.h"
#include "observers/Picture.h"

namespace zun::studio {
namespace {

using media::RecordTree;
using nlohmann::json;

constexpr int thumbWidth = 128, thumbHeight = 84;
constexpr int thumbLevel = 1, pictureLevel = 6; // of compression
constexpr std::size_t mostElements = 2000;      // of each list
constexpr std::size_t mostNumbers = 100'000;    // of a record

std::string png(media::Pixels const &shown, int level) {
    media::Bytes const bytes = media::encodePng(shown, level);
    return {bytes.begin(), bytes.end()};
}

/// Takes the ends off long lists; returns whether there were any.
bool cut(RecordTree &tree, std::size_t &left) {
    auto *const list = std::get_if<RecordTree::List>(&tree.value);
    if (list == nullptr) {
        left -= left > 0 ? 1 : 0;
        return false;
    }
    bool any = false;
    std::size_t count = 0;
    while (count < list->size() && count < mostElements && left > 0) any |= cut((*list)[count++], left);
    any |= count < list->size();
    list->resize(count);
    return any;
}

media::Fields const *fieldsIn(Variant const &value) {
    auto const *const held = dynamic_cast<VariantType<media::Fields> const *>(&value);
    return held != nullptr ? &held->value : nullptr;
}

/// An object with the fields of a record.
std::string fieldsText(media::Fields const &fields, std::size_t &left, bool &isCut) {
    std::string text;
    for (media::Fields::Field const &field : fields.list) {
        RecordTree tree = field.value != nullptr ? media::treeOf(*field.value) : field.scalar;
        isCut |= cut(tree, left);
        text += (text.empty() ? "{" : ", ") + json(field.name).dump() + ": " + media::recordText(tree);
    }
    return text.empty() ? "{}" : text + "}";
}

/// JSON has no other numbers; see docs/records.md.
json numberText(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
    return number;
}

} // namespace

std::string thumbnail(Variant const &value, std::size_t item) {
    return png(observers::reduced(observers::pictureOf(value, item).pixels, thumbWidth, thumbHeight), thumbLevel);
}

std::string picture(Variant const &value, std::size_t item) {
    return png(observers::pictureOf(value, item).pixels, pictureLevel);
}

std::string pixels(Variant const &value, std::size_t item) {
    media::Pixels const shown = observers::pictureOf(value, item).pixels;
    return {reinterpret_cast<char const *>(shown.bytes.get()),
            shown.rowBytes() * static_cast<std::size_t>(shown.height)};
}

std::string pixelText(Variant const &value, std::size_t item, std::int64_t x, std::int64_t y) {
    json numbers = json::array();
    for (double const number : observers::pixelAt(value, item, x, y)) numbers.push_back(numberText(number));
    if (numbers.empty()) throw Exception("the frame has no pixel at " + std::to_string(x) + ", " + std::to_string(y));
    return json{{"value", numbers}}.dump();
}

std::string recordText(Variant const &value, ValueType const *type) {
    if (observers::frameCount(value) > 0 || observers::isFrameList(value))
        throw Exception("frames are given as pixels, not as records");
    std::size_t left = mostNumbers;
    bool isCut = false;
    std::size_t count = 0;
    std::string text;
    if (media::Fields const *const fields = fieldsIn(value)) {
        count = fields->list.size();
        text = fieldsText(*fields, left, isCut);
    } else {
        RecordTree tree = media::treeOf(value);
        count = tree.list() != nullptr ? tree.list()->size() : 1;
        isCut = cut(tree, left);
        text = media::recordText(tree);
    }
    std::string const note = isCut ? ", \"cut\": true, \"count\": " + std::to_string(count) : "";
    return "{\"value\": " + text + note + ", \"type\": " + json(type == nullptr ? "" : type->spelling).dump() + "}";
}

} // namespace zun::studio
