#include <limits>
#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "support/TestNodes.h"
#include "support/Text.h"
#include "vexa_core/MatAlloc.h"

namespace zun::engine::test {
namespace {

using zun::test::expectParts;
using Kind = RunOptions::Executor;

struct Way {
    char const *name;
    Kind executor;
    unsigned threads;
    std::uint64_t seed = 0;

    RunOptions with(RunOptions options = {}) const {
        options.executor = executor;
        options.threads = threads;
        options.seed = seed;
        return options;
    }
};

Way const ways[] = {{"sequential", Kind::Sequential, 1},  {"shuffled 1", Kind::Shuffled, 3, 1},
                    {"shuffled 2", Kind::Shuffled, 6, 2}, {"one thread", Kind::Threads, 1},
                    {"two threads", Kind::Threads, 2},    {"eight threads", Kind::Threads, 8}};

/// Runs a graph in every way and hands each result to `judge`.
void runEveryWay(std::vector<NodeDescription> const &nodes, auto judge, RunOptions const &options = {}) {
    for (Way const &way : ways) {
        SCOPED_TRACE(way.name);
        judge(runGraph(nodes, way.with(options)));
    }
}

/// Some nodes in random order of size, kind and limit, each fed by streams that stand before it, and a sink on every
/// other stream.
std::vector<NodeDescription> randomGraph(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    auto const draw = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
    auto const limit = [&] { return draw(7) - 3; };
    std::vector<NodeDescription> nodes;
    std::vector<std::string> streams;
    auto const any = [&] { return streams[static_cast<std::size_t>(draw(static_cast<int>(streams.size())))]; };
    for (int i = 0, sources = 1 + draw(3); i < sources; i++) {
        streams.push_back("source" + std::to_string(i));
        nodes.push_back(
            node("TestSource", streams.back(), {}, {{"out", streams.back()}},
                 {{draw(2) == 0 ? "length" : "endsAt", number(20 + draw(40))}, {"scale", number(1 + draw(9))}},
                 {{"out", limit()}}));
    }
    for (int i = 0, mixers = 4 + draw(8); i < mixers; i++) {
        std::string const name = "mix" + std::to_string(i);
        Bindings inputs{{"a", any()}};
        if (draw(2) == 0) inputs.emplace_back("b", any());
        nodes.push_back(node(draw(2) == 0 ? "TestMix" : "TestMixSerial", name, inputs,
                             {{"out", name}, {"second", draw(3) == 0 ? name + "+" : "-"}},
                             {{"seed", number(draw(1000))}, {"work", number(draw(2))}},
                             {{"out", limit()}, {"second", limit()}}));
        streams.push_back(name);
    }
    for (std::string const &stream : streams)
        if (draw(2) == 0) nodes.push_back(sink(stream));
    std::shuffle(nodes.begin(), nodes.end(), random);
    return nodes;
}

TEST(Executors, GiveTheSameValuesInTickOrderForRandomGraphs) {
    for (std::uint64_t seed = 0; seed < 60; seed++) {
        SCOPED_TRACE(seed);
        auto const nodes = randomGraph(seed);
        RunResult const reference = runGraph(nodes, ways[0].with());
        ASSERT_GE(reference.ticks, 20u);
        runEveryWay(nodes, [&](RunResult const &result) {
            ASSERT_EQ(result.error, "");
            ASSERT_EQ(result.received, reference.received);
            ASSERT_EQ(result.ticks, reference.ticks);
            ASSERT_EQ(result.violations, std::vector<std::string>{});
        });
    }
}

std::vector<NodeDescription> lineWith(NodeDescription middle, int length = 50) {
    return {node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(length)}}), std::move(middle),
            sink("result")};
}

NodeDescription mix(Options const &options = {}, int limit = 2) {
    return node("TestMix", "mix", {{"a", "numbers"}}, {{"out", "result"}}, options, {{"out", limit}});
}

