#include "studio/Preview.h"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <random>

#include <gtest/gtest.h>

#include "catalogue/Plugins.h"
#include "graph/Check.h"
#include "media/HostNodes.h"
#include "media/records/RecordText.h"
#include "node/Registration.h"
#include "run/Run.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::studio::test {
namespace {

using zun::test::TemporaryFolder;

std::map<std::string, int> processed; ///< by label

/// Counts its ticks, and adds `plus` and the number of ticks that this very node has had to its input.
struct TestCount : Node {
    std::string label;
    int plus = 0, before = 0;
    InputStream<int> in;
    OutputStream<int> out;

    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestCount", .sourcePath = "test", .parallelCode = 0};
        static constexpr auto inputs = rows(input("in", "int", &TestCount::in, ""));
        static constexpr auto outputs = rows(output("out", "int", &TestCount::out, ""));
        static constexpr auto options = rows(requiredOption("label", "std::string", &TestCount::label, ""),
                                             option("plus", "int", "0", &TestCount::plus, ""));
    };
    void process(Tick tick) override {
        processed[label]++;
        writeStream(tick, out, readStream(tick, in) + plus + before++);
    }
};

using SharedGraph = std::shared_ptr<engine::Graph const>;

SharedGraph graphOf(std::string const &nodes, engine::Overrides const &overrides = {}) {
    media::registerNodes();
    engine::loadPlugin("imgproc");
    engine::test::registerTestNodes();
    static Registration<TestCount> const once;
    engine::Graph graph = engine::check(engine::parseDescription("nodes:\n" + nodes, "test", overrides));
    for (Diagnostic const &one : graph.diagnostics) EXPECT_NE(one.severity, Diagnostic::Severity::Error) << one.text();
    return std::make_shared<engine::Graph const>(std::move(graph));
}

Snapshot valuesOf(Preview &preview, SharedGraph const &graph, Tick tick) {
    return preview.evaluate(graph, tick, [] { return false; });
}

int intOn(Snapshot const &snapshot, std::string const &stream) {
    StreamState const &state = snapshot.streams.at(stream);
    return state.value ? zun::test::held<int>(state.value->value) : -1;
}

std::string const source =
    "  - {type: TestSource, name: source, outputs: {out: s}, options: {length: 100, scale: 10}}\n";

TEST(Preview, RunsOnlyWhatAChangeReaches) {
    auto const graph = [](int plusA, int plusB) {
        auto const node = [](std::string const &label, std::string const &in, int plus) {
            return "  - {type: TestCount, name: " + label + ", inputs: {in: " + in + "}, outputs: {out: " + label +
                   "}, options: {label: " + label + ", plus: " + std::to_string(plus) + "}}\n";
        };
        return graphOf(source + node("a", "s", plusA) + node("b", "a", plusB) + node("c", "s", 0));
    };
    struct Step {
        int plusA, plusB;
        Tick tick;
        std::vector<int> counts; ///< of a, b, c so far
    };
    Preview preview(1 << 20);
    processed.clear();
    for (Step const &step : {Step{1, 1, 3, {1, 1, 1}}, Step{1, 1, 3, {1, 1, 1}}, Step{1, 2, 3, {1, 2, 1}},
                             Step{2, 2, 3, {2, 3, 1}}, Step{1, 1, 3, {2, 3, 1}}, Step{1, 1, 9, {3, 4, 2}}}) {
        Snapshot const values = valuesOf(preview, graph(step.plusA, step.plusB), step.tick);
        EXPECT_EQ(intOn(values, "b"), static_cast<int>(step.tick) * 10 + step.plusA + step.plusB);
        EXPECT_EQ((std::vector{processed["a"], processed["b"], processed["c"]}), step.counts);
    }
}

