#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <thread>

#include "engine/TestNodes.h"
#include "vexa_core/MatAlloc.h"

namespace zun::engine::test {
namespace {

using Kind = RunOptions::Executor;

struct Way {
    char const *name;
    RunOptions options;
};

RunOptions with(Kind kind, unsigned threads, std::uint64_t seed = 0) {
    RunOptions options;
    options.executor = kind;
    options.threads = threads;
    options.seed = seed;
    return options;
}

std::vector<Way> ways() {
    return {{"sequential", with(Kind::Sequential, 1)},  {"shuffled 1", with(Kind::Shuffled, 3, 1)},
            {"shuffled 2", with(Kind::Shuffled, 6, 2)}, {"one thread", with(Kind::Threads, 1)},
            {"two threads", with(Kind::Threads, 2)},    {"eight threads", with(Kind::Threads, 8)}};
}

/// Some nodes in random order of size, kind and limit, each fed by streams that stand before it, and a sink on every
/// stream that has no reader.
std::vector<NodeDescription> randomGraph(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    auto const draw = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
    auto const limit = [&] { return draw(7) - 3; };
    std::vector<NodeDescription> nodes;
    std::vector<std::string> streams;
    int const sources = 1 + draw(3);
    for (int i = 0; i < sources; i++) {
        std::string const name = "source" + std::to_string(i);
        bool const known = draw(2) == 0;
        nodes.push_back(node("TestSource", name, {}, {{"out", name}},
                             {{known ? "length" : "endsAt", number(20 + draw(40))}, {"scale", number(1 + draw(9))}},
                             {{"out", limit()}}));
        streams.push_back(name);
    }
    for (int i = 0; i < 4 + draw(8); i++) {
        std::string const name = "mix" + std::to_string(i);
        auto const any = [&] { return streams[static_cast<std::size_t>(draw(static_cast<int>(streams.size())))]; };
        Bindings inputs{{"a", any()}};
        if (draw(2) == 0) inputs.emplace_back("b", any());
        nodes.push_back(node(draw(2) == 0 ? "TestMix" : "TestMixSerial", name, inputs,
                             {{"out", name}, {"second", draw(3) == 0 ? name + "+" : "-"}},
                             {{"seed", number(draw(1000))}, {"work", number(draw(2))}},
                             {{"out", limit()}, {"second", limit()}}));
        streams.push_back(name);
    }
    for (std::string const &stream : streams)
        if (draw(2) == 0)
            nodes.push_back(node("TestSink", "sink " + stream, {{"in", stream}}, {}, {{"label", text(stream)}}));
    std::shuffle(nodes.begin(), nodes.end(), random);
    return nodes;
}

TEST(Executors, GiveTheSameValuesInTickOrderForRandomGraphs) {
    for (std::uint64_t seed = 0; seed < 60; seed++) {
        auto const nodes = randomGraph(seed);
        RunResult const reference = runGraph(nodes, with(Kind::Sequential, 1));
        ASSERT_EQ(reference.error, "") << "seed " << seed;
        ASSERT_GE(reference.ticks, 20u);
        for (Way const &way : ways()) {
            RunResult const result = runGraph(nodes, way.options);
            ASSERT_EQ(result.error, "") << "seed " << seed << ", " << way.name;
            ASSERT_EQ(result.received, reference.received) << "seed " << seed << ", " << way.name;
            ASSERT_EQ(result.ticks, reference.ticks) << "seed " << seed << ", " << way.name;
            ASSERT_EQ(result.violations, std::vector<std::string>{}) << "seed " << seed << ", " << way.name;
        }
    }
}

std::vector<NodeDescription> lineWith(NodeDescription middle, int length = 50) {
    return {node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(length)}}), std::move(middle),
            node("TestSink", "sink", {{"in", "result"}}, {}, {{"label", text("sink")}})};
}

TEST(Executors, RunTheTicksThatAreAskedFor) {
    auto const nodes = lineWith(node("TestMix", "mix", {{"a", "numbers"}}, {{"out", "result"}}));
    struct Case {
        Tick first, end, expected;
    };
    for (Case const &c : {Case{0, endless, 50}, Case{7, 19, 12}, Case{40, 90, 10}, Case{60, 90, 0}, Case{5, 5, 0}})
        for (Way way : ways()) {
            way.options.first = c.first;
            way.options.end = c.end;
            RunResult const result = runGraph(nodes, way.options);
            EXPECT_EQ(result.error, "");
            EXPECT_EQ(result.ticks, c.expected) << way.name;
            ASSERT_EQ(result.received.count("sink"), c.expected > 0 ? 1u : 0u);
            if (c.expected > 0) {
                EXPECT_EQ(result.received.at("sink").front().first, c.first);
            }
        }
}