TEST(Executors, EndEverySinkAtTheSameTickWhenOneSourceEndsUnforeseen) {
    runEveryWay({node("TestSource", "short", {}, {{"out", "s"}}, {{"endsAt", number(9)}}),
                 node("TestMixSerial", "slow", {{"a", "s"}}, {{"out", "slow"}}, {{"work", number(1)}}),
                 node("TestSource", "long", {}, {{"out", "fast"}}, {{"length", number(500)}}), sink("slow"),
                 sink("fast")},
                [](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.ticks, 9u);
                    EXPECT_EQ(result.received.at("slow").size(), 9u);
                    EXPECT_EQ(result.received.at("fast").size(), 9u);
                    EXPECT_EQ(result.flushedAt.at("fast"), 9u);
                });
}

TEST(Executors, RefuseARunWithoutAnEnd) {
    std::vector<NodeDescription> const nodes{node("TestMix", "mix", {}, {{"out", "x"}}), sink("x")};
    runEveryWay(nodes, [](RunResult const &result) { expectParts(result.error, {"nothing ends this run"}); });
    EXPECT_EQ(runGraph(nodes, {.end = 10}).received.at("x").size(), 10u);
}

TEST(Failures, NameNodeTickAndStreamsAndLeaveTheTicksBeforeComplete) {
    struct {
        NodeDescription middle;
        std::string error;
        std::size_t complete;
    } const cases[] = {
        // The earlier failure comes later in time: by then tick 30 has failed already wherever ticks overlap.
        {mix({{"failAt", number(28)}, {"alsoFailAt", number(30)}}, 0),
         "node 'mix' (TestMix) failed at tick 28 (reads 'numbers'; writes 'result'): broken", 28},
        {mix({{"skip", number(3)}}),
         "node 'result' (TestSink) failed at tick 3 (reads 'result'): stream 'result' holds no value at this tick: "
         "node 'mix' (TestMix) wrote none",
         3},
    };
    for (auto const &[middle, error, complete] : cases)
        runEveryWay(lineWith(middle), [&, error = error, complete = complete](RunResult result) {
            EXPECT_EQ(result.error, error);
            EXPECT_EQ(result.received["result"].size(), complete);
            EXPECT_EQ(result.flushedAt["result"], complete);
        });
}

TEST(Failures, NameBothTypesOfAValueThatItsReaderDoesNotTake) {
    std::vector<NodeDescription> const begin{
        node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(3)}}),
        node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}}),
        node("TestRelay", "relay", {{"in", "frames"}}, {{"out", "anything"}})};
    for (auto const &[type, takes] : {std::pair("TestDoubles", "zun::Mat<double, 2>"), {"TestMix", "int"}}) {
        auto nodes = begin;
        std::string const port = takes == std::string("int") ? "a" : "in";
        nodes.push_back(node(type, "reader", {{port, "anything"}}, {{"out", "result"}}));
        nodes.push_back(sink("result"));
        runEveryWay(nodes, [&, takes = takes](RunResult const &result) {
            expectParts(result.error,
                        {"node 'reader'", "failed at tick 0",
                         "stream 'anything' holds a value of type zun::Mat<unsigned char, 2> (8 x 8), but "
                         "input '" +
                             port + "' takes " + takes});
        });
    }
}

TEST(Executors, AskAGeneratorForItsEndWhenNoneOfItsTicksRuns) {
    runEveryWay({node("TestSparse", "source", {}, {{"out", "numbers"}}, {{"length", number(40)}}), sink("numbers")},
                [](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.violations, std::vector<std::string>{});
                    EXPECT_EQ(result.ticks, 40u);
                    EXPECT_EQ(result.received.at("numbers").size(), 40u);
                },
                {.end = 1000});
}

TEST(Stalls, ListNodeTickStreamAndLimit) {
    // -limit wraps to a negative number of values.
    auto const nodes = lineWith(mix({}, std::numeric_limits<int>::min()));
    for (Way const &way : ways)
        if (way.executor != Kind::Sequential) // that one has no limits to stall at
            expectParts(runGraph(nodes, way.with()).error,
                        {"stalled at tick 0",
                         "node 'mix' (TestMix), tick 0: is blocked by stream 'result', whose limit -2147483648",
                         "node 'result' (TestSink), tick 0: waits for stream 'result' from node 'mix'"});
}

