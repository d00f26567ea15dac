#include "pipeline/Diagnostic.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace zun {

std::string Place::text() const {
    if (line == 0) return file;
    return file + ":" + std::to_string(line) + ":" + std::to_string(column);
}

std::string Diagnostic::text() const {
    constexpr std::array<char const *, 3> kinds{"error: ", "warning: ", "note: "};
    std::string const where = place.text();
    return (where.empty() ? "" : where + ": ") + kinds[static_cast<std::size_t>(severity)] + message;
}

bool hasErrors(Diagnostics const &diagnostics) {
    return std::any_of(diagnostics.begin(), diagnostics.end(),
                       [](Diagnostic const &one) { return one.severity == Diagnostic::Severity::Error; });
}

void sortByPlace(Diagnostics &diagnostics) {
    auto const position = [](Diagnostic const &one) {
        return std::tuple(one.place.line == 0, one.place.line, one.place.column);
    };
    std::stable_sort(diagnostics.begin(), diagnostics.end(),
                     [&](Diagnostic const &a, Diagnostic const &b) { return position(a) < position(b); });
}

std::string shortened(std::string const &text, std::size_t longest) {
    if (text.size() <= longest) return text;
    auto const continues = [&](std::size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; };
    std::size_t end = longest;
    while (end > 0 && longest - end < 4 && continues(end)) end--;
    return text.substr(0, end) + "...";
}

std::string quoted(std::string const &text, std::size_t longest, char quote) {
    std::string shown = shortened(text, longest);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, ' ');
    return quote + shown + quote;
}

} // namespace zun