TEST(Executors, EndEverySinkAtTheSameTickWhenOneSourceEndsUnforeseen) {
    std::vector<NodeDescription> const nodes{
        node("TestSource", "short", {}, {{"out", "s"}}, {{"endsAt", number(9)}}),
        node("TestMixSerial", "slow", {{"a", "s"}}, {{"out", "slow"}}, {{"work", number(1)}}),
        node("TestSource", "long", {}, {{"out", "l"}}, {{"length", number(500)}}),
        node("TestSink", "1", {{"in", "slow"}}, {}, {{"label", text("slow")}}),
        node("TestSink", "2", {{"in", "l"}}, {}, {{"label", text("fast")}})};
    for (Way const &way : ways()) {
        RunResult const result = runGraph(nodes, way.options);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.ticks, 9u) << way.name;
        EXPECT_EQ(result.received.at("slow").size(), 9u) << way.name;
        EXPECT_EQ(result.received.at("fast").size(), 9u) << way.name;
        EXPECT_EQ(result.flushedAt.at("fast"), 9u) << way.name;
    }
}

TEST(Failures, OfTheLowestTickWinAndEarlierTicksAreComplete) {
    // The earlier failure comes later in time: by then tick 30 has failed already wherever ticks overlap.
    auto const nodes =
        lineWith(node("TestFail", "middle", {{"in", "numbers"}}, {{"out", "result"}},
                      {{"at", number(28)}, {"alsoAt", number(30)}, {"delay", number(20)}}, {{"out", 0}}));
    for (Way const &way : ways()) {
        RunResult const result = runGraph(nodes, way.options);
        EXPECT_EQ(result.error, "node 'middle' (TestFail) failed at tick 28 (reads 'numbers'; writes 'result'): broken")
            << way.name;
        EXPECT_EQ(result.received.at("sink").size(), 28u) << way.name;
        EXPECT_EQ(result.flushedAt.at("sink"), 28u) << way.name;
    }
}

TEST(Failures, NameTheNodeThatWroteNothing) {
    auto const nodes =
        lineWith(node("TestFail", "gap", {{"in", "numbers"}}, {{"out", "result"}}, {{"skip", number(3)}}));
    for (Way const &way : ways()) {
        RunResult const result = runGraph(nodes, way.options);
        EXPECT_EQ(result.error,
                  "node 'sink' (TestSink) failed at tick 3 (reads 'result'): stream 'result' holds no value "
                  "at this tick: node 'gap' (TestFail) wrote none")
            << way.name;
        EXPECT_EQ(result.received.at("sink").size(), 3u) << way.name;
    }
}

TEST(Failures, RefuseAValueOfAnotherTypeBeforeTheNodeReadsIt) {
    std::vector<NodeDescription> const nodes{
        node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(5)}}),
        node("TestPaint", "paint", {{"in", "numbers"}}, {{"out", "frames"}})};
    RunResult const result = runGraph(nodes, with(Kind::Threads, 2));
    EXPECT_NE(result.error.find("stream 'numbers' holds a value of type int, but input 'in' takes zun::Mat<unsigned"),
              std::string::npos)
        << result.error;
}

TEST(Stalls, ListNodeTickStreamAndLimit) {
    // -limit wraps to a negative number of values.
    auto const nodes = lineWith(node("TestMix", "stuck", {{"a", "numbers"}}, {{"out", "result"}}, {},
                                     {{"out", std::numeric_limits<int>::min()}}));
    for (Way const &way : ways()) {
        if (way.options.executor == Kind::Sequential) continue; // has no limits to stall at
        RunResult const result = runGraph(nodes, way.options);
        EXPECT_NE(result.error.find("stalled at tick 0"), std::string::npos) << result.error;
        EXPECT_NE(
            result.error.find("node 'stuck' (TestMix), tick 0: is blocked by stream 'result', whose limit -2147483648"),
            std::string::npos)
            << result.error;
        EXPECT_NE(result.error.find("node 'sink' (TestSink), tick 0: waits for stream 'result' from node 'stuck'"),
                  std::string::npos)
            << result.error;
    }
}

TEST(Limits, BoundTheBytesInFlight) {
    std::vector<NodeDescription> const nodes{
        node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(80)}}),
        node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}}, {{"side", number(400)}}, {{"out", 0}}),
        node("TestFrameSum", "sum", {{"in", "frames"}}, {{"out", "sums"}}, {}, {{"out", 0}}),
        node("TestMixSerial", "slow", {{"a", "sums"}}, {{"out", "slow"}}, {{"work", number(1)}}),
        node("TestSink", "sink", {{"in", "slow"}}, {}, {{"label", text("sink")}})};
    for (Way way : ways()) {
        way.options.maxBytes = 1'000'000;
        RunResult const result = runGraph(nodes, way.options);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.received.at("sink").size(), 80u);
        EXPECT_LE(result.bytesPeak, 1'020'000u) << way.name;
    }
}

TEST(Limits, SmallerThanOneValueStillLetTheOldestTickPass) {
    auto const nodes = lineWith(node("TestMix", "mix", {{"a", "numbers"}}, {{"out", "result"}}));
    for (Way way : ways()) {
        way.options.maxBytes = 1;
        EXPECT_EQ(runGraph(nodes, way.options).error, "") << way.name;
    }
}

