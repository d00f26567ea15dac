#include "cli/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace zun::cli {

std::string readableBytes(std::uint64_t bytes) {
    static constexpr std::array units{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    if (bytes < 1024) return std::to_string(bytes) + " B";
    double value = static_cast<double>(bytes) / 1024;
    std::size_t unit = 0;
    // 1023.95 would be shown as 1024.0
    for (; value >= 1023.95 && unit + 1 < units.size(); unit++) value /= 1024;
    std::ostringstream text;
    text << std::fixed << std::setprecision(1) << value << ' ' << units[unit];
    return text.str();
}

std::string readableDuration(double seconds) {
    auto const whole = static_cast<std::uint64_t>(std::ceil(std::max(seconds, 0.0)));
    std::uint64_t const hours = whole / 3600, minutes = whole / 60 % 60;
    std::ostringstream text;
    text << std::setfill('0');
    if (hours > 0) text << hours << ':' << std::setw(2);
    text << minutes << ':' << std::setw(2) << whole % 60;
    return text.str();
}

std::string readableRate(double value) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(value >= 100 ? 0 : value >= 10 ? 1 : 2) << value;
    return text.str();
}

std::string counted(std::uint64_t count, std::string const &noun) {
    std::string const number = count == 0 ? "no" : std::to_string(count);
    return number + " " + noun + (count == 1 ? "" : "s");
}

} // namespace zun::cli
