#include <chrono>
#include <csignal>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

using namespace std::chrono_literals;

/// Writes the photo again and again, and the ticks' points beside it, for longer than any test waits.
char const *const endlessRun = R"(nodes:
  - {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}", repeat: 0}}
  - {type: Constant, outputs: {value: points}, options: {type: "zun::List<zun::Vec2f>", value: [[1, 2], [3, 4]]}}
  - {type: DrawPoints, inputs: {image: picture, points: points}, outputs: {output: dotted}}
  - {type: WriteFrames, inputs: {frames: dotted}, options: {path: out-%05d.png}}
  - {type: WriteRecords, inputs: {value: points}, options: {path: points.jsonl}}
)";

bool isWholePng(std::string const &bytes) {
    return bytes.starts_with("\x89PNG\r\n\x1a\n") && bytes.ends_with("IEND\xae\x42\x60\x82");
}

std::vector<std::string> pictures(Folder const &folder) {
    std::vector<std::string> found;
    for (std::string const &name : folder.names())
        if (name.starts_with("out-") && name.ends_with(".png")) found.push_back(name);
    return found;
}

class Interrupt : public testing::Test {
protected:
    Interrupt() { folder.write("endless.yaml", endlessRun); }

    /// Starts the run and waits until it has written some pictures.
    void start() {
        child.emplace(
            ZUN_PROGRAM,
            std::vector<std::string>{"run", "endless.yaml", "-D", "photo=" + photo.string(), "--frames", "0:1000000"},
            folder);
        auto const giveUp = std::chrono::steady_clock::now() + 60s;
        while (pictures(folder).size() < 3 && child->running() && std::chrono::steady_clock::now() < giveUp)
            std::this_thread::sleep_for(10ms);
        ASSERT_TRUE(child->running()) << child->wait().err;
        ASSERT_GE(pictures(folder).size(), 3u);
    }

    Folder folder;
    std::optional<Child> child;
};

TEST_F(Interrupt, AKilledRunLeavesNoHalfFileUnderAFinalName) {
    start();
    child->send(SIGKILL);
    EXPECT_EQ(child->wait().status, -SIGKILL);
    for (std::string const &name : pictures(folder)) EXPECT_TRUE(isWholePng(folder.read(name))) << name;
    EXPECT_FALSE(folder.holds("points.jsonl"));
}

TEST_F(Interrupt, ASignalEndsTheRunInOrder) {
    for (int const signal : {SIGINT, SIGTERM}) {
        start();
        child->send(signal);
        Ended const ended = child->wait();
        EXPECT_EQ(ended.status, 1) << ended.err;
        std::size_t const count = pictures(folder).size();
        EXPECT_NE(ended.err.find("stopped after " + std::to_string(count) + " ticks"), std::string::npos) << ended.err;
        EXPECT_EQ(occurrences(folder.read("points.jsonl"), "\n"), count) << "every tick that began was completed";
        EXPECT_EQ(folder.names().size(), count + 2) << "nothing is left under a temporary name";
        for (std::string const &name : folder.names())
            if (name != "endless.yaml") fs::remove(folder.path / name);
    }
}

} // namespace
} // namespace zun::cli::test