TEST(Preview, RunsAgainWhatReadsAFileThatChanged) {
    TemporaryFolder const folder;
    folder.write("in.jsonl", "3\n");
    SharedGraph const graph = graphOf(
        "  - {type: ReadRecords, name: read, outputs: {value: v}, options: {type: int, path: " + (folder / "in.jsonl") +
        "}}\n");
    Preview preview(1 << 20);
    for (std::string const text : {"5\n", "17\n", "17\n18\n"}) {
        folder.write("in.jsonl", text);
        Snapshot const values = valuesOf(preview, graph, 0);
        EXPECT_EQ(intOn(values, "v"), std::stoi(text));
        EXPECT_EQ(values.ticks, static_cast<Tick>(std::count(text.begin(), text.end(), '\n')));
    }
}

/// What a run writes on each stream.
class Recorder final : public engine::Observer {
public:
    void runBegins(engine::Graph const &run, unsigned, Tick, Tick) override { graph = &run; }
    void valueWritten(unsigned, std::size_t stream, Tick tick, Variant const &value, ValueType const *) override {
        std::lock_guard const lock(mutex);
        written[{tick, graph->streams[stream].name}] = std::hash<std::string>()(media::recordText(value));
    }

    std::map<std::pair<Tick, std::string>, std::size_t> written;

private:
    std::mutex mutex;
    engine::Graph const *graph = nullptr;
};

void expectValuesOfARun(SharedGraph const &graph, Tick ticks, std::uint64_t bytes) {
    Recorder recorder;
    engine::RunControl control;
    engine::RunOptions options;
    options.observer = &recorder;
    ASSERT_EQ(engine::run(*graph, options, control), ticks);
    std::vector<Tick> order;
    for (Tick tick = 0; tick < 2 * ticks; tick++) order.push_back(tick % ticks);
    std::shuffle(order.begin(), order.end(), std::mt19937(ticks));
    Preview preview(bytes);
    for (Tick const tick : order)
        for (auto const &[stream, state] : valuesOf(preview, graph, tick).streams) {
            ASSERT_TRUE(state.value) << stream << ": " << state.missing;
            EXPECT_EQ(std::hash<std::string>()(media::recordText(*state.value->value)),
                      (recorder.written.at({tick, stream})))
                << "stream " << stream << ", tick " << tick;
        }
}

TEST(Preview, HasTheValuesOfARunWhateverTheOrderOfTicks) {
    std::filesystem::current_path(ZUN_PROJECT);
    TemporaryFolder const folder;
    for (std::string const name : {"coins", "first", "labels", "faces-off"}) {
        SCOPED_TRACE(name);
        std::string const text = zun::test::readBytes("examples/" + name + ".yaml");
        engine::Overrides overrides;
        overrides.variables["out"] = folder.path;
        graphOf(source); // registers the types
        auto const graph =
            std::make_shared<engine::Graph const>(engine::check(engine::parseDescription(text, name, overrides)));
        expectValuesOfARun(graph, 1, 1 << 30);
    }
    std::string boxes;
    for (int i = 0; i < 8; i++) boxes += "[[" + std::to_string(20 * i) + ",30,90,80]]\n";
    folder.write("boxes.jsonl", boxes);
    std::string const read = "  - {type: ReadFrames, name: read, outputs: {rgb: f}, options: {path: ";
    std::string const box =
        "  - {type: ReadRecords, outputs: {value: b}, options: {type: \"zun::List<zun::Box>\", path: " +
        (folder / "boxes.jsonl") + "}}\n  - {type: DrawBoxes, inputs: {frames: f, boxes: b}, outputs: {output: g}}\n";
    std::string const write = "  - {type: WriteFrames, inputs: {frames: g}, options: {path: " + (folder / "clip.mkv") +
                              ", lossless: true}}\n";
    expectValuesOfARun(graphOf(read + "examples/photos/coins.png, repeat: 8}}\n" + box + write), 8, 4 << 20);
    expectValuesOfARun(graphOf(read + (folder / "clip.mkv") + "}}\n" + box), 8, 4 << 20);
}

