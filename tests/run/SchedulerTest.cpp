#include <limits>
#include <map>
#include <mutex>
#include <numeric>
#include <random>
#include <set>
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
void runEveryWay(std::string const &nodes, auto judge, RunOptions const &options = {}) {
    for (Way const &way : ways) {
        SCOPED_TRACE(way.name);
        judge(runGraph(nodes, way.with(options)));
    }
}

/// A sink that is called as the stream that it reads, and so are its notes.
std::string sink(std::string const &stream) {
    return "- {type: TestSink, name: " + stream + ", inputs: {in: " + stream + "}, options: {label: " + stream + "}}\n";
}

/// Numbers, as many as there are ticks.
std::string numbers(int length) {
    return "- {type: TestSource, outputs: {out: numbers}, options: {length: " + std::to_string(length) + "}}\n";
}

/// A source, a mixer with these options and this limit, and a sink.
std::string line(std::string const &options = "", int limit = 2, int length = 50) {
    return numbers(length) + "- {type: TestMix, name: mix, inputs: {a: numbers}, outputs: {out: result}, options: {" +
           options + "}, limits: {out: " + std::to_string(limit) + "}}\n" + sink("result");
}

/// Some nodes in random order of size, kind and limit, each fed by streams that stand before it, and a sink on every
/// other stream.
std::string randomGraph(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    auto const draw = [&](int begin, int end) { return begin + static_cast<int>(random() % unsigned(end - begin)); };
    auto const number = [&](int begin, int end) { return std::to_string(draw(begin, end)); };
    std::vector<std::string> nodes, streams;
    auto const any = [&] { return streams[random() % streams.size()]; };
    for (int i = 0, sources = draw(1, 4); i < sources; i++) {
        streams.push_back("source" + std::to_string(i));
        nodes.push_back("- {type: TestSource, outputs: {out: " + streams.back() + "}, limits: {out: " + number(-3, 4) +
                        "}, options: {" + (draw(0, 2) == 0 ? "length: " : "endsAt: ") + number(20, 60) +
                        ", scale: " + number(1, 10) + "}}\n");
    }
    for (int i = 0, mixers = draw(4, 12); i < mixers; i++) {
        std::string const name = "mix" + std::to_string(i);
        nodes.push_back("- {type: " + std::string(draw(0, 2) == 0 ? "TestMix" : "TestMixSerial") +
                        ", inputs: {a: " + any() + (draw(0, 2) == 0 ? ", b: " + any() : "") +
                        "}, outputs: {out: " + name + ", second: " + (draw(0, 3) == 0 ? name + "+" : "\"-\"") +
                        "}, options: {seed: " + number(0, 1000) + ", work: " + number(0, 2) +
                        "}, limits: {out: " + number(-3, 4) + ", second: " + number(-3, 4) + "}}\n");
        streams.push_back(name);
    }
    for (std::string const &stream : streams)
        if (draw(0, 2) == 0) nodes.push_back(sink(stream));
    std::shuffle(nodes.begin(), nodes.end(), random);
    return std::accumulate(nodes.begin(), nodes.end(), std::string());
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

/// Frames made of numbers.
std::string frames(std::string const &options = "", int limit = 2) {
    return "- {type: TestFrame, inputs: {in: numbers}, outputs: {out: frames}, options: {" + options +
           "}, limits: {out: " + std::to_string(limit) + "}}\n";
}

TEST(Executors, EndEverySinkAtTheSameTickWhenOneSourceEndsUnforeseen) {
    runEveryWay("- {type: TestSource, outputs: {out: s}, options: {endsAt: 9}}\n"
                "- {type: TestMixSerial, inputs: {a: s}, outputs: {out: slow}, options: {work: 1}}\n" +
                    numbers(500) + sink("slow") + sink("numbers"),
                [](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.ticks, 9u);
                    EXPECT_EQ(result.received.at("slow").size(), 9u);
                    EXPECT_EQ(result.received.at("numbers").size(), 9u);
                    EXPECT_EQ(result.flushedAt.at("numbers"), 9u);
                });
}

