// What a host gives and allows the nodes of this library, and where their warnings go.
#pragma once

#include <atomic>
#include <cstdint>
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

/// How far a run is behind the address or camera that it reads, of several the one that gave a frame last.
struct LiveLag {
    std::atomic<double> seconds = 0;        ///< between the time of the frame that was taken last, and now
    std::atomic<std::uint64_t> dropped = 0; ///< frames that the run did not take

    bool any() const { return seconds >= 0.1 || dropped != 0; }
};

LiveLag &liveLag();

/// Where warnings of a run go; to nowhere, by default. Not to be changed during a run.
void setWarningSink(std::function<void(std::string const &)> sink);

/// Warns of what shows during a run only, once for each text. Thread-safe.
void warnOnce(std::string const &text);

} // namespace zun::media
