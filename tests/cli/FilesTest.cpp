// Runs that meet at one output, and what is left of those that were killed.
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

/// A run that writes points to a file for longer than any test waits.
struct Outputs : testing::Test {
    Outputs() {
        folder.write("endless.yaml", R"(nodes:
  - {type: Constant, outputs: {value: points}, options: {type: "zun::List<zun::Vec2f>", value: [[1, 2], [3, 4]]}}
  - {type: WriteRecords, inputs: {value: points}, options: {path: points.jsonl}}
)");
    }

    /// Starts it and waits until it writes; returns its process, as the partial file's name has it.
    std::string start() {
        child.emplace(ZUN_PROGRAM, run + "0:1000000000", folder);
        std::string partial;
        for (int tries = 0; tries < 6000 && (partial.empty() || folder.read(partial).empty()); tries++) {
            std::this_thread::sleep_for(10ms);
            partial = partials().empty() ? "" : partials().back();
        }
        EXPECT_TRUE(partial.starts_with(".points.jsonl.")) << partial;
        std::size_t const begin = std::string(".points.jsonl.").size();
        return partial.empty() ? "" : partial.substr(begin, partial.find('-') - begin);
    }

    Names partials() const {
        Names found = folder.files();
        std::erase_if(found, [](std::string const &name) { return !name.ends_with(".part"); });
        return found;
    }

    /// Whether each line is there as it was written, to its end.
    bool isWhole() const {
        std::string const text = folder.read("points.jsonl"), line = "[[1.0,2.0],[3.0,4.0]]\n";
        for (std::size_t at = 0; at < text.size(); at += line.size())
            if (text.compare(at, line.size(), line) != 0) return false;
        return !text.empty();
    }

    std::string const run = "run endless.yaml --frames ";
    Folder const folder;
    std::optional<Child> child;
};

TEST_F(Outputs, AreRefusedToASecondRunAndWholeAfterTheFirst) {
    std::string const process = start();
    expectOneError(zun(run + "0:3", folder), {"'points.jsonl' is being written by process " + process});
    EXPECT_TRUE(child->running());
    EXPECT_EQ(partials().size(), 1u) << "the second run leaves nothing";
    child->send(SIGHUP);
    Ended const ended = child->wait();
    EXPECT_EQ(ended.status, 1);
    expectParts(ended.err, {"stopped after ", "is complete"});
    EXPECT_TRUE(isWhole());
    EXPECT_TRUE(partials().empty());
}

TEST_F(Outputs, OfAKilledRunAreTakenOverByTheNext) {
    start();
    child->send(SIGKILL);
    child->wait();
    EXPECT_EQ(partials().size(), 1u);
    EXPECT_EQ(zun(run + "0:3", folder).status, 0);
    EXPECT_TRUE(isWhole());
    EXPECT_TRUE(partials().empty());
}

TEST_F(Outputs, OfKilledRunsAreCleanedAwayButNotOfLivingOnes) {
    start();
    Names const living = partials();
    std::string const left = ".old.mp4.99999999-1.part";
    folder.write(left, "half");
    Ended const dry = zun("clean --dry-run", folder), other = zun("clean points.jsonl", folder);
    EXPECT_EQ(dry.out, left + "\n");
    expectParts(dry.err, {"1 partial file would be removed"});
    EXPECT_EQ(other.out, "");
    expectParts(other.err, {"no partial files removed"});
    EXPECT_EQ(zun("clean", folder).out, left + "\n");
    EXPECT_EQ(partials(), living);

    child->send(SIGKILL);
    child->wait();
    EXPECT_EQ(zun("clean points.jsonl", folder).out, living[0] + "\n");
    expectOneError(zun("clean no . ", folder),
                   {"'no' doesn't exist. The working folder '", "no partial files removed"});
}

TEST_F(Outputs, OfTwoWritersAreHeldAgainstOneAnotherUnderTheirNames) {
    fs::copy(photo, folder / "cup.png");
    folder.write("two.yaml", R"(nodes:
  - {type: ReadFrames, outputs: {rgb: cup}, options: {path: cup.png}}
  - {type: WriteFrames, name: first, inputs: {frames: cup}, options: {path: "{stem}-out.png"}}
  - {type: WriteFrames, name: second, inputs: {frames: cup}, options: {path: "${to}"}}
)");
    expectOneError(zun("run two.yaml -D to=cup-out.png", folder), {"'second'", "'cup-out.png'", "'first'"});
    EXPECT_EQ(zun("run two.yaml -D to=cup-two.png", folder).status, 0);
}

TEST_F(Outputs, SurviveAHangUpThatTheRunWasStartedToIgnore) {
    auto const before = std::signal(SIGHUP, SIG_IGN);
    start();
    std::signal(SIGHUP, before);
    child->send(SIGHUP);
    std::this_thread::sleep_for(200ms);
    EXPECT_TRUE(child->running());
    child->send(SIGTERM);
    EXPECT_EQ(child->wait().status, 1);
    EXPECT_TRUE(isWhole());
}

} // namespace
} // namespace zun::cli::test
