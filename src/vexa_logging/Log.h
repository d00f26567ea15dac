// The one channel for log lines.
//
// Every line of the system goes through zun::log::_output to one replaceable sink. The default sink writes
// "[channel] level: message" to the standard error stream, a line at a time. All functions here may be called from
// any thread; a sink may be entered by several threads at once, and no lock is held while it runs, so a sink may
// itself log, block, or take a lock that a logging thread holds.
#pragma once

#include <functional>
#include <string>

namespace zun::log {

/// How much a line matters; the numbers are part of the interface.
enum class Level : int { Debug = 0, Hint = 1, Info = 2, Warning = 3, Error = 4, Silent = 5 };

/// "debug", "hint", ... for display.
char const *levelName(Level level);

using Sink = std::function<void(std::string const &channel, Level level, std::string const &message)>;

/// Hands a line to the sink if its level passes the filter. Returns at every level.
void _output(std::string const &channel, Level level, std::string const &message);

/// Replaces the sink; an empty function brings the default back. Lines that are already with the old sink finish there.
void setSink(Sink sink);

/// Lines below this level are dropped. The default is Level::Hint.
void setLevel(Level lowest);

} // namespace zun::log
