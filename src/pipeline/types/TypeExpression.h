// Type expressions: the texts by which specifications and descriptions name the types of values.
#pragma once

#include <string>
#include <string_view>

#include "pipeline/types/TypeTable.h"

namespace zun {

/// One text for one type: further names are resolved ("RGBPixel" and "zun::Vec3b" to "zun::Vec<unsigned char, 3>",
/// "zun::Box" and "zun::Rectf" to "zun::Rect<float>") and blanks are made regular. A text that can't be read comes back
/// as it is. Thread-safe, as all functions here.
std::string canonicalType(std::string_view expression);

/// Whether a stream of one type can feed an input of the other: equal when canonical, or either is "any".
bool typesAgree(std::string_view a, std::string_view b);

/// A canonical expression as people write it: "zun::Mat<zun::Vec3b, 2>".
std::string usualSpelling(std::string canonical);

/// A type expression with a parameter of a class template replaced, wherever it stands by itself: with "T" for
/// "zun::Vec3b", "zun::Mat<T, 2>" becomes "zun::Mat<zun::Vec3b, 2>".
std::string replaceParameter(std::string_view expression, std::string_view parameter, std::string_view choice);

/// Takes a type expression apart, into a text that grows by +=. One that can't be read leaves a text of any content.
template <class Text>
class TypeReader {
public:
    /// A word `parameter`, the name of a template's parameter, stands for `choice`.
    constexpr TypeReader(std::string_view expression, std::string_view templateParameter = "",
                         std::string_view chosen = "")
        : rest(expression), parameter(templateParameter), choice(chosen) {}

    /// Appends the canonical text, and returns whether it is one.
    constexpr bool read(Text &canonical) {
        bool const isType = readType(canonical, 0);
        skipBlanks();
        return isType && rest.empty();
    }

private:
    static constexpr int deepest = 16; ///< lists of lists

    // type := word {word} ["<" type {"," type} ">"]
    constexpr bool readType(Text &out, int depth) {
        std::string_view const first = readWord();
        if (first.empty() || depth > deepest) return false;
        std::string_view word = readWord();
        bool const isAlone = word.empty() && !take('<', false);
        out += isAlone ? resolved(first) : first;
        for (; !word.empty(); word = readWord()) {
            out += " ";
            out += word;
        }
        if (!take('<')) return true;
        out += "<";
        if (!readType(out, depth + 1)) return false;
        while (take(',')) {
            out += ", ";
            if (!readType(out, depth + 1)) return false;
        }
        out += ">";
        return take('>');
    }

    constexpr std::string_view resolved(std::string_view name) const {
        if (!parameter.empty() && name == parameter) return choice;
        for (TypeAlias const &alias : typeAliases)
            if (alias.name == name) return alias.canonical;
        return name;
    }

    constexpr std::string_view readWord() {
        skipBlanks();
        std::size_t length = 0;
        while (length < rest.size() && isWordCharacter(rest[length])) length++;
        std::string_view const word = rest.substr(0, length);
        rest.remove_prefix(length);
        return word;
    }

    constexpr bool take(char c, bool consume = true) {
        skipBlanks();
        bool const isThere = !rest.empty() && rest[0] == c;
        if (isThere && consume) rest.remove_prefix(1);
        return isThere;
    }

    constexpr void skipBlanks() {
        while (!rest.empty() && (rest[0] == ' ' || (rest[0] >= '\t' && rest[0] <= '\r'))) rest.remove_prefix(1);
    }

    static constexpr bool isWordCharacter(char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
    }

    std::string_view rest, parameter, choice;
};

/// Whether an expression names the type `T`; for compile time. `parameter` and `choice` as TypeReader takes them.
template <class T>
constexpr bool namesType(std::string_view expression, std::string_view parameter = "", std::string_view choice = "") {
    /// Compares what is appended with the type's own text, and keeps nothing.
    struct Comparison {
        std::string_view expected = TypeName<T>::text;
        bool same = true;

        constexpr void operator+=(std::string_view part) {
            same = same && expected.substr(0, part.size()) == part;
            expected.remove_prefix(same ? part.size() : 0);
        }
    };
    Comparison comparison;
    return TypeReader<Comparison>(expression, parameter, choice).read(comparison) && comparison.same &&
           comparison.expected.empty();
}

} // namespace zun
