#include "description/SourceText.h"

#include <algorithm>
#include <iterator>

#include "containers/Exception.h"

namespace zun::engine {
namespace {

constexpr std::string_view blanks = " \t", space = " \t\r\n", byteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void notFound(YamlNode const &node) {
    throw Exception("what stands at line " + std::to_string(node.line) + ", column " + std::to_string(node.column) +
                    " is written in a way that can't be changed in place; edit the file by hand");
}

} // namespace

SourceText::SourceText(std::string const &source) : text(source), lines{0} {
    // The parser doesn't count the mark as a column.
    if (text.starts_with(byteOrderMark)) lines[0] = byteOrderMark.size();
    for (std::size_t end = 0; (end = text.find('\n', end)) != std::string::npos;) lines.push_back(++end);
}

std::string_view SourceText::piece(std::size_t begin, std::size_t end) const {
    return text.substr(begin, std::max(begin, end) - begin);
}

std::size_t SourceText::begin(YamlNode const &node) const {
    if (node.line < 1 || node.column < 1 || static_cast<std::size_t>(node.line) > lines.size()) notFound(node);
    std::size_t const offset =
        lines[static_cast<std::size_t>(node.line) - 1] + static_cast<std::size_t>(node.column) - 1;
    if (offset >= text.size()) notFound(node);
    return offset;
}

Extent SourceText::extent(YamlNode const &node) const {
    Extent whole{begin(node), begin(node), false};
    auto const take = [&](Extent const &part) {
        if (part.begin < whole.end) notFound(node);
        whole.comments |= part.comments || hasComment(whole.end, part.begin);
        whole.end = part.end;
    };
    char const first = at(whole.begin);
    if (node.kind == YamlNode::Kind::Scalar) {
        if (node.quoted && (first == '|' || first == '>')) return blockScalar(node);
        whole.end = first == '"' || first == '\'' ? quotedEnd(whole.begin) : plainEnd(node);
        return whole;
    }
    if (node.kind != YamlNode::Kind::List && node.kind != YamlNode::Kind::Map) notFound(node);
    if (isFlow(node)) whole.end++;
    for (YamlNode const &item : node.items) take(extent(item));
    for (YamlEntry const &entry : node.entries) take(extent(entry));
    if (isFlow(node)) close(whole);
    return whole;
}

Extent SourceText::extent(YamlEntry const &entry) const {
    Extent whole = extent(entry.key);
    if (entry.value.kind != YamlNode::Kind::Null) {
        Extent const value = extent(entry.value);
        if (value.begin < whole.end) notFound(entry.value);
        whole.comments |= value.comments || hasComment(whole.end, value.begin);
        whole.end = value.end;
        return whole;
    }
    whole.end = afterColon(entry.key);
    std::size_t const written = skip(whole.end, blanks);
    for (std::string_view const null : {"~", "null", "Null", "NULL"})
        if (text.substr(written).starts_with(null)) whole.end = written + null.size();
    return whole;
}

std::size_t SourceText::afterColon(YamlNode const &key) const {
    std::size_t const colon = skip(extent(key).end, space);
    if (at(colon) != ':') notFound(key);
    return colon + 1;
}

/// The text of a plain scalar is that of the file, but for blanks and line breaks.
std::size_t SourceText::plainEnd(YamlNode const &scalar) const {
    std::size_t offset = begin(scalar);
    std::string_view rest = scalar.text;
    while (!rest.empty()) {
        std::string_view const word = rest.substr(0, rest.find_first_of(space));
        if (!text.substr(offset).starts_with(word)) notFound(scalar);
        offset += word.size();
        rest.remove_prefix(std::min(rest.find_first_not_of(space, word.size()), rest.size()));
        if (!rest.empty()) offset = skip(offset, space);
    }
    return offset;
}

std::size_t SourceText::quotedEnd(std::size_t begin) const {
    char const quote = text[begin];
    for (std::size_t offset = begin + 1; offset < text.size(); offset++) {
        bool const escapes = quote == '"' ? text[offset] == '\\' : text[offset] == quote && at(offset + 1) == quote;
        if (escapes)
            offset++;
        else if (text[offset] == quote)
            return offset + 1;
    }
    return text.size();
}

/// A text after | or >: up to its last line that isn't blank.
Extent SourceText::blockScalar(YamlNode const &scalar) const {
    std::size_t const header = begin(scalar), headerEnd = lineEnd(header);
    // An indentation that is given as a number is relative to that of a parent, which is not known here.
    if (piece(header, headerEnd).find_first_of("123456789") < 3) notFound(scalar);
    Extent whole{header, headerEnd, hasComment(header, headerEnd)};
    if (scalar.text.find_first_not_of('\n') == std::string::npos) return whole;
    std::size_t const first = skip(headerEnd, space), indentation = first - lineBegin(first);
    for (std::size_t line = lineBegin(first); line < text.size(); line = nextLine(line)) {
        std::size_t const content = skip(line, space);
        if (content > lineEnd(line)) continue; // a blank line
        if (content - line < indentation) break;
        whole.end = lineEnd(line);
    }
    return whole;
}

/// Extends a list or map in brackets or braces from the end of its last entry to its own.
void SourceText::close(Extent &collection) const {
    char const bracket = at(collection.begin) == '[' ? ']' : '}';
    std::size_t offset = skip(collection.end, " \t\r\n,");
    for (; at(offset) == '#'; offset = skip(lineEnd(offset), " \t\r\n,")) collection.comments = true;
    if (at(offset) != bracket)
        throw Exception("a list or map is written in a way that can't be changed in place; edit the file by hand");
    collection.end = offset + 1;
}

std::size_t SourceText::lineBegin(std::size_t offset) const {
    return *std::prev(std::upper_bound(lines.begin(), lines.end(), std::max(offset, lines[0])));
}

std::size_t SourceText::lineEnd(std::size_t offset) const {
    std::size_t const end = std::min(text.find('\n', offset), text.size());
    return end < text.size() && end > offset && text[end - 1] == '\r' ? end - 1 : end;
}

std::size_t SourceText::nextLine(std::size_t offset) const {
    return std::min(text.find('\n', offset), text.size() - 1) + 1;
}

std::string_view SourceText::lineBreak() const { return at(lineEnd(0)) == '\r' ? "\r\n" : "\n"; }

bool SourceText::hasComment(std::size_t begin, std::size_t end) const {
    return piece(begin, end).find('#') != std::string_view::npos;
}

std::size_t SourceText::skip(std::size_t from, std::string_view characters) const {
    return std::min(text.find_first_not_of(characters, from), text.size());
}

} // namespace zun::engine
