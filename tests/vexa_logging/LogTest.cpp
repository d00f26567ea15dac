#include "vexa_logging/Log.h"

#include <atomic>
#include <future>
#include <sstream>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zun::log {
namespace {

/// Brings the defaults back after each test.
struct Log : testing::Test {
    ~Log() override {
        setSink({});
        setLevel(Level::Hint);
    }
};

TEST_F(Log, DropsWhatIsBelowTheLevel) {
    std::vector<std::string> lines;
    setSink([&](std::string const &channel, Level level, std::string const &message) {
        lines.push_back(channel + "/" + levelName(level) + "/" + message);
    });
    for (auto const &[level, passing] : {std::pair(Level::Hint, 4u), // the default
                                         {Level::Debug, 5u},
                                         {Level::Error, 1u},
                                         {Level::Silent, 0u}}) {
        if (level != Level::Hint) setLevel(level);
        for (int each = 0; each <= 4; each++) _output("root", static_cast<Level>(each), "message");
        EXPECT_EQ(std::exchange(lines, {}).size(), passing) << levelName(level);
    }
    setLevel(Level::Warning);
    _output("other", Level::Warning, "message");
    EXPECT_EQ(lines, std::vector<std::string>{"other/warning/message"});
}

TEST_F(Log, SinkMayBlockLogAndBeReplaced) {
    std::promise<void> entered, release;
    std::shared_future<void> const released = release.get_future().share();
    std::atomic<int> finished = 0;
    setSink([&](std::string const &, Level, std::string const &message) {
        if (message == "blocks") {
            entered.set_value();
            released.wait();
        }
        if (message == "passes") _output("root", Level::Info, "about it");
        finished++;
    });
    std::thread blocked([] { _output("root", Level::Error, "blocks"); });
    entered.get_future().wait();
    _output("root", Level::Error, "passes");
    EXPECT_EQ(finished, 2);
    int replaced = 0;
    setSink([&](std::string const &, Level, std::string const &) { replaced++; });
    _output("root", Level::Error, "goes to the new sink");
    EXPECT_EQ(replaced, 1);
    release.set_value();
    blocked.join();
    EXPECT_EQ(finished, 3) << "the line that was with the old sink finished there";
}

TEST_F(Log, DefaultSinkWritesWholeLinesFromManyThreads) {
    std::string const message(300, 'x');
    testing::internal::CaptureStderr();
    {
        std::vector<std::jthread> writers;
        for (int t = 0; t < 4; t++)
            writers.emplace_back([&] {
                for (int i = 0; i < 200; i++) _output("root", Level::Warning, message);
            });
    }
    std::istringstream written(testing::internal::GetCapturedStderr());
    int count = 0;
    for (std::string line; std::getline(written, line); count++) ASSERT_EQ(line, "[root] warning: " + message);
    EXPECT_EQ(count, 800);
}

} // namespace
} // namespace zun::log
