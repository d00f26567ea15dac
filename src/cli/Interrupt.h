// An orderly end on SIGINT, SIGTERM and SIGHUP.
#pragma once

#include <atomic>

namespace zun::cli {

/// While it lives, the first SIGINT, SIGTERM or SIGHUP sets `stop`, and the second ends the process at once. A SIGHUP
/// that the process was started to ignore, as with nohup, stays ignored. One at a time.
class Interrupt {
public:
    explicit Interrupt(std::atomic<bool> &stop);
    ~Interrupt();
    Interrupt(Interrupt const &) = delete;
    Interrupt &operator=(Interrupt const &) = delete;
};

} // namespace zun::cli
