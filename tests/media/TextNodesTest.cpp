// Texts, records and tables made of what streams carry, and lists cut to what is wanted.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "media/HostNodes.h"
#include "media/Source.h"
#include "media/records/Fields.h"
#include "media/records/RecordText.h"
#include "support/Failures.h"
#include "support/OneNode.h"
#include "support/TemporaryFolder.h"
#include "support/Text.h"

namespace zun {

/// A number as a plug-in may bring it; lists of it are not among the library's types.
struct Score {
    double value = 0;
};
template <>
struct TypeName<Score> {
    static constexpr std::string_view text = "plugin::Score";
};
template <>
struct Record<Score> {
    static Score read(OptionNode const &node, RecordPlace const &place) { return {Record<double>::read(node, place)}; }
    static void write(Score const &score, RecordSink &sink) { sink.write(score.value); }
};

namespace test {
namespace {

using Ints = std::vector<int>;
using Texts = std::vector<std::string>;
using Boxes = std::vector<Box>;
using Frame = Mat<unsigned char, 2>;
using Lines = Mat<Vec<int, 4>, 1>;

constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();

struct TextNodes : testing::Test {
    TextNodes() { media::registerNodes(); }

    /// A node with the given streams at its inputs, each by port.
    static NodeConfig wired(std::string const &type, Options const &options,
                            std::map<std::string, std::string> const &inputs) {
        std::map<std::string, std::string> outputs;
        for (auto const &[port, output] : NodeRegistry::find(type)->specification.outputs)
            if (type != "SelectElements" || inputs.contains(port)) outputs[port] = port;
        return NodeConfig(type, options, inputs, outputs);
    }

    /// What a node gives whose inputs are these streams, in the order of its ports. A stream "source" is at the input
    /// of this name.
    static Values run(std::string const &type, Options const &options,
                      std::vector<std::pair<std::string, std::shared_ptr<Variant>>> const &streams, Tick tick = 0) {
        constexpr std::array ports{"first", "second", "third", "fourth", "fifth"};
        std::map<std::string, std::string> inputs;
        Values values;
        for (std::size_t i = 0; i < streams.size(); i++) {
            inputs[streams[i].first == "source" ? "source" : ports[i]] = streams[i].first;
            values[streams[i].first] = streams[i].second;
        }
        NodeConfig const config = wired(type, options, inputs);
        std::unique_ptr<PipelineNode> const asked(NodeRegistry::find(type)->factory({}, config));
        Forecast const forecast = NodeRegistry::find(type)->facts.forecast(*asked, nullptr);
        std::string const failure = messageOf([&] { OneNode(config, 0); });
        EXPECT_EQ(forecast.problems.empty() ? "no failure" : forecast.problems[0], failure) << "has to be told ahead";
        return OneNode(config).run(values, tick);
    }

    static Texts format(std::string const &text,
                        std::vector<std::pair<std::string, std::shared_ptr<Variant>>> const &streams) {
        return held<Texts>(run("FormatTexts", {{"format", text}}, streams, 7).at("texts"));
    }

    /// What WriteRecords leaves of these values, a tick each.
    std::string written(std::vector<std::shared_ptr<Variant>> const &values, std::string const &name = "out.csv",
                        std::string const &form = "auto") const {
        OneNode writer("WriteRecords", Options{{"path", folder / name}, {"format", form}});
        std::string failure = "no failure";
        for (Tick tick = 0; tick < values.size() && failure == "no failure"; tick++)
            failure = messageOf([&] { writer.run({{"value", values[tick]}}, tick); });
        writer.node->flush(values.size());
        return (folder.files().empty() ? "" : folder.read(name)) + (failure == "no failure" ? "" : failure);
    }

    static std::shared_ptr<Variant> frame42() {
        media::FrameSource source;
        auto const info = std::make_shared<media::SourceInfo>();
        info->timeBase = {1, 4};
        source.info = info;
        source.file = "in/clip.2.mp4";
        source.number = 42;
        source.time = 5;
        return valueOf(source);
    }

