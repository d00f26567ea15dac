#include "description/Scalars.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

#include "containers/Exception.h"
#include "pipeline/types/TypeExpression.h"

namespace zun::engine {
namespace {

bool isOneOf(std::string_view text, std::initializer_list<std::string_view> spellings) {
    return std::find(spellings.begin(), spellings.end(), text) != spellings.end();
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view withoutSign(std::string_view text) {
    return !text.empty() && (text[0] == '-' || text[0] == '+') ? text.substr(1) : text;
}

/// Takes the digits off the front of a text, and returns how many there were.
std::size_t takeDigits(std::string_view &text) {
    auto const end = std::find_if_not(text.begin(), text.end(), isDigit);
    auto const count = static_cast<std::size_t>(end - text.begin());
    text.remove_prefix(count);
    return count;
}

bool looksLikeInt(std::string_view text) {
    text = withoutSign(text);
    return takeDigits(text) > 0 && text.empty();
}

bool looksLikeHex(std::string_view text) {
    return text.size() > 2 && text.starts_with("0x") &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == std::string_view::npos;
}

/// Digits with a point before, between or after them, and an exponent.
bool looksLikeFloat(std::string_view text) {
    text = withoutSign(text);
    std::size_t digits = takeDigits(text);
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        digits += takeDigits(text);
    }
    if (digits == 0) return false;
    if (text.empty()) return true;
    if (text[0] != 'e' && text[0] != 'E') return false;
    text = withoutSign(text.substr(1));
    return takeDigits(text) > 0 && text.empty();
}

template <class T, class... Format>
std::optional<T> numberFrom(std::string_view text, Format... format) {
    if (text.starts_with('+')) text.remove_prefix(1);
    T value{};
    auto const [end, failure] = std::from_chars(text.data(), text.data() + text.size(), value, format...);
    return failure == std::errc() ? std::optional(value) : std::nullopt;
}

ResolvedScalar outOfRange(std::string const &text, char const *range) {
    return {{}, "the number " + quoted(text) + " is out of range (" + range + "); put it in quotes if it is a text"};
}

ResolvedScalar resolveInt(std::string const &text, std::string_view digits, int base) {
    auto const value = numberFrom<std::int64_t>(digits, base);
    return value ? ResolvedScalar{OptionNode::ofInt(*value, text), ""} : outOfRange(text, "64 bits with sign");
}

std::string listText(std::vector<OptionNode> const &elements) {
    std::string text = "[";
    for (OptionNode const &element : elements) text += (&element == &elements.front() ? "" : ", ") + element.text;
    return text + "]";
}

} // namespace

ResolvedScalar resolvePlain(std::string const &text) {
    using Limits = std::numeric_limits<double>;
    if (isOneOf(text, {"", "~", "null", "Null", "NULL"})) return {};
    if (isOneOf(text, {"true", "True", "TRUE"})) return {OptionNode::ofBool(true, text), ""};
    if (isOneOf(text, {"false", "False", "FALSE"})) return {OptionNode::ofBool(false, text), ""};
    if (looksLikeInt(text)) return resolveInt(text, text, 10);
    if (looksLikeHex(text)) return resolveInt(text, std::string_view(text).substr(2), 16);
    if (looksLikeFloat(text)) {
        auto const value = numberFrom<double>(text, std::chars_format::general);
        return value ? ResolvedScalar{OptionNode::ofFloat(*value, text), ""} : outOfRange(text, "a 64-bit float");
    }
    if (isOneOf(withoutSign(text), {".inf", ".Inf", ".INF"}))
        return {OptionNode::ofFloat(text[0] == '-' ? -Limits::infinity() : Limits::infinity(), text), ""};
    if (isOneOf(text, {".nan", ".NaN", ".NAN"})) return {OptionNode::ofFloat(Limits::quiet_NaN(), text), ""};
    return {OptionNode::ofString(text), ""};
}

OptionNode optionFrom(YamlNode const &node, YamlOrigin const &origin, Place const &fallback, std::string const &what,
                      DiagnosticList &diagnostics) {
    switch (node.kind) {
    case YamlNode::Kind::Refused:
        return {};
    case YamlNode::Kind::Null:
        diagnostics.error(fallback, what + " has no value" +
                                        (node.comment.empty() ? "; an empty text is written \"\"" : commentHint(node)));
        return {};
    case YamlNode::Kind::Map:
        diagnostics.error(origin.place(node),
                          what + " is a map, but a value is a bool, a number, a text or a list of them");
        return {};
    case YamlNode::Kind::Scalar: {
        if (node.quoted) return OptionNode::ofString(node.text);
        ResolvedScalar resolved = resolvePlain(node.text);
        if (!resolved.problem.empty())
            diagnostics.error(origin.place(node), what + ": " + resolved.problem);
        else if (resolved.value.type == OptionNode::Type::NONE)
            diagnostics.error(origin.place(node), what + " has no value; an empty text is written \"\"");
        return std::move(resolved.value);
    }
    case YamlNode::Kind::List:
        break;
    }
    std::vector<OptionNode> elements;
    for (YamlNode const &item : node.items)
        elements.push_back(optionFrom(item, origin, origin.place(node), "an element of " + what, diagnostics));
    bool const complete = std::all_of(elements.begin(), elements.end(),
                                      [](OptionNode const &e) { return e.type != OptionNode::Type::NONE; });
    if (!complete) return {};
    std::string text = listText(elements);
    return OptionNode::ofVector(std::move(elements), std::move(text));
}

OptionNode parseValue(std::string const &text) {
    DiagnosticList diagnostics;
    YamlOrigin const origin{"", false};
    OptionNode value;
    if (auto const tree = parseYaml(text, origin, diagnostics))
        value = optionFrom(*tree, origin, {}, "the value " + quoted(text), diagnostics);
    Diagnostics const found = diagnostics.takeSorted();
    if (!found.empty()) throw Exception(found.front().message);
    return value;
}

OptionNode defaultOf(NodeSpecification::Option const &option) {
    if (canonicalType(option.type) == "std::string") return OptionNode::ofString(option.defaultValue);
    try {
        return parseValue(option.defaultValue);
    } catch (Exception const &) {
        return OptionNode::ofString(option.defaultValue);
    }
}

} // namespace zun::engine