TEST(Executors, RefuseARunWithoutAnEnd) {
    std::string const nodes = "- {type: TestMix, outputs: {out: x}}\n" + sink("x");
    runEveryWay(nodes, [](RunResult const &result) { expectParts(result.error, {"nothing ends this run"}); });
    EXPECT_EQ(runGraph(nodes, {.end = 10}).received.at("x").size(), 10u);
}

TEST(Failures, NameNodeTickAndStreamsAndLeaveTheTicksBeforeComplete) {
    // The earlier failure comes later in time: by then tick 30 has failed already wherever ticks overlap.
    for (auto const &[nodes, error, complete] :
         {std::tuple(line("failAt: 28, alsoFailAt: 30", 0),
                     "node 'mix' (TestMix) failed at tick 28 (reads 'numbers'; writes 'result'): broken", 28u),
          {line("skip: 3"),
           "node 'result' (TestSink) failed at tick 3 (reads 'result'): stream 'result' holds no value at this tick: "
           "node 'mix' (TestMix) wrote none",
           3u}})
        runEveryWay(nodes, [&, error = error, complete = complete](RunResult result) {
            EXPECT_EQ(result.error, error);
            EXPECT_EQ(result.received["result"].size(), complete);
            EXPECT_EQ(result.flushedAt["result"], complete);
        });
}

TEST(Failures, NameBothTypesOfAValueThatItsReaderDoesNotTake) {
    for (std::string const type : {"TestDoubles, inputs: {in: anything}", "TestMix, inputs: {a: anything}"})
        runEveryWay(numbers(3) + frames() +
                        "- {type: TestRelay, inputs: {in: frames}, outputs: {out: anything}}\n- {name: reader, type: " +
                        type + ", outputs: {out: result}}\n" + sink("result"),
                    [&](RunResult const &result) {
                        expectParts(result.error,
                                    {"node 'reader'", "failed at tick 0",
                                     "stream 'anything' holds a value of type zun::Mat<unsigned char, 2> (8 x 8), but ",
                                     type.starts_with("TestMix") ? "input 'a' takes int"
                                                                 : "input 'in' takes zun::Mat<double, 2>"});
                    });
}

TEST(Executors, AskAGeneratorForItsEndWhenNoneOfItsTicksRuns) {
    runEveryWay("- {type: TestSparse, outputs: {out: numbers}, options: {length: 40}}\n" + sink("numbers"),
                [](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.violations, std::vector<std::string>{});
                    EXPECT_EQ(result.ticks, 40u);
                    EXPECT_EQ(result.received.at("numbers").size(), 40u);
                },
                {.end = 1000});
}

TEST(Stalls, ListNodeTickStreamAndLimit) {
    for (Way const &way : ways)
        if (way.executor != Kind::Sequential) // that one has no limits to stall at
            expectParts(runGraph(line("", std::numeric_limits<int>::min()), way.with()).error, // wraps below zero
                        {"stalled at tick 0",
                         "node 'mix' (TestMix), tick 0: is blocked by stream 'result', whose limit -2147483648",
                         "node 'result' (TestSink), tick 0: waits for stream 'result' from node 'mix'"});
}

TEST(Limits, BoundTheBytesInFlightAndLetTheOldestTickPass) {
    runEveryWay(numbers(80) + frames("side: 400", 0) +
                    "- {type: TestFrameSum, inputs: {in: frames}, outputs: {out: sums}, limits: {out: 0}}\n"
                    "- {type: TestMixSerial, inputs: {a: sums}, outputs: {out: slow}, options: {work: 1}}\n" +
                    sink("slow"),
                [](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.received.at("slow").size(), 80u);
                    EXPECT_LE(result.bytesPeak, 1'020'000u);
                },
                {.maxBytes = 1'000'000});
    runEveryWay(line(), [](RunResult const &result) { EXPECT_EQ(result.error, ""); }, {.maxBytes = 1});
}

