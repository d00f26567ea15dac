#include "cli/Interrupt.h"

#include <csignal>

namespace zun::cli {
namespace {

static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler may only set what takes no lock");
static_assert(std::atomic<std::atomic<bool> *>::is_always_lock_free);

std::atomic<std::atomic<bool> *> stopFlag = nullptr;

extern "C" void noteSignal(int) {
    if (std::atomic<bool> *const flag = stopFlag.load()) *flag = true;
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

} // namespace

Interrupt::Interrupt(std::atomic<bool> &stop) {
    stopFlag = &stop;
    std::signal(SIGINT, noteSignal);
    std::signal(SIGTERM, noteSignal);
}

Interrupt::~Interrupt() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    stopFlag = nullptr;
}

} // namespace zun::cli
