// A node's options: whether they are known, given, and convert, and whether their values make sense.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <sstream>
#include <string_view>

#include "description/Scalars.h"
#include "graph/GraphBuilder.h"
#include "pipeline/NodeSpecification.h"

namespace zun::engine {
namespace {

using Type = OptionNode::Type;

struct NamedColour {
    std::string_view name;
    char const *digits;
};

constexpr NamedColour namedColours[] = {
    {"black", "000000"},  {"white", "FFFFFF"},  {"grey", "808080"},   {"gray", "808080"},    {"silver", "C0C0C0"},
    {"red", "FF0000"},    {"maroon", "800000"}, {"lime", "00FF00"},   {"green", "008000"},   {"olive", "808000"},
    {"blue", "0000FF"},   {"navy", "000080"},   {"teal", "008080"},   {"cyan", "00FFFF"},    {"aqua", "00FFFF"},
    {"yellow", "FFFF00"}, {"orange", "FFA500"}, {"gold", "FFD700"},   {"brown", "A52A2A"},   {"pink", "FFC0CB"},
    {"purple", "800080"}, {"violet", "EE82EE"}, {"indigo", "4B0082"}, {"magenta", "FF00FF"}, {"fuchsia", "FF00FF"},
};

/// A colour string that says what `text` most likely means.
std::string nearestColour(std::string const &text) {
    std::string word, digits;
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        if (std::isalpha(byte) != 0) word += static_cast<char>(std::tolower(byte));
        if (std::isxdigit(byte) != 0) digits += c;
    }
    for (NamedColour const &known : namedColours)
        if (word == known.name) return std::string("0x") + known.digits;
    if (digits.size() == 3) // as in style sheets
        return "0x" + std::string{digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
    return "0xFF8000";
}

/// What is wrong with a colour string; empty if nothing is.
std::string colourProblem(std::string const &text) {
    std::size_t const prefix = text.starts_with('#') ? 1 : text.starts_with("0x") ? 2 : 0;
    std::string const digits = text.substr(prefix);
    bool const allDigits =
        std::all_of(digits.begin(), digits.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (allDigits && digits.size() == 6) return "";
    return "is " + quoted(text) + ", which is not six hexadecimal digits; write " + nearestColour(digits);
}

/// The numbers that a value holds: itself, or the elements of a list.
std::vector<double> numbersOf(OptionNode const &value) {
    if (value.type == Type::INT) return {static_cast<double>(value.intValue)};
    if (value.type == Type::FLOAT) return {value.floatValue};
    std::vector<double> numbers;
    for (auto const &element : value.vectorValue)
        for (double const number : numbersOf(*element)) numbers.push_back(number);
    return numbers;
}

std::string shown(double number) {
    std::ostringstream text;
    text << number;
    return text.str();
}

std::string rangeProblem(double number, OptionSense const &sense) {
    if (number >= sense.least && number <= sense.most) return "";
    bool const hasBoth = std::isfinite(sense.least) && std::isfinite(sense.most);
    std::string const range = hasBoth                      ? "from " + shown(sense.least) + " to " + shown(sense.most)
                              : std::isfinite(sense.least) ? "from " + shown(sense.least) + " on"
                                                           : "up to " + shown(sense.most);
    double const nearest = number < sense.least ? sense.least : sense.most;
    std::string problem = "is " + shown(number) + ", but makes sense " + range;
    if (std::isfinite(number)) problem += "; the nearest is " + shown(nearest);
    return problem;
}

std::string choiceProblem(double number, OptionSense const &sense) {
    std::string known;
    for (OptionChoice const &choice : sense.choices) {
        if (number == choice.value) return "";
        known += (known.empty() ? "" : ", ") + std::to_string(choice.value) + " (" + choice.name + ")";
    }
    return "is " + shown(number) + ", but makes sense only as " + known;
}

std::string kindProblem(double number, OptionKind kind) {
    if (kind == OptionKind::Ratio) return rangeProblem(number, {.least = 0, .most = 1, .choices = {}});
    if (kind == OptionKind::Angle && std::abs(number) > 2 * std::numbers::pi)
        return "is " + shown(number) + ", but angles are in radians; so many degrees are " +
               shown(number * std::numbers::pi / 180);
    return "";
}

/// What makes no sense about a value that converts to the option's type; empty if it does.
std::string problemOf(OptionNode const &value, OptionSense const &sense) {
    if (sense.kind == OptionKind::Colour) return colourProblem(convertOption<std::string>(value));
    if (sense.kind == OptionKind::Path && convertOption<std::string>(value).empty()) return "is empty; write a path";
    for (double const number : numbersOf(value)) {
        std::string problem = sense.choices.empty() ? rangeProblem(number, sense) : choiceProblem(number, sense);
        if (problem.empty()) problem = kindProblem(number, sense.kind);
        if (!problem.empty()) return problem;
    }
    return "";
}

std::string conversionAdvice(OptionNode const &value, NodeFacts::Option const &option) {
    if (value.type == Type::STRING) {
        for (OptionChoice const &choice : option.sense.choices)
            if (value.stringValue == choice.name)
                return "; " + quoted(choice.name) + " is written " + std::to_string(choice.value);
        if (option.conversion.accepts(resolvePlain(value.text).value))
            return "; write it without quotes (a ${name} for it needs a line of its own, outside of { })";
    }
    return std::string("; ") + option.conversion.advice;
}

} // namespace

void GraphBuilder::checkOptions(GraphNode &node) {
    auto const &known = node.type->specification.options;
    std::vector<std::string> missing;
    for (auto const &[name, option] : known)
        if (!option.optional) missing.push_back(name);
    for (OptionSetting const &setting : node.description->options) {
        std::string name = setting.name;
        if (!known.contains(name)) {
            std::vector<std::string> const names = keysOf(known);
            error(node, setting.place, name,
                  "has no option " + quoted(name) +
                      (names.empty() ? "; it has none at all" : diagnostics.knownNames(name, names)));
            name = diagnostics.nearest(name, names).value_or(name);
        }
        std::erase(missing, name);
        node.failed |= setting.value.type == Type::NONE; // was reported when the description was read
        NodeFacts::Option const *const option = node.type->facts.findOption(name);
        if (option == nullptr || setting.value.type == Type::NONE) continue;
        if (option->conversion.accepts(setting.value)) {
            warnOfLostDigits(node, setting);
            checkSense(node, setting, option->sense);
        } else {
            error(node, setting.place, name,
                  "takes " + known.at(name).type + " as option " + quoted(name) + ", not " +
                      quoted(setting.value.text) + " of type " + setting.value.getTypeExpression() +
                      conversionAdvice(setting.value, *option));
        }
    }
    for (std::string const &name : missing)
        error(node, node.description->place, name, "needs option " + quoted(name) + ", of type " + known.at(name).type);
}

/// Converting a number to an int that can't hold it is defined, but rarely intended.
void GraphBuilder::warnOfLostDigits(GraphNode const &node, OptionSetting const &setting) {
    auto const option = node.type->specification.options.find(setting.name);
    if (option == node.type->specification.options.end() || canonicalType(option->second.type) != "int") return;
    int const stored = convertOption<int>(setting.value);
    bool const same = setting.value.type == Type::INT     ? stored == setting.value.intValue
                      : setting.value.type == Type::FLOAT ? stored == setting.value.floatValue
                                                          : true;
    if (!same)
        warning(node, setting.place, setting.name,
                ": option " + quoted(setting.name) + " is an int, so " + quoted(setting.value.text) + " becomes " +
                    std::to_string(stored));
}

void GraphBuilder::checkSense(GraphNode const &node, OptionSetting const &setting, OptionSense const &sense) {
    std::string const problem = problemOf(setting.value, sense);
    if (!problem.empty())
        warning(node, setting.place, setting.name, ": option " + quoted(setting.name) + " " + problem);
}

} // namespace zun::engine
