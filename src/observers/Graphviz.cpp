#include "observers/Graphviz.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "containers/Exception.h"
#include "pipeline/Diagnostic.h"

namespace zun::observers {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto timeLimit = std::chrono::seconds(30);
constexpr std::size_t longestMessage = 400;

[[noreturn]] void fail(std::string const &what, int error) {
    throw Exception("Graphviz's program 'dot' " + what + ": " + std::strerror(error));
}

/// A descriptor that closes itself.
class Descriptor {
public:
    explicit Descriptor(int opened) : number(opened) {}
    Descriptor(Descriptor &&other) noexcept : number(std::exchange(other.number, -1)) {}
    Descriptor &operator=(Descriptor &&) = delete;
    ~Descriptor() { close(); }

    int get() const { return number; }
    bool open() const { return number >= 0; }
    void close() {
        if (number >= 0) ::close(number);
        number = -1;
    }

private:
    int number;
};

struct Pipe {
    Descriptor reading, writing;
};

/// No child but the one that is handed an end inherits it.
Pipe makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("can't be given a graph", errno);
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

/// A child process, which is ended and waited for at the latest when this goes.
class Child {
public:
    Child(char const *const *arguments, int in, int out, int err) {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in, STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, err, STDERR_FILENO);
        // In a group of its own, it doesn't get the Ctrl-C that a run completes its ticks after. What we ignore, it
        // would ignore, too.
        posix_spawnattr_t attributes;
        posix_spawnattr_init(&attributes);
        sigset_t usual;
        sigemptyset(&usual);
        sigaddset(&usual, SIGPIPE);
        posix_spawnattr_setsigdefault(&attributes, &usual);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
        int const error =
            posix_spawnp(&process, arguments[0], &actions, &attributes, const_cast<char *const *>(arguments), environ);
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&actions);
        if (error == ENOENT)
            throw Exception("Graphviz's program 'dot' is not installed: install Debian's package graphviz "
                            "(apt install graphviz)");
        if (error != 0) fail("can't be started", error);
    }
    Child(Child const &) = delete;
    Child &operator=(Child const &) = delete;
    ~Child() {
        if (process == 0) return;
        kill(process, SIGKILL);
        waitForEnd();
    }

    /// Its status, as of waitpid().
    int waitForEnd() {
        int status = 0;
        while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
        }
        process = 0;
        return status;
    }

private:
    pid_t process = 0;
};

/// Keeps SIGPIPE from the calling thread: a program that reads no further is no reason to end this process.
class WithoutSigpipe {
public:
    WithoutSigpipe() {
        sigemptyset(&pipeSignal);
        sigaddset(&pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
    }
    WithoutSigpipe(WithoutSigpipe const &) = delete;
    WithoutSigpipe &operator=(WithoutSigpipe const &) = delete;
    ~WithoutSigpipe() {
        timespec const atOnce{};
        if (sigismember(&before, SIGPIPE) == 0) sigtimedwait(&pipeSignal, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

private:
    sigset_t pipeSignal{}, before{};
};

/// Appends what can be read; closes the descriptor at its end.
void readSome(Descriptor &from, std::string &text) {
    std::array<char, 65536> buffer;
    ssize_t const count = read(from.get(), buffer.data(), buffer.size());
    if (count > 0)
        text.append(buffer.data(), static_cast<std::size_t>(count));
    else if (count == 0 || (errno != EINTR && errno != EAGAIN))
        from.close();
}

/// Writes what can be written of a text and takes it away; closes the descriptor after the last of it.
void writeSome(Descriptor &to, std::string_view &text) {
    ssize_t const count = write(to.get(), text.data(), text.size());
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    bool const broken = count < 0 && errno != EINTR && errno != EAGAIN;
    if (text.empty() || broken) to.close();
}

/// Hands the text over and collects what comes back, until the child has closed both of its outputs.
void exchange(std::string_view text, Descriptor &in, Descriptor &out, Descriptor &err, std::string &output,
              std::string &messages) {
    fcntl(in.get(), F_SETFL, O_NONBLOCK);
    auto const end = Clock::now() + timeLimit;
    while (out.open() || err.open()) {
        auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0) throw Exception("Graphviz's program 'dot' took longer than 30 seconds and was ended");
        // Those that are closed have the number -1, which poll() leaves out.
        std::array<pollfd, 3> ends{{{in.get(), POLLOUT, 0}, {out.get(), POLLIN, 0}, {err.get(), POLLIN, 0}}};
        if (poll(ends.data(), ends.size(), static_cast<int>(left)) < 0 && errno != EINTR) fail("can't be read", errno);
        if (ends[0].revents != 0) writeSome(in, text);
        if (ends[1].revents != 0) readSome(out, output);
        if (ends[2].revents != 0) readSome(err, messages);
    }
}

} // namespace

std::string graphviz(std::string const &dot, std::string const &format) {
    WithoutSigpipe const withoutSigpipe;
    Pipe in = makePipe(), out = makePipe(), err = makePipe();
    std::string const formatOption = "-T" + format;
    std::array<char const *, 3> const arguments{"dot", formatOption.c_str(), nullptr};
    Child child(arguments.data(), in.reading.get(), out.writing.get(), err.writing.get());
    in.reading.close();
    out.writing.close();
    err.writing.close();
    std::string output, messages;
    exchange(dot, in.writing, out.reading, err.reading, output, messages);
    int const status = child.waitForEnd();
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw Exception("Graphviz's program 'dot' failed: " + shortened(messages, longestMessage));
    return output;
}

} // namespace zun::observers
