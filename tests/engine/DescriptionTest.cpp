#include "engine/Description.h"

#include <cmath>
#include <fstream>
#include <random>

#include <gtest/gtest.h>

#include "engine/Check.h"
#include "engine/TestNodes.h"
#include "support/Failures.h"

namespace zun::engine::test {
namespace {

using zun::test::messageOf;

/// Expects these findings and no others, each given by its beginning and a part of its message.
void expectFindings(Findings const &findings, std::vector<std::pair<std::string, std::string>> const &expected) {
    for (std::size_t i = 0; i < std::max(findings.size(), expected.size()); i++) {
        std::string const text = i < findings.size() ? findings[i].text() : "nothing";
        auto const &[begin, part] = i < expected.size() ? expected[i] : std::pair<std::string, std::string>("", "");
        EXPECT_TRUE(i < expected.size()) << "not expected: " << text;
        EXPECT_TRUE(text.starts_with(begin) && text.find(part) != std::string::npos)
            << "found:    " << text << "\nexpected: " << begin << " ... " << part;
    }
}

TEST(Description, IsReadWithPlacesAndRawText) {
    Findings findings;
    Description const read = parseDescription("variables: {photo: coffee.png, n: 3}\n"
                                              "nodes:\n"
                                              "  - type: ReadFrames\n"
                                              "    name: reader\n"
                                              "    outputs: {rgb: picture, grey: \"-\"}\n"
                                              "    options:\n"
                                              "      path: \"${photo}\"\n"
                                              "      count: ${n}0\n"
                                              "      label: $${n} costs 5$\n"
                                              "  - type: Crop<Vec3b>\n"
                                              "    inputs: {image: picture}\n"
                                              "    limits: {output: -1}\n",
                                              "f", {{{"photo", "cat: 1.png"}}, {}}, findings);
    expectFindings(findings, {});
    ASSERT_EQ(read.nodes.size(), 2u);
    NodeDescription const &reader = read.nodes[0], &crop = read.nodes[1];
    EXPECT_EQ(reader.label(), "'reader' (ReadFrames)");
    EXPECT_EQ(reader.place.text(), "f:3:5");
    EXPECT_EQ(reader.typePlace.text(), "f:3:11");
    EXPECT_EQ(reader.outputs[0].place.text(), "f:5:15");
    EXPECT_EQ(reader.options[0].value.stringValue, "cat: 1.png");
    EXPECT_EQ(reader.options[1].value.intValue, 30);
    EXPECT_EQ(reader.options[2].value.stringValue, "${n} costs 5$");
    EXPECT_EQ(crop.name, "Crop<Vec3b>");
    EXPECT_EQ(crop.limits[0].limit, -1);
    // A port that is left open is absent, as if it were not written at all.
    EXPECT_EQ(reader.config().getOutputs(), (std::map<std::string, std::string>{{"rgb", "picture"}}));
    EXPECT_EQ(crop.config().getLimits(), (std::map<std::string, int>{{"output", -1}}));
}

TEST(Description, NamesNodesByTheirTypeAndANumberWhereNeeded) {
    Findings findings;
    Description const read =
        parseDescription("nodes: [{type: A}, {type: B, name: A2}, {type: A}, {type: A}, {type: B}]", "f", {}, findings);
    expectFindings(findings, {});
    std::vector<std::string> names;
    for (NodeDescription const &node : read.nodes) names.push_back(node.name);
    EXPECT_EQ(names, (std::vector<std::string>{"A", "A2", "A3", "A4", "B"}));
}

TEST(Description, SettingsReplaceOrAddOptions) {
    Findings findings;
    Description const read = parseDescription("nodes: [{type: A, name: a.b, options: {x: 1, y: 2}}]", "f",
                                              {{{"v", "7"}}, {"a.b.x=\"5\"", "a.b.z=[1, ${v}]", "path=x"}}, findings);
    expectFindings(findings, {{"setting 'a.b.z=[1, ${v}]': error: ", "not valid YAML"},
                              {"setting 'path=x': error: ", "node.option=value"}});
    findings.clear();
    Description const again = parseDescription("nodes: [{type: A, name: a.b, options: {x: 1, y: 2}}]", "f",
                                               {{{"v", "7"}}, {"a.b.x=\"5\"", "a.b.z=${v}", "a.b.u=k=1"}}, findings);
    expectFindings(findings, {});
    auto const options = again.nodes[0].config().getParsedOptions();
    EXPECT_EQ(options.at("x").type, OptionNode::Type::STRING);
    EXPECT_EQ(options.at("y").intValue, 2);
    EXPECT_EQ(options.at("z").intValue, 7);
    EXPECT_EQ(options.at("u").stringValue, "k=1");
}

TEST(Description, ReportsAllThatIsWrongAtOnce) {
    Overrides const overrides{{{"sze", "3"}}, {"reade.path=x", "reader.path="}};
    Findings findings;
    parseDescription("variables:\n"
                     "  size: 2\n"
                     "nodes:\n"
                     "  - type: ReadFrames\n"
                     "    name: reader\n"
                     "    option: {colour: red}\n" // 6
                     "    outputs: picture\n"
                     "  - name: reader\n" // 8
                     "    type: DrawPoints\n"
                     "    options:\n"
                     "      colour: #FF00FF\n" // 11
                     "      big: 99999999999999999999\n"
                     "      map: {a: 1}\n"
                     "      list: [1, ~, {a: b}]\n"
                     "      named: ${siz}\n" // 15
                     "      open: ${size\n"
                     "    inputs: {image: , points: [a]}\n"
                     "    limits: {output: 2.5, other: 3000000000, third: '2'}\n" // 18
                     "  - just text\n"
                     "  - inputs: {x: y}\n" // 20
                     "colour: red\n",
                     "f", overrides, findings);
    expectFindings(findings, {{"f:2:3: warning: ", "'size' is not used"},
                              {"f:6:5: error: ", "did you mean 'options'?"},
                              {"f:7:14: error: ", "has to be a map"},
                              {"f:8:5: error: ", "'reader', after the one at f:4:5"},
                              {"f:11:7: error: ", "a comment unless it is in quotes"},
                              {"f:12:12: error: ", "out of range (64 bits"},
                              {"f:13:12: error: ", "is a map"},
                              {"f:14:13: error: ", "an element of option 'list' has no value"},
                              {"f:14:20: error: ", "an element of option 'list' is a map"},
                              {"f:15:14: error: ", "did you mean 'size'?"},
                              {"f:16:13: error: ", "without its }"},
                              {"f:17:14: error: ", "the stream of port 'image' is empty"},
                              {"f:17:31: error: ", "single text"},
                              {"f:18:14: error: ", "int of 32 bits"},
                              {"f:18:27: error: ", "int of 32 bits"},
                              {"f:18:46: error: ", "int of 32 bits"},
                              {"f:19:5: error: ", "begins with '- type: ...'"},
                              {"f:20:5: error: ", "no 'type'"},
                              {"f:21:1: error: ", "no key 'colour'"},
                              {"variable 'sze': error: ", "did you mean 'size'?"},
                              {"setting 'reade.path=x': error: ", "did you mean 'reader'?"},
                              {"setting 'reader.path=': error: ", "has no value"}});
}

TEST(Description, RefusesWhatYamlHasAndDescriptionsDoNot) {
    std::string const huge(largestDescription + 1, ' '), deep = std::string(40, '[') + std::string(40, ']');
    struct Case {
        std::string text;
        std::vector<std::pair<std::string, std::string>> findings;
    };
    std::string const nodes = "nodes: [{type: A}]\n";
    std::vector<Case> const cases{
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
        {"nodes: [{type: A, name: ${x}}]", {{"f:1:26: error: ", "put a ${name} within { } or [ ] in quotes"}}},
        {"nodes: [{type: " + std::string(256, 'A') + "}]", {{"f:1:16: error: ", "longer than 255"}}},
        {"nodes: []", {{"f:1:8: error: ", "has to be a list"}}},
        {"nodes:", {{"f:1:1: error: ", "has to be a list"}}},
        {"node: [{type: A}]", {{"f:1:1: error: ", "did you mean 'nodes'?"}}},
        {"", {{"f:1:1: error: ", "a map with the key 'nodes'"}}},
        {"variables: {}", {{"f:1:1: error: ", "'nodes' is missing"}}},
        {"variables: {a: [b]}\nnodes: [{type: \"${a}\"}]", {{"f:1:13: error: ", "needs a text"}}},
    };
    for (Case const &c : cases) {
        SCOPED_TRACE(c.text.substr(0, 100));
        Findings findings;
        parseDescription(c.text, "f", {}, findings);
        expectFindings(findings, c.findings);
    }
}

TEST(Description, VariablesCanNotMakeItHuge) {
    std::string text = "nodes:\n";
    for (int i = 0; i < 100; i++) text += "  - {type: A, options: {x: \"${long}\"}}\n";
    Findings findings;
    Description const read =
        parseDescription(text, "f", {{{"long", std::string(largestDescription / 10, 'x')}}, {}}, findings);
    EXPECT_EQ(findings.size(), 90u);
    EXPECT_NE(findings[0].text().find("larger than is read"), std::string::npos);
}

TEST(Description, AFileThatCanNotBeReadIsAFinding) {
    for (auto const &[file, reason] :
         {std::pair("/nowhere/f.yaml", "No such file"), std::pair("/", "Is a directory")}) {
        Findings findings;
        EXPECT_TRUE(readDescription(file, {}, findings).nodes.empty());
        expectFindings(findings, {{std::string(file) + ": error: can't be read: ", reason}});
    }
    std::string const path = testing::TempDir() + "description.yaml";
    std::ofstream(path) << "nodes: [{type: A}]";
    Findings findings;
    EXPECT_EQ(readDescription(path, {}, findings).nodes.size(), 1u);
    expectFindings(findings, {});
}

TEST(ParseValue, ResolvesPlainScalarsByTheCoreSchema) {
    using Type = OptionNode::Type;
    struct Case {
        char const *text;
        Type type;
        double number = 0;
    };
    double const infinity = std::numeric_limits<double>::infinity();
    for (Case const &c : {Case{"true", Type::BOOL, 1},
                          {"False", Type::BOOL, 0},
                          {"yes", Type::STRING},
                          {"12", Type::INT, 12},
                          {"-3", Type::INT, -3},
                          {"+5", Type::INT, 5},
                          {"0123", Type::INT, 123},
                          {"0xFF00FF", Type::INT, 0xFF00FF},
                          {"0o17", Type::STRING},
                          {"0x", Type::STRING},
                          {"0xG", Type::STRING},
                          {"-0x1", Type::STRING},
                          {"1_000", Type::STRING},
                          {"--1", Type::STRING},
                          {"0.50", Type::FLOAT, 0.5},
                          {".5", Type::FLOAT, 0.5},
                          {"-1.", Type::FLOAT, -1},
                          {"1e3", Type::FLOAT, 1000},
                          {"+1.5E-1", Type::FLOAT, 0.15},
                          {"1e", Type::STRING},
                          {"e3", Type::STRING},
                          {".", Type::STRING},
                          {"1.2.3", Type::STRING},
                          {"1 2", Type::STRING},
                          {".inf", Type::FLOAT, infinity},
                          {"-.INF", Type::FLOAT, -infinity},
                          {"inf", Type::STRING},
                          {"-9223372036854775808", Type::INT, -9223372036854775808.0},
                          {"coffee.png", Type::STRING}}) {
        SCOPED_TRACE(c.text);
        OptionNode const value = parseValue(c.text);
        EXPECT_EQ(value.type, c.type);
        EXPECT_EQ(value.text, c.text);
        switch (c.type) {
        case Type::BOOL:
            EXPECT_EQ(value.boolValue, c.number != 0);
            break;
        case Type::INT:
            EXPECT_EQ(static_cast<double>(value.intValue), c.number);
            break;
        case Type::FLOAT:
            EXPECT_EQ(value.floatValue, c.number);
            break;
        default:
            EXPECT_EQ(value.stringValue, c.text);
        }
    }
    EXPECT_TRUE(std::isnan(parseValue(".nan").floatValue));
    for (char const *text : {"\"12\"", "'12'"}) EXPECT_EQ(parseValue(text).stringValue, "12") << text;
}

TEST(ParseValue, ReadsLists) {
    OptionNode const list = parseValue("[1, [0.50, 'a b'], 0x1F]");
    EXPECT_EQ(list.type, OptionNode::Type::VECTOR);
    EXPECT_EQ(list.text, "[1, [0.50, a b], 0x1F]");
    EXPECT_EQ(list.vectorValue[1]->vectorValue[1]->type, OptionNode::Type::STRING);
    EXPECT_EQ(convertOption<Vec2i>(parseValue("[3, 0x10]")), (Vec2i{3, 16}));
}

TEST(ParseValue, RefusesWhatIsNoValue) {
    for (auto const &[text, reason] :
         {std::pair("", "has no value"), std::pair("~", "has no value"), std::pair("#FF00FF", "in quotes"),
          std::pair("{a: b}", "is a map"), std::pair("a: b", "is a map"), std::pair("[1", "not valid YAML"),
          std::pair("9223372036854775808", "out of range"), std::pair("0xFFFFFFFFFFFFFFFF", "out of range"),
          std::pair("1e999", "out of range")})
        EXPECT_NE(messageOf([&, value = text] { parseValue(value); }).find(reason), std::string::npos)
            << text << ": " << messageOf([&, value = text] { parseValue(value); });
}

/// Texts near to a description: pieces removed, repeated, swapped for YAML's own signs, bytes changed.
TEST(Description, NoTextBringsItDown) {
    registerTestNodes();
    std::string const sound = "variables: {n: 3, name: \"it\"}\n"
                              "nodes:\n"
                              "- type: TestSource\n"
                              "  outputs: {out: a}\n"
                              "  options:\n"
                              "    length: ${n}\n"
                              "    endsAt: 0x10\n"
                              "- type: TestMix # both\n"
                              "  name: ${name}\n"
                              "  inputs: {a: a, b: a}\n"
                              "  outputs: {out: b, second: \"-\"}\n"
                              "  limits: {out: -1}\n"
                              "- {type: TestFrame, inputs: {in: b}, outputs: {out: c}}\n"
                              "- type: TestSink\n"
                              "  inputs: {in: b}\n"
                              "  options:\n"
                              "    label: |\n"
                              "      text\n";
    std::vector<std::string> const signs{"*a", "&a ", "? ",  ": ",   "- ",  "[",     "]",     "{",   "}",    ",",
                                         "|",  ">",   "!x ", "<<: ", "#",   "---\n", "...\n", "\"",  "'",    "\n",
                                         "\t", "~",   "${",  "$${",  "%T ", "@",     "in",    "out", "\xff", "1e999"};
    std::mt19937 random(20);
    auto const below = [&](std::size_t end) { return end == 0 ? 0 : random() % end; };
    int passed = 0, checked = 0;
    for (int round = 0; round < 4000; round++) {
        std::string text = sound;
        for (std::size_t i = below(4) + 1; i-- > 0;) {
            std::size_t const at = below(text.size()), length = below(12);
            switch (below(4)) {
            case 0:
                text.erase(at, length);
                break;
            case 1:
                text.insert(at, text.substr(below(text.size()), length));
                break;
            case 2:
                text.insert(at, signs[below(signs.size())]);
                break;
            default:
                text[at] = static_cast<char>(below(256));
            }
        }
        Findings findings;
        Description const read = parseDescription(text, "f", {{{"n", "1"}}, {}}, findings);
        CheckReport const report = check(read, {{"TestPaint", {.changesInPlace = {"in"}}}});
        findings.insert(findings.end(), report.findings.begin(), report.findings.end());
        for (Finding const &finding : findings) ASSERT_TRUE(finding.place.line >= 0 && !finding.message.empty());
        passed += !hasErrors(findings);
        checked += !read.nodes.empty();
    }
    EXPECT_GT(checked, 1000);
    EXPECT_GT(passed, 100); // not all of them were refused at the door
}

} // namespace
} // namespace zun::engine::test
