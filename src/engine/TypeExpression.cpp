#include <cctype>
#include <map>
#include <optional>
#include <string_view>

#include "engine/ValueTypes.h"

namespace zun::engine {
namespace {

/// The further names of types.
std::string const &withoutAlias(std::string const &name) {
    static std::map<std::string, std::string> const aliases{
        {"RGBPixel", "zun::Vec<unsigned char, 3>"},
        {"zun::Vec3b", "zun::Vec<unsigned char, 3>"},
        {"zun::Vec4b", "zun::Vec<unsigned char, 4>"},
        {"zun::Vec3f", "zun::Vec<float, 3>"},
        {"zun::Vec2f", "zun::Vec<float, 2>"},
        {"zun::Vec2i", "zun::Vec<int, 2>"},
        {"zun::Box", "zun::Rect<float>"},
        {"zun::Rectf", "zun::Rect<float>"},
    };
    auto const found = aliases.find(name);
    return found == aliases.end() ? name : found->second;
}

/// Reads `type := word {word} ["<" type {"," type} ">"]`.
class TypeReader {
public:
    explicit TypeReader(std::string_view text) : rest(text) {}

    /// The canonical text, or nothing if it is no type expression.
    std::optional<std::string> read() {
        std::optional<std::string> type = readType(0);
        skipBlanks();
        return rest.empty() ? type : std::nullopt;
    }

private:
    static constexpr int deepest = 16; ///< lists of lists

    std::optional<std::string> readType(int depth) {
        std::string name = readWord();
        if (name.empty() || depth > deepest) return std::nullopt;
        for (std::string word = readWord(); !word.empty(); word = readWord()) name += " " + word;
        if (!take('<')) return withoutAlias(name);
        name += '<';
        do {
            std::optional<std::string> const argument = readType(depth + 1);
            if (!argument) return std::nullopt;
            if (name.back() != '<') name += ", ";
            name += *argument;
        } while (take(','));
        return take('>') ? std::optional(name + '>') : std::nullopt;
    }

    std::string readWord() {
        skipBlanks();
        std::size_t length = 0;
        while (length < rest.size() && isWordCharacter(rest[length])) length++;
        std::string word(rest.substr(0, length));
        rest.remove_prefix(length);
        return word;
    }

    bool take(char c) {
        skipBlanks();
        if (!rest.starts_with(c)) return false;
        rest.remove_prefix(1);
        return true;
    }

    void skipBlanks() {
        while (!rest.empty() && std::isspace(static_cast<unsigned char>(rest[0])) != 0) rest.remove_prefix(1);
    }

    static bool isWordCharacter(char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == ':';
    }

    std::string_view rest;
};

} // namespace

std::string canonicalType(std::string const &expression) { return TypeReader(expression).read().value_or(expression); }

bool typesAgree(std::string const &a, std::string const &b) {
    std::string const left = canonicalType(a), right = canonicalType(b);
    return left == right || left == "any" || right == "any";
}

} // namespace zun::engine
