#include "description/Setting.h"

namespace zun::engine {

std::optional<Setting> parseSetting(std::string const &text) {
    std::size_t const equals = text.find('='), dot = text.rfind('.', equals);
    if (equals == std::string::npos || dot == std::string::npos || dot == 0 || dot + 1 == equals) return std::nullopt;
    return Setting{text.substr(0, dot), text.substr(dot + 1, equals - dot - 1), text.substr(equals + 1)};
}

} // namespace zun::engine
