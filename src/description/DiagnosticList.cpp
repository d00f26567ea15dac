#include "description/DiagnosticList.h"

namespace zun::engine {

std::optional<std::string> DiagnosticList::nearest(std::string const &wrong, std::vector<std::string> const &known) {
    if (searchesLeft == 0) return std::nullopt;
    searchesLeft--;
    return nearestName(wrong, known);
}

std::string DiagnosticList::knownNames(std::string const &wrong, std::vector<std::string> const &known) {
    constexpr std::size_t few = 10;
    if (auto const near = nearest(wrong, known)) return "; did you mean " + quoted(*near) + "?";
    if (known.empty() || known.size() > few) return "";
    std::string text = known.size() == 1 ? "; the only one is " : "; known are ";
    for (std::string const &name : known) text += (&name == &known.front() ? "" : ", ") + quoted(name);
    return text;
}

Diagnostics DiagnosticList::takeSorted() {
    Diagnostics sorted = std::exchange(found, {});
    sortByPlace(sorted);
    return sorted;
}

} // namespace zun::engine