std::string const paint = "- {type: TestPaint, inputs: {in: frames}, outputs: {out: painted}}\n"
                          "- {type: TestFrameSum, inputs: {in: painted}, outputs: {out: after}}\n" +
                          sink("after");

TEST(FramesChangedInPlace, AreCopiedWhereAnotherNodeReadsThemToo) {
    for (bool const sameStorage : {false, true})
        runEveryWay(numbers(40) + frames(sameStorage ? "sameStorage: true" : "") + paint +
                        "- {type: TestFrameSum, inputs: {in: frames}, outputs: {out: plain}}\n" + sink("plain"),
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
    runEveryWay(numbers(1) + frames() + paint, [&](RunResult const &result) {
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(requests() - std::exchange(before, requests()), 1u);
    });
}

TEST(Stop, CompletesTheTicksThatBegan) {
    for (Way const &way : ways) {
        Progress progress;
        RunControl control;
        std::jthread const stopper([&] {
            while (progress.ticksDone < 5) std::this_thread::sleep_for(std::chrono::milliseconds(1));
            control.stop = true;
        });
        RunOptions options = way.with();
        options.observer = &progress;
        // The second sink is ahead of the first by the values on their streams.
        RunResult const result = runGraph(line("work: 1", -20, -1) + sink("numbers"), options, &control);
        for (char const *const name : {"result", "numbers"}) {
            EXPECT_EQ(result.received.at(name).size(), result.ticks) << way.name;
            EXPECT_EQ(result.flushedAt.at(name), result.ticks) << way.name;
        }
    }
}

TEST(OptionChanges, TakeEffectFromTheirTickOn) {
    auto const seeded = [](int seed) { return line("work: 1, seed: " + std::to_string(seed)); };
    auto const plain = [&](int seed) { return runGraph(seeded(seed), ways[0].with()).received.at("result"); };
    auto expected = plain(1);
    expected[17] = plain(2)[17];
    auto const third = plain(3);
    std::copy(third.begin() + 18, third.end(), expected.begin() + 18);
    runEveryWay(seeded(1),
                [&](RunResult const &result) {
                    EXPECT_EQ(result.error, "");
                    EXPECT_EQ(result.received.at("result"), expected);
                },
                {.changes = {{18, "mix", "seed", OptionNode::ofInt(3)}, {17, "mix", "seed", OptionNode::ofInt(2)}}});
}

TEST(OptionChanges, OfUnknownNamesOrWrongKindsAreRefused) {
    for (auto const &[node, option, part] :
         {std::tuple("mux", "seed", "'mux'"), {"mix", "sead", "'sead'"}, {"mix", "seed", "to int32_t"}})
        expectParts(runGraph(line(), {.changes = {{0, node, option, OptionNode::ofString("one")}}}).error, {part});
}

TEST(OptionChanges, GivenDuringTheRunHoldForAllNodesFromTheFirstTickThatNoneHasBegun) {
    std::string const nodes = line("work: 1, seed: 1", 2, 200) +
                              "- {type: TestMixSerial, name: second, inputs: {a: "
                              "numbers}, outputs: {out: other}, options: {seed: 1}}\n" +
                              sink("other");
    for (Way const &way : ways) {
        SCOPED_TRACE(way.name);
        RunControl control;
        Progress progress;
        RunOptions options = way.with();
        options.observer = &progress;
        std::jthread const changer([&](std::stop_token const &stop) {
            while (progress.ticksDone < 5 && !stop.stop_requested()) std::this_thread::yield();
            control.change({{0, "mix", "seed", OptionNode::ofInt(2)},
                            {0, "mux", "seed", OptionNode::ofInt(2)},
                            {0, "second", "seed", OptionNode::ofInt(3)}});
        });
        RunResult const result = runGraph(nodes, options, &control);
        auto const answers = control.answers();
        ASSERT_EQ(answers.size(), 3u) << "the run ended before the change";
        Tick const from = answers[0].change.from;
        EXPECT_EQ(answers[2].change.from, from);
        expectParts(answers[1].refusal, {"'mux'"});
        RunResult const expected =
            runGraph(nodes, way.with({.changes = {{from, "mix", "seed", OptionNode::ofInt(2)},
                                                  {from, "second", "seed", OptionNode::ofInt(3)}}}));
        EXPECT_EQ(result.received, expected.received) << "from tick " << from;
    }
}

/// Notes what a run tells, and what it tells that can't be.
class Recorder : public Observer {
public:
    std::map<std::pair<std::size_t, Tick>, int> ran, written; ///< (node or stream, tick) -> how often
    std::map<std::size_t, std::pair<std::size_t, std::uint64_t>> content;
    std::map<std::size_t, Wait> waits;
    std::set<Wait> kinds;
    std::vector<std::string> wrong;
    Tick done = 0, ticks = 0;

    void tickBegins(unsigned worker, std::size_t, Tick) override {
        std::lock_guard const lock(mutex);
        if (inside[worker]++ != 0) wrong.emplace_back("a tick begins within another");
    }
    void tickEnds(unsigned worker, std::size_t node, Tick tick, bool) override {
        std::lock_guard const lock(mutex);
        if (--inside[worker] != 0) wrong.emplace_back("a tick ends that didn't begin");
        ran[{node, tick}]++;
    }
    void valueWritten(unsigned, std::size_t stream, Tick tick, Variant const &, ValueType const *type) override {
        std::lock_guard const lock(mutex);
        if (type == nullptr) wrong.emplace_back("a value without a type");
        written[{stream, tick}]++;
    }
    void advanced(Tick ticksDone, std::uint64_t) override {
        if (ticksDone < done) wrong.emplace_back("ticks were undone");
        done = ticksDone;
    }
    void streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) override {
        content[stream] = {values, bytes};
    }
    void nodeWaits(std::size_t node, Tick, Wait reason) override {
        waits[node] = reason;
        kinds.insert(reason);
    }
    void runEnded(Tick count) override { ticks = count; }

private:
    std::mutex mutex;
    std::map<unsigned, int> inside;
};

