#include "engine/Report.h"

#include <algorithm>
#include <tuple>

#include "engine/Check.h"

namespace zun::engine {

std::string Place::text() const {
    if (line == 0) return file;
    return file + ":" + std::to_string(line) + ":" + std::to_string(column);
}

std::string Finding::text() const {
    std::string const where = place.text();
    return (where.empty() ? "" : where + ": ") + (severity == Severity::Error ? "error: " : "warning: ") + message;
}

bool hasErrors(Findings const &findings) {
    return std::any_of(findings.begin(), findings.end(),
                       [](Finding const &finding) { return finding.severity == Finding::Severity::Error; });
}

std::string quoted(std::string const &text) {
    constexpr std::size_t longest = 80;
    std::string shown = text.size() > longest ? text.substr(0, longest) + "..." : text;
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7f'; }, ' ');
    return "'" + shown + "'";
}

std::optional<std::string> Report::nearest(std::string const &wrong, std::vector<std::string> const &known) {
    if (searchesLeft == 0) return std::nullopt;
    searchesLeft--;
    return nearestName(wrong, known);
}

std::string Report::knownNames(std::string const &wrong, std::vector<std::string> const &known) {
    constexpr std::size_t few = 10;
    if (auto const near = nearest(wrong, known)) return "; did you mean " + quoted(*near) + "?";
    if (known.empty() || known.size() > few) return "";
    std::string text = known.size() == 1 ? "; the only one is " : "; known are ";
    for (std::string const &name : known) text += (&name == &known.front() ? "" : ", ") + quoted(name);
    return text;
}

Findings Report::takeSorted() {
    auto const position = [](Finding const &finding) {
        return std::tuple(finding.place.line == 0, finding.place.line, finding.place.column);
    };
    std::stable_sort(found.begin(), found.end(),
                     [&](Finding const &a, Finding const &b) { return position(a) < position(b); });
    return std::exchange(found, {});
}

} // namespace zun::engine
