#include "engine/Check.h"

#include <thread>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "engine/TestNodes.h"

namespace zun::engine::test {
namespace {

/// Has an option of each kind, and values whose type one of them settles.
class CheckMake : public Node {
    std::string type;
    int count = 0;
    float ratio = 0;
    bool on = false;
    Vec2i at{};
    OptionNode anything;
    OutputStream<Variant> value;
    OutputStream<Box> box;

public:
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckMake", .sourcePath = "test"};
        static constexpr auto outputs =
            rows(output("value", "any", &CheckMake::value, ""), output("box", "zun::Rectf", &CheckMake::box, ""));
        static constexpr auto options = rows(
            requiredOption("type", "std::string", &CheckMake::type, ""),
            option("count", "int", "1", &CheckMake::count, ""), option("ratio", "float", "0.0", &CheckMake::ratio, ""),
            option("on", "bool", "false", &CheckMake::on, ""), option("anything", "any", "", &CheckMake::anything, ""),
            requiredOption("at", "zun::Vec2i", &CheckMake::at, ""));
    };
    void process(Tick) override {}
};

template <class T>
class CheckCut : public Node {
    InputStream<Mat<T, 2>> image;
    InputStream<Box> box;
    InputStream<int> extra;
    OutputStream<Mat<T, 2>> result;

public:
    using Node::Node;
    static std::vector<NodeSpecification::Template> templates() {
        return {{"typename", "T", {{"Vec3b", "zun::Vec3b"}, {"Vec3f", "zun::Vec3f"}}}};
    }
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckCut", .sourcePath = "test"};
        static constexpr auto inputs =
            rows(input("image", "zun::Mat<T, 2>", &CheckCut::image, ""), input("box", "zun::Box", &CheckCut::box, ""),
                 optionalInput("extra", "int", &CheckCut::extra, ""));
        static constexpr auto outputs = rows(output("result", "zun::Mat<T, 2>", &CheckCut::result, ""));
    };
    void process(Tick) override {}
};

class CheckForeign : public Node {
public:
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckForeign", .sourcePath = "test", .classCode = 2};
    };
    void process(Tick) override {}
};

class Check : public testing::Test {
protected:
    static void SetUpTestSuite() {
        registerTestNodes();
        static Registration<CheckMake, CheckForeign> const plain;
        static Registration<CheckCut<Vec3b>, CheckCut<Vec3f>> const cuts({"CheckCut<Vec3b>", "CheckCut<Vec3f>"});
    }

    NodeFactsTable facts{{"CheckMake", {.changesInPlace = {}, .typeFromOption = {{"value", "type"}}}},
                         {"CheckCut<Vec3b>", {.changesInPlace = {"image"}, .sizedLike = {{"result", "image"}}}}};

    CheckReport checkText(std::string const &text) {
        Findings findings;
        Description const description = parseDescription("nodes:\n" + text, "f", {}, findings);
        CheckReport report = engine::check(description, facts);
        report.findings.insert(report.findings.begin(), findings.begin(), findings.end());
        return report;
    }

    /// Expects these findings and no others, each given by place and severity and by a part of its message.
    void expect(std::string const &text, std::vector<std::pair<std::string, std::string>> expected) {
        SCOPED_TRACE(text);
        for (auto &[begin, part] : expected) begin.insert(0, "f:");
        expectFindings(checkText(text).findings, expected);
    }
};

/// A node that writes the streams picture and box, and one that reads them.
std::string const maker = "- {type: CheckMake, name: make, outputs: {value: picture, box: box}, options: {at: [1, 2], "
                          "type: \"zun::Mat<RGBPixel, 2>\"}}\n";
std::string const cutter = "- {type: CheckCut<Vec3b>, name: cut, inputs: {image: picture, box: box}}\n";
std::string const summed = "- {type: TestSink, inputs: {in: sum}, options: {label: 0xFF}}\n";

TEST_F(Check, AcceptsWhatConvertsToAnOptionsTypeAndNothingElse) {
    std::string const make = "- {type: CheckMake, name: make, outputs: {box: b}, options: {at: ";
    for (auto const &[options, problem] :
         {std::pair("[1, 2.0]", ""),
          {"[true, 0x10], ratio: 3, on: 0.5, count: true, anything: [a]", ""},
          {"[1, 2, 3]", "as option 'at', not '[1, 2, 3]' of type vector; write a list of two numbers"},
          {"[1, '2']", "write a list of two numbers"},
          {"3", "write a list of two numbers"},
          {"[1, 2], ratio: half", "takes float as option 'ratio', not 'half'"},
          {"[1, 2], count: '3'", "write it without quotes"},
          {"[1, 2], on: maybe", "write true or false"},
          {"[1, 2], count: [3]", "write a number such as 10"},
          {"[1, 2], count: 1.5", "warning: node 'make' (CheckMake): option 'count' is an int, so '1.5'"},
          {"[1, 2], count: 4294967301", "becomes 5"}}) {
        std::vector<std::pair<std::string, std::string>> findings;
        if (*problem != '\0') findings.emplace_back("2:", problem);
        expect(make + options + ", type: int}}\n- {type: TestFrameSum, inputs: {in: b}, outputs: {out: sum}}\n" +
                   summed,
               findings);
    }
}

