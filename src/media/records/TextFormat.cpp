#include "media/records/TextFormat.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <utility>

#include "containers/Exception.h"
#include "media/records/RecordText.h"
#include "pipeline/NearestName.h"

namespace zun::media {
namespace {

constexpr std::size_t mostWidth = 1000;
constexpr int mostDecimals = 100;

/// Takes digits from the front; nothing where there are none, or more than a small number has.
std::optional<int> takeNumber(std::string_view &text) {
    int number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || text.front() == '-') return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

std::string withDecimals(RecordTree const &value, int decimals) {
    if (RecordTree::List const *const list = value.list()) {
        std::string text;
        for (RecordTree const &item : *list) text += (text.empty() ? "" : ",") + withDecimals(item, decimals);
        return "[" + text + "]";
    }
    if (!value.isNumber()) throw Exception("decimals are of numbers, and this is " + recordText(value));
    if (!std::isfinite(value.number())) return plainText(value);
    std::array<char, 512> digits; // the largest double has 309 before the point
    auto const end =
        std::to_chars(digits.data(), digits.data() + digits.size(), value.number(), std::chars_format::fixed, decimals);
    return {digits.data(), end.ptr};
}

/// Characters of UTF-8; of other texts the bytes that could begin one.
std::size_t lengthOf(std::string const &text) {
    auto const begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), begins));
}

/// Whether a placeholder begins with a name, and goes on with a part, or after a colon.
bool beginsWith(std::string_view placeholder, std::string_view name) {
    if (!placeholder.starts_with(name)) return false;
    return placeholder.size() == name.size() || placeholder[name.size()] == '.' || placeholder[name.size()] == ':';
}

/// The names that there are, and the nearest to what was written.
std::string advice(std::string_view placeholder, std::vector<TextFormat::Name> const &names) {
    std::string known;
    std::vector<std::string> texts;
    for (TextFormat::Name const &name : names) {
        known += (known.empty() ? "" : ", ") + ("{" + name.text + "}");
        texts.push_back(name.text);
    }
    std::string const wrong(placeholder.substr(0, placeholder.find_first_of(".:")));
    std::string const near = suggestion(wrong, texts);
    return (near.empty() ? "." : near) + " There are " + known;
}

} // namespace

std::string TextFormat::Field::text(RecordTree const &value) const {
    std::string text = decimals.has_value() ? withDecimals(value, *decimals) : plainText(value);
    std::size_t const length = width == 0 ? 0 : lengthOf(text);
    if (length >= width) return text;
    if (!value.isNumber()) return text.append(width - length, ' ');
    bool const padded = zeros && std::isfinite(value.number());
    return text.insert(padded && text.front() == '-' ? 1 : 0, width - length, padded ? '0' : ' ');
}

TextFormat::TextFormat(std::string const &format, std::vector<Name> const &names) : whole(format), parts(1) {
    for (std::size_t i = 0; i < format.size(); i++) {
        char const c = format[i];
        bool const doubled = i + 1 < format.size() && format[i + 1] == c;
        if (c != '{' && c != '}') {
            parts.back().literal += c;
        } else if (doubled) {
            parts.back().literal += c;
            i++;
        } else {
            std::size_t const end = c == '{' ? format.find('}', i) : std::string::npos;
            if (end == std::string::npos)
                throw Exception("format '" + format + "': '" + c + "' stands alone; write " + c + c + " for a brace");
            parts.back().field = readField(std::string_view(format).substr(i + 1, end - i - 1), names);
            parts.emplace_back();
            i = end;
        }
    }
}

bool TextFormat::uses(std::size_t id) const {
    return std::any_of(parts.begin(), parts.end(), [&](Piece const &p) { return p.field && p.field->name == id; });
}

TextFormat::Field TextFormat::readField(std::string_view placeholder, std::vector<Name> const &names) const {
    Name const *found = nullptr;
    for (Name const &name : names) {
        bool const isLonger = found == nullptr || name.text.size() > found->text.size();
        if (isLonger && beginsWith(placeholder, name.text)) found = &name;
    }
    std::string const where = "format '" + whole + "': ";
    if (found == nullptr)
        throw Exception(where + "there is no {" + std::string(placeholder) + "}" + advice(placeholder, names));
    Field field;
    field.name = found->id;
    std::string_view rest = placeholder.substr(found->text.size());
    std::size_t const colon = std::min(rest.find(':'), rest.size());
    if (colon > 0) field.part = rest.substr(1, colon - 1);
    rest.remove_prefix(colon);
    auto const refuse = [&] {
        throw Exception(where + "{" + std::string(placeholder) +
                        "}: after the colon stand a width up to 1000 and decimals up to 100, such as 8, 03 or 8.2");
    };
    if (rest.empty()) return field;
    rest.remove_prefix(1);
    field.zeros = rest.starts_with('0');
    if (!rest.starts_with('.')) {
        std::optional<int> const width = takeNumber(rest);
        if (!width || static_cast<std::size_t>(*width) > mostWidth) refuse();
        field.width = static_cast<std::size_t>(*width);
    }
    if (rest.starts_with('.')) {
        rest.remove_prefix(1);
        field.decimals = takeNumber(rest);
        if (!field.decimals || *field.decimals > mostDecimals) refuse();
    }
    if (!rest.empty()) refuse();
    return field;
}

} // namespace zun::media