TEST(Preview, LeavesKeptFramesAsTheyAre) {
    std::string const frame = source + "  - {type: TestFrame, name: make, inputs: {in: s}, outputs: {out: f}}\n"
                                       "  - {type: TestRelay, name: relay, inputs: {in: f}, outputs: {out: g}}\n";
    auto const paint = [](std::string const &in, std::string const &out) {
        return "  - {type: TestPaint, name: " + out + ", inputs: {in: " + in + "}, outputs: {out: " + out + "}}\n";
    };
    auto const sum = [](Snapshot const &snapshot, std::string const &stream) {
        auto const &held = zun::test::held<Mat<unsigned char, 2>>(snapshot.streams.at(stream).value->value);
        return std::accumulate(held.first(), held.first() + held.count, 0);
    };
    Preview preview(1 << 20);
    valuesOf(preview, graphOf(frame + paint("f", "p") + paint("g", "q")), 1);
    Snapshot const values = valuesOf(preview, graphOf(frame + paint("g", "r") + paint("r", "t") + paint("f", "p")), 1);
    EXPECT_TRUE(values.nodes.at("make").kept);
    for (auto const &[stream, added] : std::map<std::string, int>{{"f", 0}, {"g", 0}, {"p", 1}, {"r", 1}, {"t", 2}})
        EXPECT_EQ(sum(values, stream), 64 * (10 + added)) << stream;
}

TEST(Preview, KeepsNoMoreThanItMay) {
    SharedGraph const graph = graphOf(
        source + "  - {type: TestFrame, name: make, inputs: {in: s}, outputs: {out: f}, options: {side: 256}}\n");
    constexpr std::uint64_t frame = 256 * 256, limit = 3 * frame + frame / 2;
    Preview preview(limit);
    std::vector<std::string> ids;
    for (Tick tick = 0; tick < 20; tick++) {
        ids.push_back(valuesOf(preview, graph, tick).streams.at("f").value->id);
        EXPECT_LE(preview.store().usage().kept, limit);
        EXPECT_TRUE(preview.store().at(ids.back()));
    }
    EXPECT_FALSE(preview.store().at(ids.front()));
    EXPECT_TRUE(valuesOf(preview, graph, 18).nodes.at("make").kept);
    EXPECT_EQ(valuesOf(preview, graph, 0).streams.at("f").value->id, ids.front());
}

TEST(Preview, SaysWhyThereIsNoValue) {
    SharedGraph const graph =
        graphOf("  - {type: TestSource, name: source, outputs: {out: s}, options: {endsAt: 7}}\n"
                "  - {type: TestMix, name: mix, inputs: {a: s}, outputs: {out: m}, options: {failAt: 2, skip: 3}}\n"
                "  - {type: TestMix, name: next, inputs: {a: m}, outputs: {out: n}}\n"
                "  - {type: TestSink, name: sink, inputs: {in: n}, options: {label: x}}\n");
    struct Case {
        Tick tick;
        std::string s, m, n; ///< part of why the stream has no value
    };
    Preview preview(1 << 20);
    for (Case const &one : {Case{1, "", "", ""}, Case{2, "", "'mix' failed: broken", "'next' has no value for 'm'"},
                            Case{3, "", "'mix' wrote no value", "'next' has no value"},
                            Case{90, "the source has ended", "'mix' has no", "'next'"}, Case{0, "", "", ""}}) {
        Snapshot const values = valuesOf(preview, graph, one.tick);
        for (auto const &[stream, why] : std::map<std::string, std::string>{{"s", one.s}, {"m", one.m}, {"n", one.n}}) {
            EXPECT_EQ(values.streams.at(stream).value.has_value(), why.empty()) << stream << one.tick;
            zun::test::expectParts(values.streams.at(stream).missing, {why});
        }
        EXPECT_EQ(values.nodes.at("mix").error, one.tick == 2 ? "broken" : "");
        EXPECT_FALSE(values.nodes.at("sink").runs);
        EXPECT_EQ(values.ticks, one.tick == 90 || one.tick == 0 ? std::optional<Tick>(7) : std::nullopt);
    }
}

} // namespace
} // namespace zun::studio::test
