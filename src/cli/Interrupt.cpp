#include "cli/Interrupt.h"

#include <array>
#include <csignal>

namespace zun::cli {
namespace {

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only set what takes no lock");
static_assert(std::atomic<std::atomic<bool> *>::is_always_lock_free);

std::atomic<std::atomic<bool> *> stopFlag = nullptr;

constexpr std::array signals{SIGINT, SIGTERM, SIGHUP};

/// Sets what the signals do, but for SIGHUP where it is ignored.
void setAll(void (*handler)(int)) {
    for (int const signal : signals)
        if (std::signal(signal, handler) == SIG_IGN && signal == SIGHUP) std::signal(signal, SIG_IGN);
}

extern "C" void noteSignal(int) {
    if (std::atomic<bool> *const flag = stopFlag.load()) *flag = true;
    setAll(SIG_DFL);
}

} // namespace

Interrupt::Interrupt(std::atomic<bool> &stop) {
    stopFlag = &stop;
    setAll(noteSignal);
}

Interrupt::~Interrupt() {
    setAll(SIG_DFL);
    stopFlag = nullptr;
}

} // namespace zun::cli
