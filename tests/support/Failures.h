// What a test sees of failures: the lines that reach the log, and the message of the exception.
#pragma once

#include <exception>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "vexa_logging/Log.h"

namespace zun::test {

/// Takes the place of the log's sink while it lives. A line is "<channel> <level> <message>".
class LogLines {
public:
    LogLines() {
        log::setSink([this](std::string const &channel, log::Level level, std::string const &message) {
            std::lock_guard const lock(mutex);
            lines.push_back(channel + " " + std::to_string(static_cast<int>(level)) + " " + message);
        });
    }
    ~LogLines() { log::setSink({}); }
    LogLines(LogLines const &) = delete;
    LogLines &operator=(LogLines const &) = delete;

    std::vector<std::string> take() {
        std::lock_guard const lock(mutex);
        return std::exchange(lines, {});
    }

private:
    std::mutex mutex;
    std::vector<std::string> lines;
};

/// The message of the exception that `action` throws; "no failure" if it throws none.
inline std::string messageOf(std::function<void()> const &action) {
    try {
        action();
    } catch (std::exception const &failure) {
        return failure.what();
    }
    return "no failure";
}

/// Expects `action` to fail by the path with a source location: with `message` alone in the exception, and in the log
/// behind it " @ <where>", then the condition unless it is "false". `where` is a path and a line; after a path that
/// ends with ":" any line number does.
inline void expectFailureAt(std::function<void()> const &action, std::string const &message, std::string const &where,
                            std::string const &condition = "false") {
    LogLines log;
    EXPECT_EQ(messageOf(action), message);
    std::vector<std::string> lines = log.take();
    ASSERT_EQ(lines.size(), condition == "false" ? 1u : 2u) << message;
    if (where.ends_with(':')) {
        std::size_t const end = lines[0].find_last_not_of("0123456789") + 1;
        EXPECT_LT(end, lines[0].size()) << "no line number: " << lines[0];
        lines[0].resize(end);
    }
    EXPECT_EQ(lines[0], "root 4 " + message + " @ " + where);
    if (lines.size() == 2) {
        EXPECT_EQ(lines[1], "root 4 Assertion failed: " + condition);
    }
}

/// The same for the path without a location: the log has the message as it is.
inline void expectFailureWithoutLocation(std::function<void()> const &action, std::string const &message) {
    LogLines log;
    EXPECT_EQ(messageOf(action), message);
    EXPECT_EQ(log.take(), std::vector<std::string>{"root 4 " + message});
}

} // namespace zun::test
