// The two ways in which a node fails: both log the message at Level::Error on the channel "root" and throw it.
#pragma once

#include <sstream>
#include <string>

namespace zun {

/// A source line, as failure messages show it: the file's path under the source root without its ending.
struct SourceLine {
    char const *path;
    int line;
};

/// The source text of a check, and the line it stands on.
struct Condition {
    Condition(char const *conditionText, int sourceLine = __builtin_LINE()) : text(conditionText), line(sourceLine) {}

    char const *text;
    int line;
};

/// The condition of a failure that nothing was tested for.
inline constexpr char const *unconditional = "false";

/// Logs "<message> @ <path>:<line>", then "Assertion failed: <condition>" unless the condition is "false", and throws
/// zun::Exception with the message alone.
[[noreturn]] void raise(std::stringstream const &message, SourceLine where, char const *condition);

/// Logs the message as it is and throws zun::Exception with it.
[[noreturn]] void raise(std::stringstream const &message);

template <class... Parts>
[[noreturn]] void failAt(SourceLine where, char const *condition, Parts const &...parts) {
    std::stringstream message;
    (message << ... << parts);
    raise(message, where, condition);
}

template <class... Parts>
[[noreturn]] void failWithoutLocation(Parts const &...parts) {
    std::stringstream message;
    (message << ... << parts);
    raise(message);
}

} // namespace zun