TEST(AnObserver, IsToldOfEveryTickAndValueOnceAndOfWhatNodesWaitFor) {
    // A stream that nobody reads counts, too.
    std::string const nodes = line("work: 1", -1, 30) + "- {type: TestMix, name: dead, inputs: {a: numbers}, outputs: "
                                                        "{out: unread}}\n";
    for (Way const &way : ways) {
        SCOPED_TRACE(way.name);
        Recorder recorder;
        RunOptions options = way.with();
        options.observer = &recorder;
        ASSERT_EQ(runGraph(nodes, options).error, "");
        EXPECT_TRUE(recorder.wrong.empty()) << recorder.wrong.front();
        EXPECT_EQ(recorder.ticks, 30u);
        EXPECT_EQ(recorder.done, 30u);
        EXPECT_EQ(recorder.ran.size(), 4 * 30u);
        EXPECT_EQ(recorder.written.size(), 3 * 30u);
        for (auto const &[which, times] : recorder.ran) EXPECT_EQ(times, 1);
        for (auto const &[stream, holds] : recorder.content)
            EXPECT_EQ(holds, std::pair(std::size_t(0), std::uint64_t(0)));
        for (auto const &[node, wait] : recorder.waits) EXPECT_EQ(wait, Wait::Nothing) << "node " << node;
        EXPECT_EQ(recorder.kinds.contains(Wait::Input), way.executor != Kind::Sequential);
    }
}

} // namespace
} // namespace zun::engine::test
