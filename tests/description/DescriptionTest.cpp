#include "description/Description.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "description/Scalars.h"
#include "graph/Check.h"
#include "support/Mutations.h"
#include "support/TestNodes.h"

namespace zun::engine::test {
namespace {

using zun::test::mutated;

/// Reads a description and expects these diagnostics and no others.
Description read(std::string const &text, Overrides const &overrides = {}, Expected const &expected = {}) {
    SCOPED_TRACE(text.substr(0, 100));
    Description description = parseDescription(text, "f", overrides);
    expectDiagnostics(description.diagnostics, expected);
    return description;
}

TEST(Description, IsReadWithPlacesAndRawText) {
    auto const nodes = read(R"(variables: {photo: coffee.png, n: 3}
nodes:
  - type: ReadFrames
    name: reader
    outputs: {rgb: picture, grey: "-"}
    options:
      path: "${photo}"
      count: ${n}0
      label: $${n} costs 5$
  - type: Crop<Vec3b>
    inputs: {image: picture}
    limits: {output: -1}
)",
                            {{{"photo", "cat: 1.png"}}, {}})
                           .nodes;
    ASSERT_EQ(nodes.size(), 2u);
    NodeDescription const &reader = nodes[0], &crop = nodes[1];
    EXPECT_EQ(reader.label(), "'reader' (ReadFrames)");
    EXPECT_EQ(reader.place.text(), "f:3:5");
    EXPECT_EQ(reader.typePlace.text(), "f:3:11");
    EXPECT_EQ(reader.outputs[0].place.text(), "f:5:15");
    EXPECT_EQ(reader.options[0].value.stringValue, "cat: 1.png");
    EXPECT_EQ(reader.options[1].value.intValue, 30);
    EXPECT_EQ(reader.options[2].value.stringValue, "${n} costs 5$");
    EXPECT_EQ(crop.name, "Crop<Vec3b>");
    // A port that is left open is absent, as if it were not written at all.
    EXPECT_EQ(reader.config().getOutputs(), (std::map<std::string, std::string>{{"rgb", "picture"}}));
    EXPECT_EQ(crop.config().getLimits(), (std::map<std::string, int>{{"output", -1}}));
}

TEST(Description, NamesNodesByTheirTypeAndANumberWhereNeeded) {
    std::vector<std::string> names;
    for (NodeDescription const &node :
         read("nodes: [{type: A}, {type: B, name: A2}, {type: A}, {type: A}, {type: B}]").nodes)
        names.push_back(node.name);
    EXPECT_EQ(names, (std::vector<std::string>{"A", "A2", "A3", "A4", "B"}));
}

TEST(Description, SettingsReplaceOrAddOptions) {
    std::string const text = "nodes: [{type: A, name: a.b, options: {x: 1, y: 2}}]";
    Description const set = read(text, {{{"v", "7"}}, {"a.b.x=\"5\"", "a.b.z=${v}", "a.b.u=k=1"}});
    auto const options = set.nodes[0].config().getParsedOptions();
    EXPECT_EQ(options.at("x").type, OptionNode::Type::STRING);
    EXPECT_EQ(options.at("y").intValue, 2);
    EXPECT_EQ(options.at("z").intValue, 7);
    EXPECT_EQ(options.at("u").stringValue, "k=1");
    read(
        text, {{{"v", "7"}}, {"a.b.z=[1, ${v}]", "path=x"}},
        {{"setting 'a.b.z=[1, ${v}]': error: ", "not valid YAML"}, {"setting 'path=x': error: ", "node.option=value"}});
}

TEST(Description, ReportsAllThatIsWrongAtOnce) {
    std::pair<char const *, Expected> const lines[] = {
        // with what is expected, by column
        {"variables:", {}},
        {"  size: 2", {{"3: warning: ", "'size' is not used"}}},
        {"nodes:", {}},
        {"  - type: ReadFrames", {}},
        {"    name: reader", {}},
        {"    option: {colour: red}", {{"5: error: ", "did you mean 'options'?"}}},
        {"    outputs: picture", {{"14: error: ", "has to be a map"}}},
        {"  - name: reader", {{"5: error: ", "'reader', after the one at f:4:5"}}},
        {"    type: DrawPoints", {}},
        {"    options:", {}},
        {"      colour: #FF00FF", {{"7: error: ", "a comment unless it is in quotes"}}},
        {"      big: [9223372036854775808, 0x8000000000000000, 1e999]",
         {{"13: error: ", "out of range (64 bits"},
          {"34: error: ", "out of range (64 bits"},
          {"54: error: ", "out of range"}}},
        {"      map: {a: 1}", {{"12: error: ", "is a map"}}},
        {"      list: [~, {a: b}]", {{"13: error: ", "of option 'list' has no value"}, {"17: error: ", "is a map"}}},
        {"      named: ${siz}", {{"14: error: ", "did you mean 'size'?"}}},
        {"      open: ${size", {{"13: error: ", "without its }"}}},
        {"    inputs: {image: , points: [a]}",
         {{"14: error: ", "port 'image' is empty"}, {"31: error: ", "single text"}}},
        {"    limits: {o: 2.5, p: '2', q: 3000000000}",
         {{"14: error: ", "int of 32 bits"}, {"22: error: ", "int"}, {"30: error: ", "int"}}},
        {"  - just text", {{"5: error: ", "begins with '- type: ...'"}}},
        {"  - inputs: {x: y}", {{"5: error: ", "no 'type'"}}},
        {"colour: red", {{"1: error: ", "no key 'colour'"}}},
    };
    std::string text;
    Expected expected;
    for (int number = 1; auto const &[line, diagnostics] : lines) {
        text += line + std::string("\n");
        for (auto const &[begin, part] : diagnostics)
            expected.emplace_back("f:" + std::to_string(number) + ":" + begin, part);
        number++;
    }
    expected.insert(expected.end(), {{"variable 'sze': error: ", "did you mean 'size'?"},
                                     {"setting 'reade.path=x': error: ", "did you mean 'reader'?"},
                                     {"setting 'reader.path=': error: ", "has no value"}});
    read(text, {{{"sze", "3"}}, {"reade.path=x", "reader.path="}}, expected);
}

TEST(Description, RefusesWhatYamlHasAndDescriptionsDoNot) {
    std::string const huge(largestDescription + 1, ' '), deep = std::string(40, '[') + std::string(40, ']');
    std::string const nodes = "nodes: [{type: A}]\n";
    std::pair<std::string, Expected> const cases[] = {
        {"nodes: [{type: A, type: B}]", {{"f:1:19: error: ", "'type' comes twice, first at f:1:10"}}},
        {"nodes: [{type: A, options: {x: &a 1, y: *a}}]", {{"f:1:32: ", "anchors"}, {"f:1:41: ", "aliases"}}},
        {"nodes: [{type: A, <<: {name: b}}]", {{"f:1:19: error: ", "merge keys"}}},
        {"nodes: [{type: A, options: {x: !int 3}}]", {{"f:1:32: error: ", "tags"}}},
        {"nodes: [{type: A, [b]: c}]", {{"f:1:19: error: ", "has to be a text"}}},
        {nodes + "---\n" + nodes, {{"f:2:1: error: ", "second document"}}},
        {"{nodes: [{type: A}]}, {}", {{"f:1:21: error: ", "second document"}}},
        {"nodes: [{type: A, options: {x: " + deep + "}}]", {{"f:1:60: error: ", "nested deeper than 32"}}},
        {std::string("nodes: [{type: A\0}]", 19), {{"f:1:17: error: ", "control character"}}},
        {huge, {{"f: error: ", "4 MiB"}}},
        {"nodes:\n  - type: A: B", {{"f:2:12: error: ", "put a text with ': ' in it in quotes"}}},
        {"nodes:\n  - type: -\n", {{"f:2:11: error: ", "the stream name - in quotes"}}},
        {"nodes: [{type: A, name: ${x}}]", {{"f:1:26: error: ", "has to be in quotes: \"${x}\""}}},
        {"nodes: [{type: " + std::string(256, 'A') + "}]", {{"f:1:16: error: ", "longer than 255"}}},
        {"nodes: []", {{"f:1:8: error: ", "has to be a list"}}},
        {"nodes:", {{"f:1:1: error: ", "has to be a list"}}},
        {"node: [{type: A}]", {{"f:1:1: error: ", "did you mean 'nodes'?"}}},
        {"", {{"f:1:1: error: ", "a map with the key 'nodes'"}}},
        {"variables: {}", {{"f:1:1: error: ", "'nodes' is missing"}}},
        {"variables: {a: [b]}\nnodes: [{type: \"${a}\"}]", {{"f:1:13: error: ", "needs a text"}}},
    };
    for (auto const &[text, expected] : cases) read(text, {}, expected);
}

TEST(Description, VariablesCanNotMakeItHuge) {
    std::string text = "nodes:\n";
    for (int i = 0; i < 100; i++) text += "  - {type: A, options: {x: \"${long}\"}}\n";
    read(text, {{{"long", std::string(largestDescription / 10, 'x')}}, {}},
         Expected(90, {"f:", "larger than is read"}));
}

TEST(ParseValue, ResolvesPlainScalarsByTheCoreSchema) {
    using Type = OptionNode::Type;
    auto const parsed = [](char const *text, Type type) {
        OptionNode const value = parseValue(text);
        EXPECT_EQ(value.type, type) << text;
        EXPECT_EQ(value.text, text);
        return value;
    };
    for (char const *const text :
         {"yes", "0o17", "0x", "0xG", "-0x1", "1_000", "--1", "1e", "e3", ".", "1.2.3", "1 2", "inf", "coffee.png"})
        EXPECT_EQ(parsed(text, Type::STRING).stringValue, text);
    EXPECT_TRUE(parsed("true", Type::BOOL).boolValue);
    EXPECT_FALSE(parsed("False", Type::BOOL).boolValue);
    for (auto const &[text, value] :
         {std::pair("12", 12), {"-3", -3}, {"+5", 5}, {"0123", 123}, {"0xFF00FF", 0xFF00FF}})
        EXPECT_EQ(parsed(text, Type::INT).intValue, value);
    EXPECT_EQ(parseValue("-9223372036854775808").intValue, std::numeric_limits<std::int64_t>::min());
    double const infinity = std::numeric_limits<double>::infinity();
    for (auto const &[text, value] : {std::pair("0.50", 0.5),
                                      {".5", 0.5},
                                      {"-1.", -1.0},
                                      {"1e3", 1000.0},
                                      {"+1.5E-1", 0.15},
                                      {".inf", infinity},
                                      {"-.INF", -infinity}})
        EXPECT_EQ(parsed(text, Type::FLOAT).floatValue, value);
    EXPECT_TRUE(std::isnan(parsed(".nan", Type::FLOAT).floatValue));
    OptionNode const list = parseValue("[1, ['12', \"a b\"], 0x1F]");
    EXPECT_EQ(list.text, "[1, [12, a b], 0x1F]");
    EXPECT_EQ(list.vectorValue[1]->vectorValue[0]->stringValue, "12");
}

TEST(Description, NoTextBringsItDown) {
    registerTestNodes();
    std::string const sound = R"(variables: {n: 3, name: "it"}
nodes:
- type: TestSource
  outputs: {out: a}
  options:
    length: ${n}
    endsAt: 0x10
- {type: TestMix, name: "${name}", inputs: {a: a, b: a}, outputs: {out: b, second: "-"}, limits: {out: -1}} # both
- {type: TestFrame, inputs: {in: b}, outputs: {out: c}}
- type: TestSink
  inputs: {in: b}
  options:
    label: |
      text
)";
    std::vector<std::string> const signs{"*a", "&a ", "? ",  ": ",   "- ",  "[",     "]",     "{",   "}",    ",",
                                         "|",  ">",   "!x ", "<<: ", "#",   "---\n", "...\n", "\"",  "'",    "\n",
                                         "\t", "~",   "${",  "$${",  "%T ", "@",     "in",    "out", "\xff", "1e999"};
    std::mt19937 random(20);
    int passed = 0, checked = 0;
    for (int round = 0; round < 4000; round++) {
        Description const read = parseDescription(mutated(sound, signs, random), "f", {{{"n", "1"}}, {}});
        Graph const graph = check(read);
        for (Diagnostic const &one : graph.diagnostics) ASSERT_TRUE(one.place.line >= 0 && !one.message.empty());
        passed += graph.passed();
        checked += !read.nodes.empty();
    }
    EXPECT_GT(checked, 1000);
    EXPECT_GT(passed, 100); // not all of them were refused at the door
}

} // namespace
} // namespace zun::engine::test
