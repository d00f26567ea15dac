#include "pipeline/NearestName.h"

#include <algorithm>
#include <cctype>
#include <limits>

namespace zun {
namespace {

/// Longer names are not compared; the time that a comparison takes grows with the square of their length.
constexpr std::size_t longestName = 64;

std::string lowerCase(std::string text) {
    for (char &c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

/// The number of characters to insert, remove, replace, or swap with their neighbour to get from one text to the other.
std::size_t editDistance(std::string const &a, std::string const &b) {
    std::vector<std::size_t> beforeLast, last(b.size() + 1), row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); j++) last[j] = j;
    for (std::size_t i = 1; i <= a.size(); i++) {
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); j++) {
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
        beforeLast = last;
        last = row;
    }
    return last[b.size()];
}

/// How far a known name is from a wrong one, or nothing if it is too far to be meant. Of 3 to 5 characters one may
/// differ, of 6 to 8 two, and so on; a name that was not written to its end is near, too.
std::optional<std::size_t> distance(std::string const &wrong, std::string const &known) {
    if (known.starts_with(wrong + "<")) return 0; // a class template without its argument
    std::size_t const allowed = std::max(wrong.size(), known.size()) / 3;
    bool const begun = wrong.size() >= 3 && known.starts_with(wrong);
    if (begun) return std::min(known.size() - wrong.size(), std::max<std::size_t>(allowed, 1));
    if (wrong.size() > known.size() + allowed || known.size() > wrong.size() + allowed) return std::nullopt;
    std::size_t const edits = editDistance(wrong, known);
    return edits <= allowed ? std::optional(edits) : std::nullopt;
}

} // namespace

std::optional<std::string> nearestName(std::string const &wrong, std::vector<std::string> const &known) {
    if (wrong.size() > longestName) return std::nullopt;
    std::string const *nearest = nullptr;
    std::size_t least = std::numeric_limits<std::size_t>::max();
    for (std::string const &name : known) {
        if (name.size() > longestName) continue;
        std::optional<std::size_t> const away = distance(lowerCase(wrong), lowerCase(name));
        if (!away || *away >= least) continue;
        nearest = &name;
        least = *away;
    }
    return nearest != nullptr ? std::optional(*nearest) : std::nullopt;
}

std::string suggestion(std::string const &wrong, std::vector<std::string> const &known) {
    std::optional<std::string> const nearest = nearestName(wrong, known);
    return nearest ? "; did you mean '" + *nearest + "'?" : "";
}

} // namespace zun
