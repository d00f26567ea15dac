#include "description/YamlHints.h"

#include <algorithm>

namespace zun::engine {
namespace {

constexpr std::size_t mostShown = 100; ///< characters of a line in a message

/// In the quotes that the description needs.
std::string inQuotes(std::string_view text) {
    bool const apostrophes = text.find_first_of("\"\\") != std::string_view::npos;
    return (apostrophes ? "'" : "\"") + std::string(text.substr(0, mostShown)) + (apostrophes ? "'" : "\"");
}

bool isIndentedWithTab(std::string_view line) {
    std::size_t const end = std::min(line.find_first_not_of(" \t"), line.size());
    return line.substr(0, end).find('\t') != std::string_view::npos;
}

/// The value with a brace in it at a place: from the blank or bracket before it to the comma or bracket after it. What
/// stands between braces of its own belongs to it.
std::string_view valueWithBrace(std::string_view line, std::size_t brace) {
    std::size_t const before = line.find_last_of(" \t,[{", brace == 0 ? 0 : brace - 1);
    std::size_t const begin = before == std::string_view::npos || before == brace ? 0 : before + 1;
    int depth = 0;
    std::size_t end = brace;
    for (; end < line.size(); end++) {
        if (depth == 0 && std::string_view(" \t,]}").find(line[end]) != std::string_view::npos) break;
        depth += line[end] == '{' ? 1 : line[end] == '}' ? -1 : 0;
    }
    return line.substr(begin, end - begin);
}

/// Of a text with braces that stand for something else in YAML.
std::string hintForBraces(std::string_view line, std::size_t at) {
    // The place is that of a brace within a value, or just after the one that ended a map too early.
    bool const opens = at < line.size() && line[at] == '{';
    std::size_t const brace = opens ? at : at == 0 ? std::string_view::npos : line.rfind('{', at - 1);
    if (brace == std::string_view::npos || (!opens && line[at - 1] != '}')) return "";
    std::string_view const value = valueWithBrace(line, brace);
    if (value.find('}') == std::string_view::npos) return "";
    bool const variable = brace > 0 && line[brace - 1] == '$';
    return "; a value with " + std::string(variable ? "${name} within { } or [ ]" : "braces") +
           " has to be in quotes: " + inQuotes(value);
}

/// Of a list or map whose end is in a comment, at its line or above.
std::string hintForComment(SourceLines const &source, int last) {
    constexpr int mostLines = 20;
    for (int number = last; number > 0 && number > last - mostLines; number--) {
        std::string_view const line = source.line(number);
        std::size_t const hash = line.find(" #");
        if (hash == std::string_view::npos || line.find_first_of("}]", hash) == std::string_view::npos) continue;
        std::string const value = valueInComment(line.substr(0, line.find_first_of(",}]", hash)), hash);
        if (value.empty() || line.substr(0, hash).find_first_of("{[") == std::string_view::npos) continue;
        return "; in line " + std::to_string(number) +
               " what follows # is a comment, and so is the end of the map or list: write " + inQuotes(value);
    }
    return "";
}

} // namespace

SourceLines::SourceLines(std::string_view text) {
    while (!text.empty()) {
        std::size_t const end = std::min(text.find('\n'), text.size());
        std::string_view const line = text.substr(0, end);
        lines.push_back(line.substr(0, line.size() - line.ends_with('\r')));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
}

std::string_view SourceLines::line(int number) const {
    return number < 1 || static_cast<std::size_t>(number) > lines.size() ? std::string_view()
                                                                         : lines[static_cast<std::size_t>(number) - 1];
}

std::string valueInComment(std::string_view line, std::size_t from) {
    std::size_t const begin = std::min(line.find_first_not_of(" \t:\"'", std::min(from, line.size())), line.size());
    std::string_view value = line.substr(begin);
    // With a blank after it, # begins what people mean as a comment.
    if (value.size() < 2 || value[0] != '#' || value[1] == ' ' || value[1] == '\t' || value[1] == '#') return "";
    value = value.substr(0, std::min(value.find(" #"), mostShown));
    return std::string(value.substr(0, value.find_last_not_of(" \t") + 1));
}

std::string hintFor(std::string const &problem, SourceLines const &source, int line, int column) {
    std::string_view const text = source.line(line);
    if (isIndentedWithTab(text)) return "; this line is indented with a tab, but YAML takes blanks only: replace it";
    bool const unclosed = problem == "end of map flow not found" || problem == "end of sequence flow not found";
    if (unclosed || problem == "end of map not found" || problem == "end of sequence not found") {
        std::string const braces = hintForBraces(text, static_cast<std::size_t>(std::max(column - 1, 0)));
        if (!braces.empty()) return braces;
    }
    if (unclosed) {
        std::string const comment = hintForComment(source, line);
        return comment.empty() ? "; close it, and put texts with braces, brackets or # in quotes" : comment;
    }
    if (problem == "illegal map value") return "; put a text with ': ' in it in quotes, and indent entries alike";
    if (problem == "illegal block entry") return "; write the stream name - in quotes: \"-\"";
    if (problem == "illegal tab when looking for indentation") return "; indent with blanks";
    if (problem == "unknown token") return "; put a value that begins with such a character in quotes";
    return "";
}

} // namespace zun::engine