TEST(FramesChangedInPlace, AreCopiedWhereAnotherNodeReadsThemToo) {
    auto const graph = [](bool sameStorage) {
        return std::vector<NodeDescription>{
            node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(40)}}),
            node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}},
                 {{"sameStorage", OptionNode::ofBool(sameStorage)}}),
            node("TestPaint", "paint", {{"in", "frames"}}, {{"out", "painted"}}),
            node("TestFrameSum", "plain", {{"in", "frames"}}, {{"out", "plain"}}),
            node("TestFrameSum", "after", {{"in", "painted"}}, {{"out", "after"}}),
            node("TestSink", "1", {{"in", "plain"}}, {}, {{"label", text("plain")}}),
            node("TestSink", "2", {{"in", "after"}}, {}, {{"label", text("after")}})};
    };
    for (bool sameStorage : {false, true})
        for (Way const &way : ways()) {
            RunResult const result = runGraph(graph(sameStorage), way.options);
            ASSERT_EQ(result.error, "");
            for (auto const &[tick, sum] : result.received.at("plain"))
                EXPECT_EQ(sum, 64 * (sameStorage ? 1 : static_cast<int>(tick & 63))) << way.name;
            for (auto const &[tick, sum] : result.received.at("after"))
                EXPECT_EQ(sum, 64 * (sameStorage ? 2 : static_cast<int>((tick & 63) + 1))) << way.name;
        }
}

TEST(FramesChangedInPlace, AreHandedOverAsTheyAreToASingleReader) {
    std::vector<NodeDescription> const nodes{
        node("TestSource", "source", {}, {{"out", "numbers"}}, {{"length", number(1)}}),
        node("TestFrame", "frames", {{"in", "numbers"}}, {{"out", "frames"}}, {{"side", number(512)}}),
        node("TestPaint", "paint", {{"in", "frames"}}, {{"out", "painted"}}),
        node("TestFrameSum", "after", {{"in", "painted"}}, {{"address", "address"}}),
        node("TestSink", "sink", {{"in", "address"}}, {}, {{"label", text("sink")}})};
    auto const requests = [] { return MatAlloc::getGlobalMatAlloc()->counters().requests; };
    for (Way const &way : ways()) {
        auto const before = requests();
        ASSERT_EQ(runGraph(nodes, way.options).error, "");
        EXPECT_EQ(requests() - before, 1u) << way.name;
    }
}

TEST(Stop, CompletesTheTicksThatBegan) {
    auto nodes = lineWith(node("TestMix", "mix", {{"a", "numbers"}}, {{"out", "result"}}, {{"work", number(1)}}), -1);
    registerTestNodes();
    for (Way way : ways()) {
        journal().clear();
        Progress progress;
        std::jthread const stopper([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
            progress.stop = true;
        });
        Tick const ticks = run({"test", nodes}, {}, way.options, progress);
        auto const &received = journal().received["sink"];
        EXPECT_EQ(received.size(), ticks) << way.name;
        EXPECT_EQ(journal().flushedAt["sink"], ticks) << way.name;
    }
}

TEST(OptionChanges, TakeEffectFromTheirTickOn) {
    auto const line = [](int seed) {
        return lineWith(node("TestMix", "mix", {{"a", "numbers"}}, {{"out", "result"}},
                             {{"work", number(1)}, {"seed", number(seed)}}));
    };
    auto const plain = [&](int seed) { return runGraph(line(seed), with(Kind::Sequential, 1)).received.at("sink"); };
    auto expected = plain(1);
    auto const second = plain(2), third = plain(3);
    std::copy(second.begin() + 17, second.end(), expected.begin() + 17);
    std::copy(third.begin() + 18, third.end(), expected.begin() + 18);
    for (Way way : ways()) {
        way.options.changes = {{18, "mix", "seed", number(3)}, {17, "mix", "seed", number(2)}};
        RunResult const result = runGraph(line(1), way.options);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.received.at("sink"), expected) << way.name;
    }
}

TEST(OptionChanges, OfUnknownNamesOrWrongKindsAreRefused) {
    auto const errorOf = [](OptionChange const &change) {
        RunOptions options = with(Kind::Threads, 1);
        options.changes = {change};
        return runGraph(lineWith(node("TestMix", "mix", {{"a", "numbers"}}, {{"out", "result"}})), options).error;
    };
    EXPECT_NE(errorOf({0, "mux", "seed", number(1)}).find("'mux'"), std::string::npos);
    EXPECT_NE(errorOf({0, "mix", "sead", number(1)}).find("'sead'"), std::string::npos);
    EXPECT_NE(errorOf({0, "mix", "seed", text("one")}).find("to int32_t"), std::string::npos);
}

TEST(Run, WithoutAnEndIsRefused) {
    std::vector<NodeDescription> const nodes{node("TestMix", "mix", {}, {{"out", "x"}}),
                                             node("TestSink", "sink", {{"in", "x"}}, {}, {{"label", text("l")}})};
    EXPECT_NE(runGraph(nodes, with(Kind::Threads, 1)).error.find("nothing ends this run"), std::string::npos);
    RunOptions bounded = with(Kind::Threads, 2);
    bounded.end = 10;
    EXPECT_EQ(runGraph(nodes, bounded).received.at("l").size(), 10u);
}

} // namespace
} // namespace zun::engine::test
