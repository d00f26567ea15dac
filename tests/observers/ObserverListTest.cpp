#include "observers/ObserverList.h"

#include <mutex>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "support/TestNodes.h"

namespace zun::observers {
namespace {

/// Counts calls, and throws from a tick on.
struct Faulty : engine::Observer {
    explicit Faulty(Tick tick) : from(tick) {}
    void tickEnds(unsigned, std::size_t, Tick tick, bool) override {
        if (tick >= from) throw std::runtime_error("the disk is full");
        calls++;
    }
    void runEnded(Tick) override { sawEnd = true; }
    Tick const from;
    std::atomic<int> calls = 0;
    bool sawEnd = false;
};

TEST(ObserverList, DropsTheOneThatFailsWithOneWarningAndKeepsTheRunAndTheOthers) {
    std::string const nodes = "- {type: TestSource, outputs: {out: n}, options: {length: 50}}\n"
                              "- {type: TestMix, inputs: {a: n}, outputs: {out: m, second: k}, options: {work: 1}}\n"
                              "- {type: TestSink, inputs: {in: m}, options: {label: s}}\n";
    auto const alone = engine::test::runGraph(nodes);
    std::mutex mutex;
    std::vector<std::string> warnings;
    ObserverList list([&](std::string const &text) {
        std::lock_guard const lock(mutex);
        warnings.push_back(text);
    });
    Faulty faulty(20), sound(endless);
    list.add(faulty, "the first");
    list.add(sound, "the second");
    engine::RunOptions options;
    options.threads = 4;
    options.observer = &list;
    auto const observed = engine::test::runGraph(nodes, options);
    EXPECT_EQ(observed.error, "");
    EXPECT_EQ(observed.received, alone.received);
    EXPECT_EQ(warnings, std::vector<std::string>{"the first ended: the disk is full. The run goes on."});
    EXPECT_GE(faulty.calls, 20);
    EXPECT_FALSE(faulty.sawEnd);
    EXPECT_EQ(sound.calls, 150);
    EXPECT_TRUE(sound.sawEnd);
}

} // namespace
} // namespace zun::observers