TEST(Limits, BoundTheBytesInFlight) {
    runEveryWay(
        {node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(80)}}),
         node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}}, {{"side", number(400)}}, {{"out", 0}}),
         node("TestFrameSum", "sum", {{"in", "frames"}}, {{"out", "sums"}}, {}, {{"out", 0}}),
         node("TestMixSerial", "slow", {{"a", "sums"}}, {{"out", "slow"}}, {{"work", number(1)}}), sink("slow")},
        [](RunResult const &result) {
            EXPECT_EQ(result.error, "");
            EXPECT_EQ(result.received.at("slow").size(), 80u);
            EXPECT_LE(result.bytesPeak, 1'020'000u);
        },
        {.maxBytes = 1'000'000});
}

TEST(Limits, SmallerThanOneValueStillLetTheOldestTickPass) {
    runEveryWay(lineWith(mix()), [](RunResult const &result) { EXPECT_EQ(result.error, ""); }, {.maxBytes = 1});
}

TEST(FramesChangedInPlace, AreCopiedWhereAnotherNodeReadsThemToo) {
    for (bool const sameStorage : {false, true})
        runEveryWay({node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(40)}}),
                     node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}},
                          {{"sameStorage", OptionNode::ofBool(sameStorage)}}),
                     node("TestPaint", "paint", {{"in", "frames"}}, {{"out", "painted"}}),
                     node("TestFrameSum", "plain", {{"in", "frames"}}, {{"out", "plain"}}),
                     node("TestFrameSum", "after", {{"in", "painted"}}, {{"out", "after"}}), sink("plain"),
                     sink("after")},
                    [&](RunResult const &result) {
                        ASSERT_EQ(result.error, "");
                        for (auto const &[stream, added] : {std::pair("plain", 0), std::pair("after", 1)})
                            for (auto const &[tick, sum] : result.received.at(stream))
                                EXPECT_EQ(sum, 64 * ((sameStorage ? 1 : static_cast<int>(tick)) + added));
                    });
}

TEST(FramesChangedInPlace, AreHandedOverAsTheyAreToASingleReader) {
    auto const requests = [] { return MatAlloc::getGlobalMatAlloc()->counters().requests; };
    auto before = requests();
    runEveryWay({node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(1)}}),
                 node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}}),
                 node("TestPaint", "paint", {{"in", "frames"}}, {{"out", "painted"}}),
                 node("TestFrameSum", "sum", {{"in", "painted"}}, {{"out", "sum"}}), sink("sum")},
                [&](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(requests() - std::exchange(before, requests()), 1u);
                });
}

TEST(Stop, CompletesTheTicksThatBegan) {
    auto nodes = lineWith(mix({{"work", number(1)}}, -20), -1);
    nodes.push_back(sink("numbers")); // is ahead of the other by the values on their streams
    for (Way const &way : ways) {
        Progress progress;
        std::jthread const stopper([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            progress.stop = true;
        });
        RunResult const result = runGraph(nodes, way.with(), progress);
        for (char const *const name : {"result", "numbers"}) {
            EXPECT_EQ(result.received.at(name).size(), result.ticks) << way.name;
            EXPECT_EQ(result.flushedAt.at(name), result.ticks) << way.name;
        }
    }
}

TEST(OptionChanges, TakeEffectFromTheirTickOn) {
    auto const line = [](int seed) { return lineWith(mix({{"work", number(1)}, {"seed", number(seed)}})); };
    auto const plain = [&](int seed) { return runGraph(line(seed), ways[0].with()).received.at("result"); };
    auto expected = plain(1);
    expected[17] = plain(2)[17];
    auto const third = plain(3);
    std::copy(third.begin() + 18, third.end(), expected.begin() + 18);
    runEveryWay(line(1),
                [&](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.received.at("result"), expected);
                },
                {.changes = {{18, "mix", "seed", number(3)}, {17, "mix", "seed", number(2)}}});
}

TEST(OptionChanges, OfUnknownNamesOrWrongKindsAreRefused) {
    for (auto const &[change, part] : {std::pair(OptionChange{0, "mux", "seed", number(1)}, "'mux'"),
                                       {{0, "mix", "sead", number(1)}, "'sead'"},
                                       {{0, "mix", "seed", OptionNode::ofString("one")}, "to int32_t"}})
        expectParts(runGraph(lineWith(mix()), {.changes = {change}}).error, {part});
}

} // namespace
} // namespace zun::engine::test
