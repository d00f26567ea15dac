#include "cli/TickRange.h"

#include <charconv>

namespace zun::cli {

std::optional<Tick> parseTick(std::string_view text) {
    Tick tick = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), tick);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return tick;
}

std::string readTickRange(std::string const &text, TickRange &range) {
    std::size_t const colon = text.find(':');
    if (colon == std::string::npos) return "'" + text + "' is not of the form a:b";
    std::string const first = text.substr(0, colon), end = text.substr(colon + 1);
    std::optional<Tick> const firstTick = first.empty() ? 0 : parseTick(first);
    std::optional<Tick> const endTick = end.empty() ? endless : parseTick(end);
    if (!firstTick || !endTick) return "'" + text + "' is not of the form a:b with numbers from 0 up";
    if (*firstTick >= *endTick) return "'" + text + "' holds no tick: the first must be below the end";
    range = {*firstTick, *endTick};
    return "";
}

} // namespace zun::cli
