#include "description/WrittenValue.h"

#include <algorithm>
#include <cstdio>

#include "containers/Exception.h"
#include "description/Scalars.h"

namespace zun::engine {
namespace {

using Kind = YamlNode::Kind;

bool isControl(char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }

std::string inDoubleQuotes(std::string const &text) {
    std::string written = "\"";
    for (char const c : text) {
        if (c == '"' || c == '\\') written += '\\';
        if (c == '\n') {
            written += "\\n";
        } else if (isControl(c)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned>(c));
            written += escape;
        } else {
            written += c;
        }
    }
    return written + '"';
}

std::string inSingleQuotes(std::string const &text) {
    std::string written = "'";
    for (char const c : text) written.append(c == '\'' ? 2 : 1, c);
    return written + '\'';
}

std::string writtenScalar(std::string const &text, Quotes quotes) {
    return quotes == Quotes::None ? text : quotes == Quotes::Single ? inSingleQuotes(text) : inDoubleQuotes(text);
}

/// Asks the parser, which knows best what a text without quotes may hold.
bool isReadAs(YamlNode const &value, std::string const &written, Writing const &writing) {
    if (std::any_of(written.begin(), written.end(), isControl)) return false;
    DiagnosticList unused;
    auto tree = parseYaml(writing.inFlow ? "{k: " + written + "}" : "k: " + written, {"", false}, unused);
    if (!tree || tree->entries.size() != 1) return false;
    YamlNode &found = tree->entries[0].value;
    found.quoted |= writing.isText;
    return sameMeaning(found, value);
}

} // namespace

bool sameMeaning(YamlNode const &a, YamlNode const &b) {
    // A field without a value is an empty map.
    auto const isEmpty = [](YamlNode const &node) {
        return node.kind == Kind::Null || (node.kind == Kind::Map && node.entries.empty());
    };
    if (isEmpty(a) && isEmpty(b)) return true;
    if (a.kind != b.kind || a.text != b.text) return false;
    if (a.quoted != b.quoted) {
        bool const isString = resolvePlain(a.text).value.type == OptionNode::Type::STRING;
        if (!isString || a.text.find("${") != std::string::npos) return false;
    }
    return std::equal(a.items.begin(), a.items.end(), b.items.begin(), b.items.end(), sameMeaning) &&
           std::equal(a.entries.begin(), a.entries.end(), b.entries.begin(), b.entries.end(),
                      [](YamlEntry const &one, YamlEntry const &other) {
                          return one.key.text == other.key.text && sameMeaning(one.value, other.value);
                      });
}

std::string writtenValue(YamlNode const &value, Writing const &writing) {
    if (value.kind == Kind::List) {
        std::string written = "[";
        for (YamlNode const &item : value.items)
            written += (&item == &value.items.front() ? "" : ", ") +
                       writtenValue(item, {true, item.quoted ? Quotes::Double : Quotes::None, false});
        return written + "]";
    }
    YamlNode meant = value;
    meant.quoted |= writing.isText;
    for (Quotes const quotes : {writing.quotes, Quotes::None, Quotes::Double}) {
        std::string const written = writtenScalar(value.text, quotes);
        if (isReadAs(meant, written, writing)) return written;
    }
    throw Exception("the value " + quoted(value.text) + " can't be written " +
                    (writing.inFlow ? "within { } or [ ]" : "here") + "; put it in quotes if it is a text");
}

} // namespace zun::engine