TEST_F(Check, WhatWasReportedBringsNothingFurther) {
    // Misspelt keys and names count as what they mean; values that can't be read count as given.
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, input: {image: picture, box: box}}\n",
           {{"3:38: error: ", "did you mean 'inputs'?"}, {"3:3: warning: ", "none of its outputs"}});
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, inputs: {imag: picture, box: box}}\n",
           {{"3:47: error: ", "has no input 'imag'; did you mean 'image'?"}});
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, inputs: {image: pictur, box: box}}\n",
           {{"3:47: error: ", "did you mean 'picture'?"}});
    expect("- {type: CheckMake, outputs: {box: b}, options: {type: int, at: }}\n"
           "- {type: CheckCut<Vec3f>, inputs: {image: , box: b}}\n",
           {{"2:61: error: ", "option 'at' has no value"}, {"3:36: error: ", "is empty"}});
    expect(maker + cutter + "- {name: x, inputs: {a: box}}\n",
           {{"4:3: error: ", "no 'type'"}, {"3:3: warning: ", "none of its outputs"}});
}

TEST_F(Check, FindsWhatIsWrongWithNodes) {
    expect("- {type: CheckCut, inputs: {a: b}}\n",
           {{"2:10: error: ", "did you mean 'CheckCut<Vec3b>'?"}, {"2:29: error: ", "no node writes it"}});
    expect("- {type: CheckForeign}\n", {{"2:10: error: ", "can't be built from a description: its class code is 2"}});
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, inputs: {image: picture, box: \"-\", result: picture}}\n",
           {{"2:59: warning: ", "no node reads it"},
            {"3:47: warning: ", "others read stream 'picture', too"},
            {"3:63: error: ", "needs input 'box', so it can't be left open"},
            {"3:73: error: ", "has no input 'result': it is an output"}});
    expect("- {type: TestSource, name: s, outputs: {out: sum}, limits: {uot: 3}}\n" + summed,
           {{"2:61: error: ", "has no output 'uot' to limit; did you mean 'out'?"}});
}

TEST_F(Check, TakesTypesFromTheTypeStringAndFromOptions) {
    auto const make = [](std::string const &type) {
        return "- {type: CheckMake, outputs: {value: p, box: b}, options: {at: [1, 2], type: \"" + type + "\"}}\n";
    };
    std::string const cutFloat = "- {type: CheckCut<Vec3f>, inputs: {image: p, box: b}}\n";
    expect(make("zun::Mat< zun::Vec<float,3>, 2 >") + cutFloat, {{"3:3: warning: ", "none of its outputs"}});
    expect(make("any") + cutFloat, {{"3:3: warning: ", "none of its outputs"}});
    expect(make("RGBPixel") + cutFloat, {{"2:72: error: ", "unknown type of values 'RGBPixel' in option 'type'"},
                                         {"3:3: warning: ", "none of its outputs"}});
    expect(make("zun::Mat<zun::Vec3, 2>") + cutFloat,
           {{"2:72: error: ", "did you mean 'zun::Mat<zun::Vec3b, 2>'?"}, {"3:3: warning: ", "none of its outputs"}});
    expect(make("float") + cutFloat, {{"3:36: error: ", "stream 'p' carries float from output 'value'"}});
}

