// An orderly end on SIGINT and SIGTERM.
#pragma once

#include <atomic>

namespace zun::cli {

/// While it lives, the first SIGINT or SIGTERM sets `stop`, and the second ends the process at once. One at a time.
class Interrupt {
public:
    explicit Interrupt(std::atomic<bool> &stop);
    ~Interrupt();
    Interrupt(Interrupt const &) = delete;
    Interrupt &operator=(Interrupt const &) = delete;
};

} // namespace zun::cli
