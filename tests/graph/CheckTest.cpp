#include "graph/Check.h"

#include <thread>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "support/TestNodes.h"

namespace zun::engine::test {
namespace {

/// Has an option of each kind, and values whose type one of them settles.
struct CheckMake : Node {
    std::string type;
    int count = 0;
    float ratio = 0;
    bool on = false;
    Vec2i at{};
    OptionNode anything;
    OutputStream<Variant> value;
    OutputStream<Box> box;

    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckMake", .sourcePath = "test"};
        static constexpr auto outputs = rows(output("value", "any", &CheckMake::value, "").typeFrom("type"),
                                             output("box", "zun::Rectf", &CheckMake::box, ""));
        static constexpr auto options = rows(
            requiredOption("type", "std::string", &CheckMake::type, ""),
            option("count", "int", "1", &CheckMake::count, ""), option("ratio", "float", "0.0", &CheckMake::ratio, ""),
            option("on", "bool", "false", &CheckMake::on, ""), option("anything", "any", "", &CheckMake::anything, ""),
            requiredOption("at", "zun::Vec2i", &CheckMake::at, ""));
    };
    Forecast forecast() const {
        Forecast forecast;
        forecast.bytes["value"] = 600;
        if (count == 3) forecast.problems.push_back("count is bad");
        return forecast;
    }
    void process(Tick) override {}
};

template <class T>
struct CheckCut : Node {
    InputStream<Mat<T, 2>> image;
    InputStream<Box> box;
    InputStream<int> extra;
    OutputStream<Mat<T, 2>> result;

    using Node::Node;
    static constexpr TemplateParameter<T> templateParameter{"T", {{{"Vec3b", "zun::Vec3b"}, {"Vec3f", "zun::Vec3f"}}}};
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckCut", .sourcePath = "test"};
        static constexpr auto inputs =
            rows(input("image", "zun::Mat<T, 2>", &CheckCut::image, "").changedInPlace(),
                 input("box", "zun::Box", &CheckCut::box, ""), optionalInput("extra", "int", &CheckCut::extra, ""));
        static constexpr auto outputs =
            rows(output("result", "zun::Mat<T, 2>", &CheckCut::result, "").shapedLike("image"));
    };
    void process(Tick) override {}
};

/// Reads or writes a file; "%" in its path stands for a number.
struct CheckFile : Node {
    std::string path;
    bool write = false;

    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckFile", .sourcePath = "test"};
        static constexpr auto options = rows(requiredOption("path", "std::string", &CheckFile::path, ""),
                                             requiredOption("write", "bool", &CheckFile::write, ""));
    };
    Forecast forecast() const {
        std::size_t const number = path.find('%');
        bool const numbered = number != std::string::npos;
        Forecast forecast;
        forecast.files.push_back({write ? FileUse::Access::Write : FileUse::Access::Read, path.substr(0, number),
                                  numbered ? path.substr(number + 1) : "", numbered, path});
        return forecast;
    }
    void process(Tick) override {}
};

/// Has options of all kinds.
struct CheckSense : Node {
    std::string colour;
    int level = 0, method = 0;
    float angle = 0, share = 0;
    Vec2i size{};

    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckSense", .sourcePath = "test"};
        static constexpr auto options =
            rows(option("colour", "std::string", "#FF00FF", &CheckSense::colour, "").is(OptionKind::Colour),
                 option("level", "int", "0", &CheckSense::level, "").between(0, 255),
                 option("method", "int", "0", &CheckSense::method, "").choose({{0, "nearest"}, {1, "mean"}}),
                 option("angle", "float", "0.0", &CheckSense::angle, "").is(OptionKind::Angle),
                 option("share", "float", "0.0", &CheckSense::share, "").is(OptionKind::Ratio),
                 option("size", "zun::Vec2i", "", &CheckSense::size, "").atLeast(1));
    };
    void process(Tick) override {}
};

struct CheckForeign : Node {
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "CheckForeign", .sourcePath = "test", .classCode = 2};
    };
    void process(Tick) override {}
};

Expected problemOrNone(char const *begin, std::string const &problem) {
    return problem.empty() ? Expected{} : Expected{{begin, problem}};
}

class Check : public testing::Test {
protected:
    static void SetUpTestSuite() {
        registerTestNodes();
        static Registration<CheckMake, CheckForeign, CheckFile, CheckSense> const plain;
        static Registration<CheckCut<Vec3b>, CheckCut<Vec3f>> const cuts({"CheckCut<Vec3b>", "CheckCut<Vec3f>"});
    }

    Graph checkText(std::string const &text) { return check(parseDescription("nodes:\n" + text, "f")); }

    /// Expects these diagnostics and no others, each given by place and severity and by a part of its message.
    void expect(std::string const &text, Expected expected) {
        SCOPED_TRACE(text);
        for (auto &[begin, part] : expected) begin.insert(0, "f:");
        expectDiagnostics(checkText(text).diagnostics, expected);
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
        expect(make + options + ", type: int}}\n- {type: TestFrameSum, inputs: {in: b}, outputs: {out: sum}}\n" +
                   summed,
               problemOrNone("2:", problem));
    }
}

