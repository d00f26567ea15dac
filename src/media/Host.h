// What a host gives and allows the nodes of this library, and where their warnings go.
#pragma once

#include <functional>
#include <string>

namespace zun::media {

/// Set before a description is checked or run; read by the nodes at any time. Not to be changed during a run.
struct HostSettings {
    unsigned threads = 0;      ///< the most that one decoder or encoder may use; 0: one for each core
    bool allowNetwork = false; ///< addresses such as rtsp://camera/stream may be read
    bool allowDevices = false; ///< cameras may be read

    /// `threads`, or the number of cores.
    unsigned threadBudget() const;
};

HostSettings &hostSettings();

/// Where warnings of a run go; to nowhere, by default. Not to be changed during a run.
void setWarningSink(std::function<void(std::string const &)> sink);

/// Warns of what shows during a run only, once for each text. Thread-safe.
void warnOnce(std::string const &text);

} // namespace zun::media
