#include "cli/Terminal.h"

#include <cstdlib>
#include <iostream>
#include <string_view>

#include <unistd.h>

#include "vexa_logging/Log.h"

namespace zun::cli {
namespace {

constexpr char const *clearLine = "\r\033[K";

std::string &programName() {
    static std::string name = "zun";
    return name;
}

bool standardErrorIsTerminal() {
    char const *const kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && kind != nullptr && std::string_view(kind) != "dumb";
}

} // namespace

Terminal::Terminal() : canRewrite(standardErrorIsTerminal()) {}

Terminal &Terminal::standardError() {
    static Terminal terminal;
    return terminal;
}

void Terminal::write(std::string const &text) {
    std::lock_guard const lock(mutex);
    std::string whole = status.empty() ? "" : clearLine;
    whole += text;
    whole += '\n';
    std::cerr << whole + status << std::flush;
}

void Terminal::setStatus(std::string const &text) {
    if (!canRewrite) return;
    std::lock_guard const lock(mutex);
    status = text;
    std::cerr << clearLine + status << std::flush;
}

void printError(std::string const &message) { Terminal::standardError().write(programName() + ": error: " + message); }

void printWarning(std::string const &message) {
    Terminal::standardError().write(programName() + ": warning: " + message);
}

void showLog(bool verbose) {
    log::setSink([verbose](std::string const &channel, log::Level level, std::string const &message) {
        if (!verbose && channel == "root" && (level == log::Level::Error || level == log::Level::Hint)) return;
        Terminal::standardError().write("[" + channel + "] " + log::levelName(level) + ": " + message);
    });
}

void setProgramName(std::string const &name) { programName() = name; }

} // namespace zun::cli