TEST_F(Check, WhatWasReportedBringsNothingFurther) {
    // Misspelt keys and names count as what they mean; values that can't be read count as given.
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, input: {image: picture, box: box}}\n",
           {{"3:3: warning: ", "none of its outputs"}, {"3:38: error: ", "did you mean 'inputs'?"}});
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, inputs: {imag: picture, box: box}}\n",
           {{"3:47: error: ", "has no input 'imag'; did you mean 'image'?"}});
    expect(maker + "- {type: CheckCut<Vec3b>, name: cut, inputs: {image: pictur, box: box}}\n",
           {{"3:47: error: ", "did you mean 'picture'?"}});
    expect("- {type: CheckMake, outputs: {box: b}, options: {type: int, at: }}\n"
           "- {type: CheckCut<Vec3f>, inputs: {image: , box: b}}\n",
           {{"2:61: error: ", "option 'at' has no value"}, {"3:36: error: ", "is empty"}});
    expect(maker + cutter + "- {name: x, inputs: {a: box}}\n",
           {{"3:3: warning: ", "none of its outputs"}, {"4:3: error: ", "no 'type'"}});
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
    expect(make("Pixel") + cutFloat, {{"2:72: error: ", "unknown type of values 'Pixel' in option 'type'"},
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
           {{"3:3: warning: ", "'cut' (CheckCut<Vec3b>) has no effect: none of its outputs is connected"},
            {"3:47: warning: ", "changes the frames that it reads at input 'image', and others read stream 'picture'"},
            {"4:57: warning: ", "writes stream 'unread' from output 'out', but no node reads it"}});
    expect("- {type: TestSource, name: s, outputs: {out: sum}, limits: {out: -2147483648}}\n" + summed,
           {{"2:61: warning: ", "can never run: the limit -2147483648 of output 'out'"}});
}

TEST_F(Check, StatesWhatStreamsHoldAndAsksSoundNodesForTheirForecast) {
    std::string const rest = "- {type: CheckCut<Vec3b>, inputs: {image: picture, box: box}, outputs: {result: part}, "
                             "limits: {result: -7}}\n"
                             "- {type: TestFrameSum, inputs: {in: part}, outputs: {out: sum}, limits: {out: 0}}\n" +
                             summed;
    Graph const graph = checkText(maker + rest);
    expectDiagnostics(graph.diagnostics, {});
    std::map<std::string, std::tuple<bool, std::int32_t, std::uint64_t>> held;
    for (GraphStream const &s : graph.streams)
        held[s.name] = {s.isBounded(), s.isBounded() ? s.capacity : 0, s.bytesPerValue.value_or(0)};
    auto const twoForEachThread = static_cast<std::int32_t>(2 * std::thread::hardware_concurrency());
    EXPECT_EQ(held, (decltype(held){{"picture", {true, twoForEachThread, 600}},
                                    {"box", {true, twoForEachThread, 16}},
                                    {"part", {true, 7, 600}},
                                    {"sum", {false, 0, 4}}}));
    EXPECT_EQ(graph.knownBytes, static_cast<std::uint64_t>(twoForEachThread) * 616 + 7 * 600);

    std::string failing = maker;
    failing.replace(failing.find("at:"), 0, "count: 3, ");
    expect(failing + rest, {{"2:10: error: ", "node 'make' (CheckMake) would fail: count is bad"}});
    failing.replace(failing.find("at: [1, 2], "), 12, "");
    expect(failing + rest, {{"2:3: error: ", "needs option 'at'"}}); // the forecast is not asked
}

TEST_F(Check, RefusesTwoWritersOfAFileAndAWriterOfOneThatIsRead) {
    auto const use = [](std::string const &path, char const *access, char const *name) {
        return "- {type: CheckFile, name: " + std::string(name) + ", options: {path: " + path + ", " + access + "}}\n";
    };
    char const *const reads = "write: false", *const writes = "write: true";
    for (auto const &[first, firstAccess, second, secondAccess, clash] :
         {std::tuple("a.png", writes, "./a.png", writes, "writes './a.png', which node 'x' (CheckFile) writes"),
          {"a.png", reads, "sub/../a.png", writes, "writes 'sub/../a.png', which node 'x' (CheckFile) reads"},
          {"a-%.png", reads, "a-0007.png", writes, "which node 'x' (CheckFile) reads in the same run"},
          {"a-1.png", writes, "a-%.png", reads, "reads 'a-%.png', which node 'x' (CheckFile) writes"},
          {"a-%.png", writes, "a-%.png", writes, "give one of the two another path"},
          {"a.png", reads, "a.png", reads, ""},
          {"a-%.png", writes, "a-b.png", reads, ""},
          {"a-%.png", writes, "b-%.png", writes, ""}}) {
        expect(use(first, firstAccess, "x") + use(second, secondAccess, "y"),
               problemOrNone("3:10: error: node 'y' (CheckFile) ", clash));
    }
}

TEST_F(Check, WarnsOfValuesThatMakeNoSense) {
    for (auto const &[option, problem] :
         {std::pair("colour: yellow",
                    "option 'colour' is 'yellow', which is not six hexadecimal digits; write 0xFFFF00"),
          {"colour: 0xF80", "write 0xFF8800"},
          {"colour: '#12345G'", "is not six hexadecimal digits"},
          {"colour: 123456", ""},
          {"level: 300", "option 'level' is 300, but makes sense from 0 to 255; the nearest is 255"},
          {"level: -1.0", "the nearest is 0"},
          {"method: 7", "makes sense only as 0 (nearest), 1 (mean)"},
          {"method: mean", "'mean' is written 1"},
          {"size: [0, 4]", "is 0, but makes sense from 1 on; the nearest is 1"},
          {"angle: 90", "angles are in radians; so many degrees are 1.5708"},
          {"share: 1.5", "makes sense from 0 to 1"},
          {"share: 0.5", ""}}) {
        expect("- {type: CheckSense, name: s, options: {" + std::string(option) + "}}\n", problemOrNone("2:", problem));
    }
}

} // namespace
} // namespace zun::engine::test
