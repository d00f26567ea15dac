#include "observers/TapRequest.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include "containers/Exception.h"

namespace zun::observers {
namespace {

std::optional<Tick> numberIn(std::string_view text) {
    Tick number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::vector<std::string> split(std::string const &text, char separator) {
    std::vector<std::string> parts(1);
    for (char const c : text)
        if (c == separator)
            parts.emplace_back();
        else
            parts.back() += c;
    return parts;
}

} // namespace

TickSet::Range TickSet::parseRange(std::string const &text) {
    std::vector<std::string> const parts = split(text, ':');
    auto const numberOr = [](std::string const &part, Tick otherwise) {
        return part.empty() ? std::optional(otherwise) : numberIn(part);
    };
    std::optional<Tick> const first = parts.size() > 1 ? numberOr(parts[0], 0) : numberIn(parts[0]);
    std::optional<Tick> const step = parts.size() > 2 ? numberOr(parts[2], 1) : 1;
    std::optional<Tick> const end =
        parts.size() > 1 ? numberOr(parts[1], endless) : std::optional(first.value_or(0) + 1);
    if (!first || !end || !step || *step == 0 || parts.size() > 3)
        throw Exception("'" + text +
                        "' names no ticks: write 5, 10:20 (20 is not among them), 0:100:10, or several "
                        "of these by commas");
    if (*first >= *end) throw Exception("'" + text + "' holds no tick: the first must be below the end");
    return {*first, *end, *step};
}

TickSet TickSet::parse(std::string const &text) {
    TickSet set;
    for (std::string const &part : split(text, ',')) set.ranges.push_back(parseRange(part));
    return set;
}

bool TickSet::contains(Tick tick) const {
    return std::any_of(ranges.begin(), ranges.end(), [tick](Range const &range) {
        return tick >= range.first && tick < range.end && (tick - range.first) % range.step == 0;
    });
}

bool TickSet::isOne() const { return ranges.size() == 1 && ranges[0].end - ranges[0].first <= ranges[0].step; }

TapRequest parseTap(std::string const &text) {
    std::size_t const equals = std::min(text.find('='), text.size());
    std::string const what = text.substr(0, equals);
    std::size_t const at = std::min(what.rfind('@'), what.size());
    TapRequest request;
    request.text = text;
    request.stream = what.substr(0, at);
    if (request.stream.empty()) throw Exception("'" + text + "' is not of the form STREAM[@TICKS][=PATTERN]");
    if (at != what.size()) request.ticks = TickSet::parse(what.substr(at + 1));
    if (equals == text.size()) return request;
    request.pattern = text.substr(equals + 1);
    if (request.pattern.empty()) throw Exception("'" + text + "' names no file after the '='");
    return request;
}

} // namespace zun::observers