TEST_F(Check, FindsEachCycle) {
    expect("- {type: TestMix, name: m, inputs: {a: sum}, outputs: {out: sum}}\n" + summed,
           {{"2:37: error: ", "cycle: node 'm' (TestMix) -> stream 'sum' -> node 'm' (TestMix); no node"}});
    expect("- {type: TestMix, name: x, inputs: {a: c, b: e}, outputs: {out: a}}\n"
           "- {type: TestMix, name: y, inputs: {a: a}, outputs: {out: b, second: d}}\n"
           "- {type: TestMix, name: z, inputs: {a: b}, outputs: {out: c}}\n"
           "- {type: TestMix, name: w, inputs: {a: d}, outputs: {out: e}}\n",
           {{"2:37: error: ", "node 'x' (TestMix) -> stream 'a' -> node 'y' (TestMix) -> stream 'b' -> node 'z' "
                              "(TestMix) -> stream 'c' -> node 'x' (TestMix)"},
            {"2:43: error: ", "-> stream 'd' -> node 'w' (TestMix) -> stream 'e' -> node 'x' (TestMix)"}});
    // Two ways from one node to another are none, and a long line takes no stack.
    std::string line = "- {type: TestSource, outputs: {out: s0}}\n";
    for (int i = 0; i < 5000; i++) {
        std::string const in = "s" + std::to_string(i), out = "s" + std::to_string(i + 1);
        line += "- {type: TestMix, inputs: {a: " + in + ", b: " + in + "}, outputs: {out: " + out + "}}\n";
    }
    expect(line, {{"5002:", "no node reads it"}});
}

TEST_F(Check, WarnsOfWhatIsHardlyMeant) {
    expect(maker + cutter + "- {type: TestFrameSum, inputs: {in: picture}, outputs: {out: unread}}\n",
           {{"3:3: warning: ", "'cut' (CheckCut<Vec3b>) works for nothing: none of its outputs is connected"},
            {"3:47: warning: ", "changes the frames that it reads at input 'image', and others read stream 'picture'"},
            {"4:57: warning: ", "writes stream 'unread' from output 'out', but no node reads it"}});
    expect("- {type: TestSource, name: s, outputs: {out: sum}, limits: {out: -2147483648}}\n" + summed,
           {{"2:61: warning: ", "can never run: the limit -2147483648 of output 'out'"}});
}

TEST_F(Check, StatesWhatStreamsHoldAndAsksSoundNodesForTheirForecast) {
    facts["CheckMake"].forecast = [](NodeConfig const &config) -> Forecast {
        if (config.getParsedOptions().contains("count")) return {{}, {"count is bad"}};
        return {{{"value", 600}}, {}};
    };
    std::string const rest = "- {type: CheckCut<Vec3b>, inputs: {image: picture, box: box}, outputs: {result: part}, "
                             "limits: {result: -7}}\n"
                             "- {type: TestFrameSum, inputs: {in: part}, outputs: {out: sum}, limits: {out: 0}}\n" +
                             summed;
    CheckReport const report = checkText(maker + rest);
    expectFindings(report.findings, {});
    std::map<std::string, std::pair<std::int64_t, std::uint64_t>> held;
    for (StreamEstimate const &s : report.streams) held[s.stream] = {s.values, s.bytesPerValue.value_or(0)};
    std::int64_t const twoForEachThread = 2 * std::thread::hardware_concurrency();
    EXPECT_EQ(held, (decltype(held){{"picture", {twoForEachThread, 600}},
                                    {"box", {twoForEachThread, 16}},
                                    {"part", {7, 600}},
                                    {"sum", {0, 4}}}));
    EXPECT_EQ(report.knownBytes, static_cast<std::uint64_t>(twoForEachThread) * 616 + 7 * 600);

    std::string failing = maker;
    failing.replace(failing.find("at:"), 0, "count: 3, ");
    expect(failing + rest, {{"2:10: error: ", "node 'make' (CheckMake) would fail: count is bad"}});
    failing.replace(failing.find("at: [1, 2], "), 12, "");
    expect(failing + rest, {{"2:3: error: ", "needs option 'at'"}}); // the forecast is not asked
}

TEST(NearestName, IsWhatAHumanWouldHaveMeant) {
    std::vector<std::string> const names{"DrawPoints",    "CropAny", "Crop<Vec3b>", "Crop<Vec3f>",
                                         "NegativeImage", "in",      "out",         "colour"};
    for (auto const &[meant, wrongs] :
         std::map<std::string, std::vector<std::string>>{{"Crop<Vec3b>", {"Crop"}},
                                                         {"Crop<Vec3f>", {"crop<vec3f>"}},
                                                         {"DrawPoints", {"DrawPoint"}},
                                                         {"NegativeImage", {"NegatveImgae", "NEGATIVEIMAGE", "Neg"}},
                                                         {"colour", {"color"}},
                                                         {"out", {"uot"}}})
        for (std::string const &wrong : wrongs) EXPECT_EQ(nearestName(wrong, names), meant) << wrong;
    for (char const *const wrong : {"xy", "", "WarpAffine", "radius"})
        EXPECT_EQ(nearestName(wrong, names), std::nullopt) << wrong;
    EXPECT_EQ(nearestName(std::string(100000, 'x'), names), std::nullopt);
    EXPECT_EQ(nearestName("x", {}), std::nullopt);
}

} // namespace
} // namespace zun::engine::test
