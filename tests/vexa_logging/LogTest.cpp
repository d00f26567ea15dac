#include "vexa_logging/Log.h"

#include <atomic>
#include <future>
#include <mutex>
#include <set>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zun::log {
namespace {

/// Brings the defaults back after each test.
class Log : public testing::Test {
protected:
    void TearDown() override {
        setSink({});
        setLevel(Level::Hint);
    }
};

TEST_F(Log, LevelsHaveTheirNumbers) {
    EXPECT_EQ(static_cast<int>(Level::Error), 4);
    EXPECT_EQ(static_cast<int>(Level::Hint), 1);
}

TEST_F(Log, DropsWhatIsBelowTheLevel) {
    std::vector<std::string> lines;
    setSink([&](std::string const &channel, Level level, std::string const &message) {
        lines.push_back(channel + "/" + levelName(level) + "/" + message);
    });
    auto const logAll = [&] {
        for (int level = 0; level <= 4; level++) _output("root", static_cast<Level>(level), std::to_string(level));
        return std::exchange(lines, {}).size();
    };
    EXPECT_EQ(logAll(), 4u) << "by default all but debug lines pass";
    setLevel(Level::Debug);
    EXPECT_EQ(logAll(), 5u);
    setLevel(Level::Error);
    EXPECT_EQ(logAll(), 1u);
    setLevel(Level::Silent);
    EXPECT_EQ(logAll(), 0u);
    setLevel(Level::Warning);
    _output("other", Level::Warning, "message");
    EXPECT_EQ(lines, std::vector<std::string>{"other/warning/message"});
}

TEST_F(Log, SinkMayItselfLog) {
    std::vector<std::string> lines;
    setSink([&](std::string const &, Level level, std::string const &message) {
        lines.push_back(message);
        if (level == Level::Error) _output("root", Level::Info, "about " + message);
    });
    _output("root", Level::Error, "failure");
    EXPECT_EQ(lines, (std::vector<std::string>{"failure", "about failure"}));
}

TEST_F(Log, SinkThatBlocksStopsNoOtherThreadAndMayBeReplaced) {
    std::promise<void> entered, release;
    std::shared_future<void> const released = release.get_future().share();
    std::atomic<int> finished = 0;
    setSink([&](std::string const &, Level, std::string const &message) {
        if (message == "blocks") {
            entered.set_value();
            released.wait();
        }
        finished++;
    });
    std::thread blocked([] { _output("root", Level::Error, "blocks"); });
    entered.get_future().wait();
    _output("root", Level::Error, "passes");
    EXPECT_EQ(finished, 1);
    int replaced = 0;
    setSink([&](std::string const &, Level, std::string const &) { replaced++; });
    _output("root", Level::Error, "goes to the new sink");
    EXPECT_EQ(replaced, 1);
    release.set_value();
    blocked.join();
    EXPECT_EQ(finished, 2) << "the line that was with the old sink finished there";
}

TEST_F(Log, DefaultSinkWritesWholeLinesFromManyThreads) {
    constexpr int threads = 4, linesEach = 200;
    testing::internal::CaptureStderr();
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; t++)
        writers.emplace_back([t] {
            for (int i = 0; i < linesEach; i++)
                _output("root", Level::Warning, std::to_string(t * linesEach + i) + std::string(300, 'x') + ".");
        });
    for (auto &writer : writers) writer.join();
    std::istringstream written(testing::internal::GetCapturedStderr());
    std::set<std::string> lines;
    for (std::string line; std::getline(written, line);) lines.insert(line);
    std::set<std::string> expected;
    for (int i = 0; i < threads * linesEach; i++)
        expected.insert("[root] warning: " + std::to_string(i) + std::string(300, 'x') + ".");
    EXPECT_EQ(lines, expected);
}

} // namespace
} // namespace zun::log
