// How numbers and values are shown to a person.
#pragma once

#include <cstdint>
#include <string>

namespace zun::cli {

/// "512 B", "5.6 MiB".
std::string readableBytes(std::uint64_t bytes);

/// "0:07", "1:02:30".
std::string readableDuration(double seconds);

/// A number with three significant digits or all before its point: "0.25", "48.2", "1960".
std::string readableRate(double value);

/// "1 error", "no errors", "12 errors".
std::string counted(std::uint64_t count, std::string const &noun);

} // namespace zun::cli
