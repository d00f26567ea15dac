// What sources tell of their frames has to reach the nodes that want it, by whatever path the frames come.
#include <gtest/gtest.h>

#include "containers/Exception.h"
#include "graph/Check.h"
#include "support/TestNodes.h"

namespace zun::engine::test {
namespace {

struct TellingSource : Node {
    bool moves = false;
    OutputStream<int> out;
    OutputStream<std::string> about;

    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TellingSource", .sourcePath = "test"};
        static constexpr auto outputs = rows(output("out", "int", &TellingSource::out, ""),
                                             output("about", "std::string", &TellingSource::about, "").besideFrames());
        static constexpr auto options = rows(option("moves", "bool", "false", &TellingSource::moves, ""));
    };
    bool isGenerator() const override { return true; }
    Tick getRunUntil(Tick end) override { return std::min<Tick>(end, 40); }
    Forecast forecast() const {
        Forecast forecast;
        forecast.source = std::make_shared<VariantType<std::string>>(std::string(moves ? "a film" : "a picture"));
        forecast.moves = moves;
        return forecast;
    }
    void process(Tick tick) override {
        writeStream(tick, out, static_cast<int>(tick));
        if (about.connected()) writeStream(tick, about, std::to_string(tick));
    }
};

struct AskingSink : Node {
    InputStream<Variant> in;
    InputStream<std::string> about;

    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "AskingSink", .sourcePath = "test", .parallelCode = 0};
        static constexpr auto inputs =
            rows(input("in", "any", &AskingSink::in, ""),
                 optionalInput("about", "std::string", &AskingSink::about, "").besideFrames());
    };
    bool hasSideEffects() const override { return true; }
    Forecast forecast(Variant const *source) const {
        Forecast forecast;
        if (source == nullptr) return forecast;
        forecast.notes = {"takes " + static_cast<VariantType<std::string> const *>(source)->value};
        forecast.warnings = {" is warned"};
        return forecast;
    }
    void process(Tick tick) override {
        if (about.connected() && readStream(tick, about) != std::to_string(tick)) throw Exception("of another tick");
    }
};

Registration<TellingSource> const source;
Registration<AskingSink> const asker;

/// The stream that the sink takes from its source, and what it said ahead.
std::pair<std::string, std::string> beside(std::string const &nodes) {
    registerTestNodes();
    Graph const graph = check(parseDescription("nodes:\n" + nodes, "test.yaml"));
    EXPECT_TRUE(graph.passed());
    std::string stream, said;
    for (GraphPort const &input : graph.nodes.back().inputs)
        if (input.name == "about") stream = graph.streams[input.stream].name;
    for (Diagnostic const &one : graph.diagnostics)
        if (one.severity == Diagnostic::Severity::Note) said += one.message;
    return {stream, said};
}

std::string const film = "- {type: TellingSource, name: film, outputs: {out: a}, options: {moves: true}}\n";
std::string const logo = "- {type: TellingSource, name: logo, outputs: {out: b}}\n";
std::string const far = "- {type: TestMix, name: m1, inputs: {a: a}, outputs: {out: c}}\n"
                        "- {type: TestMix, name: m2, inputs: {a: c, b: b}, outputs: {out: d}}\n";

TEST(Sources, ReachWhoWantsThemAndTheOneThatMovesGoesFirst) {
    using Found = std::pair<std::string, std::string>;
    auto const sink = [](std::string const &inputs) {
        return "- {type: AskingSink, name: s, inputs: {" + inputs + "}}\n";
    };
    std::string const says = "node 's' (AskingSink) takes ";
    EXPECT_EQ(beside(logo + sink("in: b")), Found("logo.about", says + "a picture"));
    EXPECT_EQ(beside(logo + film + far + sink("in: d")), Found("film.about", says + "a film"))
        << "though it is farther";
    EXPECT_EQ(beside(logo + film + far + sink("in: d, about: \"-\"")), Found()) << "it was told to do without";
    EXPECT_EQ(beside("- {type: TellingSource, name: film, outputs: {out: a, about: mine}}\n" + sink("in: a")),
              Found("mine", says + "a picture"));
    EXPECT_EQ(beside("- {type: TestSource, name: n, outputs: {out: a}}\n" + sink("in: a")), Found());
    EXPECT_EQ(beside("- {type: TellingSource, name: film, outputs: {out: a, about: \"-\"}}\n" + sink("in: a")),
              Found());
}

TEST(Sources, AreKeptByTickAndHoldBackNobody) {
    std::string const nodes = film +
                              "- {type: TestMix, name: m1, inputs: {a: a}, outputs: {out: c}, limits: {out: -1}}\n"
                              "- {type: TestMix, name: m2, inputs: {a: c}, outputs: {out: d}, options: {work: 1}}\n"
                              "- {type: AskingSink, name: s, inputs: {in: d}}\n";
    for (auto const executor :
         {RunOptions::Executor::Sequential, RunOptions::Executor::Shuffled, RunOptions::Executor::Threads}) {
        RunOptions options;
        options.executor = executor;
        options.threads = 4;
        RunResult const result = runGraph(nodes, options);
        EXPECT_EQ(result.error, "");
        EXPECT_EQ(result.ticks, 40u);
    }
}

} // namespace
} // namespace zun::engine::test
