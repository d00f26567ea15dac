#include "observers/Statistics.h"

#include <algorithm>
#include <thread>

#include <gtest/gtest.h>

#include "containers/Exception.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::observers {
namespace {

using engine::Wait;

/// Hands on a number after so many milliseconds.
struct TestSlow : Node {
    int milliseconds = 0;
    InputStream<int> in;
    OutputStream<int> out;

    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestSlow", .sourcePath = "test", .parallelCode = 0};
        static constexpr auto inputs = rows(input("in", "int", &TestSlow::in, ""));
        static constexpr auto outputs = rows(output("out", "int", &TestSlow::out, ""));
        static constexpr auto options = rows(option("milliseconds", "int", "3", &TestSlow::milliseconds, ""));
    };
    void process(Tick tick) override {
        int const number = readStream(tick, in);
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        writeStream(tick, out, number);
    }
};

constexpr int ticks = 40;

NodeStatistics const &nodeOf(RunStatistics const &run, std::string const &name) {
    return *std::find_if(run.nodes.begin(), run.nodes.end(), [&](auto const &node) { return node.name == name; });
}

TEST(Statistics, CountTicksAndBytesAndSayWhoWaitsForWhat) {
    static Registration<TestSlow> const registration;
    Statistics statistics;
    engine::RunOptions options;
    options.threads = 4;
    options.observer = &statistics;
    EXPECT_EQ(engine::test::runGraph(
                  "- {type: TestSource, name: source, outputs: {out: a}, options: {length: 40}, limits: {out: 2}}\n"
                  "- {type: TestMix, name: before, inputs: {a: a}, outputs: {out: b, second: x}, limits: {out: 2}}\n"
                  "- {type: TestSlow, name: slow, inputs: {in: b}, outputs: {out: c}}\n"
                  "- {type: TestSink, name: after, inputs: {in: c}, options: {label: s}}\n",
                  options)
                  .error,
              "");
    RunStatistics const &run = statistics.result();
    EXPECT_EQ(run.ticks, ticks);
    EXPECT_EQ(run.workers, 4u);
    for (NodeStatistics const &node : run.nodes) EXPECT_EQ(node.ticks, ticks) << node.name;
    NodeStatistics const &slow = nodeOf(run, "slow"), &before = nodeOf(run, "before"), &after = nodeOf(run, "after");
    EXPECT_GE(slow.meanMilliseconds, 3);
    EXPECT_GE(slow.p95Milliseconds, 3);
    EXPECT_GT(slow.share, 0.5);
    EXPECT_FALSE(slow.overlapped);
    EXPECT_GT(before.waited(Wait::Space), 0.5 * run.seconds);
    EXPECT_GT(after.waited(Wait::Input), 0.5 * run.seconds);
    EXPECT_LT(slow.waited(Wait::Input) + slow.waited(Wait::Space), 0.3 * run.seconds);
    EXPECT_EQ(before.bytesWritten, 2 * ticks * sizeof(int)) << "also where nobody reads";
    EXPECT_EQ(after.bytesWritten, 0u);
    auto const b =
        std::find_if(run.streams.begin(), run.streams.end(), [](auto const &one) { return one.name == "b"; });
    EXPECT_EQ(b->peakBytes, b->peakValues * sizeof(int));
    EXPECT_TRUE(b->peakValues >= 1 && b->peakValues <= 4) << b->peakValues;
    EXPECT_NEAR(run.busySeconds + run.idleSeconds, 4 * run.seconds, 1e-6);
    zun::test::expectParts(run.bound, {"'slow' (TestSlow) bounds the run: its ticks follow one another"});
    EXPECT_EQ(statisticsJson(readStatistics(statisticsJson(run))), statisticsJson(run));
}

TEST(Statistics, RefuseToReadAnythingElse) {
    for (char const *text : {"", "[]", "{\"ticks\": \"many\"}", "{\"ticks\": 1}"})
        EXPECT_THROW(readStatistics(text), Exception) << text;
}

/// Two nodes of a run of ten seconds on two workers.
RunStatistics runOf(double first, double second, bool overlapped, Wait waits = Wait::Nothing, double waited = 0) {
    RunStatistics run;
    run.ticks = 100;
    run.seconds = 10;
    run.workers = 2;
    run.nodes.resize(2);
    run.busySeconds = first + second;
    for (std::size_t i = 0; i < 2; i++) {
        run.nodes[i].name = run.nodes[i].type = i == 0 ? "First" : "Second";
        run.nodes[i].isSource = i == 0;
        run.nodes[i].overlapped = overlapped;
        run.nodes[i].busySeconds = i == 0 ? first : second;
        run.nodes[i].share = run.nodes[i].busySeconds / run.busySeconds;
        run.nodes[i].waitSeconds[static_cast<std::size_t>(waits)] = waited;
    }
    return run;
}

TEST(Statistics, SayWhatBoundsARun) {
    RunStatistics brief = runOf(5, 5, false);
    brief.ticks = 9;
    for (auto const &[run, said] : {std::pair(runOf(4, 15, true), "both workers are busy 95 % of the time, 79 %"),
                                    {runOf(1, 9, false), "'Second' (Second) bounds the run: its ticks follow"},
                                    {runOf(9, 1, false), "The source 'First' (First) bounds the run: its ticks"},
                                    {runOf(1, 1, true, Wait::Others, 6), "it has nothing to give 60 % of the time"},
                                    {runOf(1, 1, true, Wait::Bytes, 3), "The cap on bytes in flight bounds the run"},
                                    {runOf(1, 9, true), "Nothing bounds the run alone"},
                                    {brief, "too short"}})
        zun::test::expectParts(boundOf(run), {said});
    EXPECT_EQ(boundOf({}), "");
}

} // namespace
} // namespace zun::observers
