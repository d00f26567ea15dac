#include <algorithm>
#include <chrono>
#include <csignal>
#include <optional>
#include <thread>

#include <gtest/gtest.h>

#include "cli/Programs.h"

namespace zun::cli::test {
namespace {

using namespace std::chrono_literals;

/// A run that writes the photo again and again, and points beside it, for longer than any test waits.
struct Interrupt : testing::Test {
    /// Starts it and waits until it has written some pictures.
    void start() {
        folder.write("endless.yaml", R"(nodes:
  - {type: ReadFrames, outputs: {rgb: picture}, options: {path: "${photo}", repeat: 0}}
  - {type: Constant, outputs: {value: points}, options: {type: "zun::List<zun::Vec2f>", value: [[1, 2], [3, 4]]}}
  - {type: DrawPoints, inputs: {image: picture, points: points}, outputs: {output: dotted}}
  - {type: WriteFrames, inputs: {frames: dotted}, options: {path: out-%05d.png}}
  - {type: WriteRecords, inputs: {value: points}, options: {path: points.jsonl}}
)");
        child.emplace(ZUN_PROGRAM, "run endless.yaml --frames 0:1000000 -D photo=" + photo, folder);
        for (int tries = 0; pictures().size() < 3 && child->running() && tries < 6000; tries++)
            std::this_thread::sleep_for(10ms);
        ASSERT_TRUE(child->running()) << child->wait().err;
        ASSERT_GE(pictures().size(), 3u);
    }

    Names pictures() const {
        Names found = folder.files();
        std::erase_if(found, [](auto const &name) { return !name.starts_with("out-") || !name.ends_with(".png"); });
        return found;
    }

    Folder const folder;
    std::optional<Child> child;
};

TEST_F(Interrupt, AKilledRunLeavesNoHalfFileUnderAFinalName) {
    start();
    child->send(SIGKILL);
    EXPECT_EQ(child->wait().status, -SIGKILL);
    for (std::string const &name : pictures())
        EXPECT_TRUE(folder.read(name).ends_with("IEND\xae\x42\x60\x82")) << name << " is no whole PNG";
    EXPECT_FALSE(fs::exists(folder / "points.jsonl"));
}

TEST_F(Interrupt, ASignalEndsTheRunInOrder) {
    for (int const signal : {SIGINT, SIGTERM}) {
        start();
        child->send(signal);
        Ended const ended = child->wait();
        EXPECT_EQ(ended.status, 1) << ended.err;
        std::size_t const count = pictures().size();
        expectParts(ended.err, {"stopped after " + std::to_string(count) + " ticks"});
        std::string const lines = folder.read("points.jsonl");
        EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), count) << "every tick that began was completed";
        EXPECT_EQ(folder.files().size(), count + 2) << "nothing is left under a temporary name";
        for (std::string const &name : folder.files()) fs::remove(folder / name);
    }
}

} // namespace
} // namespace zun::cli::test