    static std::shared_ptr<Variant> merged(Options const &options,
                                           std::vector<std::pair<std::string, std::shared_ptr<Variant>>> const &streams,
                                           Tick tick = 0) {
        return run("MergeRecords", options, streams, tick).at("record");
    }

    std::shared_ptr<Variant> const areas = valueOf(Ints{2741, 5, -30}), none = valueOf(Ints{}),
                                   names = valueOf(Texts{"one", "zw\xC3\xB6lf", ""}),
                                   boxes = valueOf(Boxes{{1, 2, 30.25f, 4}, {5, 6, 7, 8}, {9, 10, 11, nan}});
    TemporaryFolder const folder;
};

TEST_F(TextNodes, FormatOneTextForEachElement) {
    std::pair<char const *, Texts> const cases[] = {
        {"{areas} px", {"2741 px", "5 px", "-30 px"}},
        {"{count}/{total}: {index} {tick} {first}", {"1/3: 0 7 2741", "2/3: 1 7 5", "3/3: 2 7 -30"}},
        {"{count:03} {areas:5}|{areas:05}", {"001  2741|02741", "002     5|00005", "003   -30|-0030"}},
        {"{areas:.1}{areas:8.2}", {"2741.0 2741.00", "5.0    5.00", "-30.0  -30.00"}},
        {"{boxes.x} {boxes.width:.1} {boxes.height} {boxes.area:.0}",
         {"1.0 30.2 4.0 121", "5.0 7.0 8.0 56", "9.0 11.0 NaN NaN"}},
        {"{boxes}{boxes:.0}",
         {"[1.0,2.0,30.25,4.0][1,2,30,4]", "[5.0,6.0,7.0,8.0][5,6,7,8]", R"([9.0,10.0,11.0,"NaN"][9,10,11,NaN])"}},
        {"{names:6}|{{{names}}}", {"one   |{one}", "zw\xC3\xB6lf |{zw\xC3\xB6lf}", "      |{}"}},
        {"{boxes.height:05.1}", {"004.0", "008.0", "  NaN"}},
        {"{stem} {name} {parent} {number:04} {time:.1}", Texts(3, "clip.2 clip.2.mp4 in 0042 1.2")},
        {"", {"", "", ""}},
    };
    for (auto const &[text, expected] : cases)
        EXPECT_EQ(format(text, {{"areas", areas}, {"boxes", boxes}, {"names", names}, {"source", frame42()}}), expected)
            << text;
    EXPECT_EQ(format("{a} of {b}", {{"a", areas}, {"b", valueOf(0.1f)}}),
              (Texts{"2741 of 0.1", "5 of 0.1", "-30 of 0.1"}));
    EXPECT_EQ(format("{a}{b}{count}", {{"a", valueOf(true)}, {"b", valueOf(std::string("\xFF"))}}), Texts{"true\xFF"
                                                                                                          "1"});
    EXPECT_EQ(format("{a}", {{"a", none}}), Texts{});
    EXPECT_EQ(format("{cut.areas.x:.0}", {{"cut", areas}, {"cut.areas", valueOf(Vec2f{{1, 2}})}}), Texts(3, "1"));
    EXPECT_EQ(format("{p.y}{s.x1}", {{"p", valueOf(Vec2i{{3, 4}})}, {"s", valueOf(Lines({1}, {{5, 6, 7, 8}}))}}),
              Texts{"47"});
    EXPECT_EQ(format("{count}", {{"frames", valueOf(std::vector<Frame>(2, Frame({2, 2}, 1)))}}), (Texts{"1", "2"}));
}

TEST_F(TextNodes, RefuseFormatsThatCantBeFilledIn) {
    std::pair<char const *, std::vector<std::string>> const cases[] = {
        {"{area}",
         {"format '{area}': there is no {area}; did you mean 'areas'? There are {areas}, {boxes}, {names}, {first}",
          "{time}"}},
        {"{}", {"there is no {}"}},
        {"{second", {"'{' stands alone; write {{"}},
        {"a } b", {"'}' stands alone; write }}"}},
        {"{areas:x}", {"{areas:x}: after the colon"}},
        {"{areas:1001}", {"width up to 1000"}},
        {"{areas:.101}", {"decimals up to 100"}},
        {"{areas:-5}", {"after the colon"}},
        {"{areas:9999999999}", {"after the colon"}},
        {"{tick.x}", {"{tick} has no part 'x'"}},
        {"{stem}", {"{stem} needs frames of ReadFrames", "input 'source'"}},
        {"{areas.x}", {"'areas' holds int, which has no part 'x'"}},
        {"{boxes.z}", {"'boxes' holds zun::Box", "x, y, width, height and area"}},
        {"{names:.1}", {"decimals are of numbers"}},
    };
    for (auto const &[text, parts] : cases)
        expectParts(messageOf([&, t = text] {
                        format(t, {{"areas", areas}, {"boxes", boxes}, {"names", names}});
                    }),
                    parts);
    expectParts(messageOf([&] {
                    format("", {{"areas", areas}, {"few", valueOf(Texts{"1"})}});
                }),
                {"stream 'areas' has 3 elements, and stream 'few' has 1 element"});
}

TEST_F(TextNodes, MergeStreamsIntoOneRecordATick) {
    std::shared_ptr<Variant> const plain = merged({}, {{"areas", areas}, {"on", valueOf(true)}}, 3);
    EXPECT_EQ(media::recordText(*plain), R"({"tick":3,"areas":[2741,5,-30],"on":true})");
    EXPECT_EQ(media::recordText(*merged({}, {{"boxes", valueOf(Boxes{{1, 2, 3, 4}})}, {"source", frame42()}})),
              R"({"tick":0,"name":"clip.2.mp4","number":42,"time":1.25,"boxes":[[1.0,2.0,3.0,4.0]]})");
    Options list;
    list["with"] = OptionNode::ofVector({Option("time"), Option("stem"), Option("file")});
    EXPECT_EQ(media::recordText(*merged(list, {{"a\"b", none}, {"source", frame42()}})),
              R"({"time":1.25,"stem":"clip.2","file":"in/clip.2.mp4","a\"b":[]})");
    list["with"] = OptionNode::ofVector({});
    EXPECT_EQ(media::recordText(*merged(list, {{"more", plain}, {"x", valueOf(nan)}})),
              R"({"tick":3,"areas":[2741,5,-30],"on":true,"x":"NaN"})")
        << "a record gives its own fields";

