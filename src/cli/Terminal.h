// The standard error stream, shared by messages, log lines and one status line.
#pragma once

#include <mutex>
#include <string>

namespace zun::cli {

/// Whole lines; safe from any thread. A status line stands below them and is rewritten in place, where the stream is a
/// terminal that can do so.
class Terminal {
public:
    static Terminal &standardError();

    /// Whether a status line can be rewritten in place.
    bool interactive() const { return canRewrite; }

    /// Writes a line, or several; the status line moves down.
    void write(std::string const &text);

    /// Replaces the status line; "" takes it away. On a stream that is not interactive nothing is shown.
    void setStatus(std::string const &text);

private:
    Terminal();

    std::mutex mutex;
    bool canRewrite;
    std::string status;
};

/// "program: error: message", and the same for a warning.
void printError(std::string const &message);
void printWarning(std::string const &message);

/// Sends log lines to the terminal. Nodes log the failures that they throw, and the host reports those with node, tick
/// and stream; the nodes' own errors and hints, on the channel "root", show only if `verbose` is true.
void showLog(bool verbose);

/// The name that messages begin with.
void setProgramName(std::string const &name);

} // namespace zun::cli