    ValueType const &type = *valueType<media::Fields>();
    EXPECT_GT(type.bytes(*plain), 3 * sizeof(int));
    EXPECT_EQ(held<media::Fields>(plain).list[1].value, areas) << "shared, not copied";
    EXPECT_EQ(media::recordText(*type.copy(*plain)), media::recordText(*plain));

    std::tuple<Option, char const *, std::vector<std::string>> const wrong[] = {
        {"tock", "a", {"option with: 'tock' is not auto, tick"}},
        {"name", "a", {"'name' needs frames of ReadFrames"}},
        {"auto", "tick", {"two fields 'tick'"}},
        {7, "a", {"option with: '"}},
    };
    for (auto const &[with, stream, parts] : wrong)
        expectParts(messageOf([&, w = with, s = stream] { merged({{"with", w}}, {{s, areas}}); }), parts);
    expectParts(messageOf([&] { merged({}, {{"a", plain}}); }), {"two fields 'tick'"});
    expectParts(messageOf([&] {
                    media::recordText(*merged({}, {{"t", valueOf(std::string("\xFF"))}}));
                }),
                {"field 't': a text that is not UTF-8"});
}

TEST_F(TextNodes, WriteTablesWithARowForEachElement) {
    auto const two = [](auto first, auto second) { return valueOf(std::vector{std::move(first), std::move(second)}); };
    EXPECT_EQ(
        written(
            {merged({}, {{"areas", two(3, 4)},
                         {"boxes", two(Box{1, 2, 3, 4}, Box{5, 6, 7.5f, infinity})},
                         {"source", frame42()}}),
             merged({}, {{"areas", none}, {"boxes", valueOf(Boxes{})}, {"source", frame42()}}, 1),
             merged({}, {{"areas", valueOf(Ints{9})}, {"boxes", valueOf(Boxes{{0, 0, nan, 0}})}, {"source", frame42()}},
                    2)}),
        "tick,name,number,time,areas,boxes.x,boxes.y,boxes.width,boxes.height\n"
        "0,clip.2.mp4,42,1.25,3,1.0,2.0,3.0,4.0\n"
        "0,clip.2.mp4,42,1.25,4,5.0,6.0,7.5,Infinity\n"
        "2,clip.2.mp4,42,1.25,9,0.0,0.0,NaN,0.0\n");
    EXPECT_EQ(written({merged({}, {{"a,b", two(std::string("x,\"y\"\n"), std::string())}, {"ok", valueOf(true)}})},
                      "out.CSV"),
              "tick,\"a,b\",ok\n0,\"x,\"\"y\"\"\n\",true\n0,\"\",true\n");
    EXPECT_EQ(written({two(1, 2), none, two(3, 4)}), "value\n1\n2\n3\n4\n");
    EXPECT_EQ(written({none}), "value\n") << "a table without rows";
    EXPECT_EQ(written({valueOf(Vec2f{{1, 2}}), valueOf(Vec2f{{3, 4}})}), "x,y\n1.0,2.0\n3.0,4.0\n");
    EXPECT_EQ(written({frame42()}), "file,number,time\nin/clip.2.mp4,42,1.25\n");
    EXPECT_EQ(written({valueOf(Frame({1, 2}, 7))}, "t.txt", "csv"), "value\n\"[[7,7]]\"\n");
    EXPECT_EQ(written({frame42(), valueOf(std::string("x"))}, "source.jsonl"), "[\"in/clip.2.mp4\",42,1.25]\n\"x\"\n");
    EXPECT_EQ(written({valueOf(1)}, "lines.csv", "jsonl"), "1\n");
}

TEST_F(TextNodes, KeepTheRowsBeforeATableThatFails) {
    std::shared_ptr<Variant> const good = merged({}, {{"areas", valueOf(Ints{1})}, {"names", valueOf(Texts{"x"})}});
    std::string const rows = "tick,areas,names\n0,1,x\n";
    std::pair<std::shared_ptr<Variant>, char const *> const cases[] = {
        {merged({}, {{"areas", areas}, {"names", valueOf(Texts{"x", "y"})}}, 1),
         "field 'areas' has 3 elements, and field 'names' has 2 elements"},
        {merged({}, {{"areas", areas}, {"names", valueOf(Texts{"x", "\xC3(", "z"})}}, 1), "not UTF-8"},
        {merged({}, {{"areas", areas}}, 1), "the same columns throughout; here they are tick,areas, and so far"},
        {valueOf('x'), "can't be written as a record"},
        {merged({}, {{"areas", valueOf('x')}}, 1), "field 'areas': a value of type"},
    };
    for (auto const &[bad, why] : cases) {
        std::string const left = written({good, bad});
        EXPECT_TRUE(left.starts_with(rows)) << left;
        expectParts(left.substr(rows.size()), {why});
        EXPECT_EQ(folder.read("out.csv"), rows);
    }
    expectParts(messageOf([&] { written({}, "a.csv", "xml"); }), {"option format: 'xml' is not auto, jsonl or csv"});
}

TEST_F(TextNodes, SelectElementsWithTheOtherListsInStep) {
    std::shared_ptr<Variant> const five = valueOf(Ints{30, 10, 20, 10, 40}),
                                   letters = valueOf(Texts{"a", "b", "c", "d", "e"});
    std::pair<Options, Texts> const cases[] = {
        {{}, {"a", "b", "c", "d", "e"}},
        {{{"least", 20}}, {"a", "c", "e"}},
        {{{"by", "five"}, {"least", 10}, {"most", 20}}, {"b", "c", "d"}},
        {{{"sort", "ascending"}}, {"b", "d", "c", "a", "e"}},
        {{{"sort", "descending"}}, {"e", "a", "c", "b", "d"}},
        {{{"sort", "descending"}, {"count", 2}}, {"e", "a"}},
        {{{"begin", 1}, {"count", 2}}, {"b", "c"}},
        {{{"begin", -2}}, {"d", "e"}},
        {{{"begin", -99}, {"count", 1}}, {"a"}},
        {{{"begin", 99}}, {}},
        {{{"count", 0}}, {}},
        {{{"least", 50}}, {}},
        {{{"by", "boxes.width"}, {"sort", "ascending"}}, {"b", "e", "d", "a", "c"}},
        {{{"by", "third.width"}, {"least", 3.1}}, {"a", "d"}},
        {{{"by", "boxes.area"}, {"most", 3}}, {"b", "e"}},
        {{{"by", "boxes.width"}, {"most", 3.1}, {"least", -infinity}}, {"b", "d", "e"}},
    };
    std::shared_ptr<Variant> const boxList =
        valueOf(Boxes{{0, 0, 4, 2}, {0, 0, 1, 2}, {0, 0, nan, 1}, {0, 0, 3.1f, 2}, {0, 0, 2, 1}});
    for (auto const &[options, expected] : cases) {
        Values const selected =
            run("SelectElements", options, {{"five", five}, {"letters", letters}, {"boxes", boxList}});
        EXPECT_EQ(held<Texts>(selected.at("second")), expected) << testing::PrintToString(expected);
        EXPECT_EQ(held<Ints>(selected.at("first")).size(), expected.size());
        EXPECT_EQ(held<Boxes>(selected.at("third")).size(), expected.size());
    }
}

TEST_F(TextNodes, SelectElementsOfEveryListAndShareTheFrames) {
    std::vector<Frame> const frames{Frame({1, 1}, 1), Frame({2, 2}, 2)};
    valueType<std::vector<Score>>();
    Lines const lines({2}, {{1, 2, 3, 4}});
    lines.first()[1] = {{5, 6, 7, 8}};
    std::vector<Mask> const masks{{{0, 0, 1, 1}, frames[0]}, {{0, 0, 2, 2}, frames[1]}};
    Values const last = run("SelectElements", {{"by", "scores"}, {"most", 0.5}, {"sort", "descending"}},
                            {{"frames", valueOf(frames)},
                             {"scores", valueOf(std::vector<Score>{{0.75}, {0.1}})},
                             {"lines", valueOf(lines)},
                             {"masks", valueOf(masks)}});
    EXPECT_EQ(held<std::vector<Frame>>(last.at("first")).at(0).data, frames[1].data);
    EXPECT_EQ(held<std::vector<Score>>(last.at("second")).at(0).value, 0.1);
    EXPECT_EQ(held<Lines>(last.at("third")).first()[0][2], 7);
    EXPECT_EQ(held<std::vector<Mask>>(last.at("fourth")).at(0).mask.data, frames[1].data);
    EXPECT_TRUE(held<Ints>(run("SelectElements", {{"sort", "ascending"}}, {{"none", none}}).at("first")).empty());

    std::tuple<Options, std::shared_ptr<Variant>, std::vector<std::string>> const wrong[] = {
        {{{"sort", "up"}}, names, {"option sort: 'up' is not none, ascending or descending"}},
        {{{"sort", "ascending"}, {"by", "B.x"}},
         names,
         {"'B.x' is not one of the streams 'a', 'b'", "did you mean 'b'?"}},
        {{{"sort", "ascending"}, {"by", "b"}}, names, {"option by: 'b' is not a number"}},
        {{{"least", 1}, {"by", "b.x"}}, names, {"'b' holds std::string, which has no part 'x'"}},
        {{{"least", "few"}}, names, {"option least: expected a number or none"}},
        {{{"most", nan}}, names, {"option most: expected a number or none"}},
        {{}, valueOf(7), {"stream 'b' holds int, which is not a list"}},
        {{}, none, {"stream 'a' has 3 elements, and stream 'b' has 0 elements"}},
    };
    for (auto const &[options, second, parts] : wrong)
        expectParts(messageOf([&, &o = options, &s = second] {
                        run("SelectElements", o, {{"a", areas}, {"b", s}});
                    }),
                    parts);
    expectParts(messageOf([&] {
                    OneNode(NodeConfig("SelectElements", {}, {{"first", "a"}}, {{"second", "b"}}));
                }),
                {"output 'second' has nothing to give"});
}

TEST_F(TextNodes, ReadOneFieldOfMergedRecords) {
    std::string const line = media::recordText(*merged({}, {{"boxes", boxes}, {"source", frame42()}}));
    folder.write(
        "in.jsonl",
        line + "\n[1]\n{\"boxes\":[1]}\n{\"o\":{\"boxes\":{}},\"boxes\":[],\"n\":null}\n{\"a\":1}\n{\"boxes\":[],\n" +
            "{\"boxes\":[],\"boxes\":[]}\n{\"boxes\":{}}\n" + std::string(100000, '[') + "\n");
    OneNode reader("ReadRecords",
                   Options{{"path", folder / "in.jsonl"}, {"type", "zun::List<zun::Box>"}, {"field", "boxes"}});
    auto const read = [&](Tick tick) { return reader.run({}, tick).at("out.value"); };
    EXPECT_EQ(media::recordText(*read(0)), media::recordText(*boxes));
    EXPECT_TRUE(held<Boxes>(read(3)).empty());
    std::pair<Tick, char const *> const wrong[] = {{1, "line 2: expected an object ({...}) with field 'boxes'"},
                                                   {2, "line 3: [0]: expected a list of 4 numbers"},
                                                   {4, "line 5: the object has no field 'boxes'; it has 'a'"},
                                                   {5, "line 6: not JSON from character"},
                                                   {6, "line 7: the object has field 'boxes' twice"},
                                                   {7, "line 8: field 'boxes': a record has lists"},
                                                   {8, "line 9: expected an object"}};
    for (auto const &[tick, why] : wrong) expectParts(messageOf([&, t = tick] { read(t); }), {why});
    expectParts(messageOf([&] { media::parseJson(line); }), {"option 'field' of ReadRecords"});
}

TEST_F(TextNodes, GiveAConstantItsNewValue) {
    OneNode node("Constant", [] {
        Options options{{"type", "zun::List<int>"}};
        options["value"] = OptionNode::ofVector({Option(1), Option(2)});
        return options;
    }());
    auto const value = [&] { return held<Ints>(node.run({}).at("out.value")); };
    EXPECT_EQ(value(), (Ints{1, 2}));
    VariantType<OptionNode> changed(OptionNode::ofVector({Option(1), Option(3)}));
    node.node->setOption("value", changed);
    EXPECT_EQ(value(), (Ints{1, 3}));
    VariantType<OptionNode> wrong{Option("x")};
    node.node->setOption("value", wrong);
    expectParts(messageOf([&] { value(); }), {"option value: expected a list"});
    node.node->setOption("value", changed);
    EXPECT_EQ(value(), (Ints{1, 3}));
}

} // namespace
} // namespace test
} // namespace zun
