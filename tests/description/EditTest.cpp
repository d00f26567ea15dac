#include "description/Edit.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "containers/Exception.h"
#include "description/Description.h"
#include "description/Diff.h"
#include "description/SourceText.h"
#include "support/Mutations.h"
#include "support/TemporaryFolder.h"

namespace zun::engine::test {
namespace {

using zun::test::mutated, zun::test::readBytes;

/// The text after option x of node A got a value, or was removed; or a message.
std::string edited(std::string const &text, char const *value, std::string const &node = "A") {
    std::map<std::string, std::string> given{{"given", "5"}};
    if (text.find("${given}") == std::string::npos) given.clear();
    try {
        return (value == nullptr ? removeOption(text, node, "x", given) : editOption(text, node, "x", value, given))
            .text;
    } catch (Exception const &error) {
        return error.what();
    }
}

struct Case {
    char const *before, *value, *after; ///< the lines of a node but for the first; or what to expect in a message
};

void expectEdits(std::string const &begin, std::vector<Case> const &cases) {
    std::string const end = "\n  - {type: B, options: {x: \"${given}\"}} # {x: 1}\n";
    for (auto const &[before, value, after] : cases) {
        SCOPED_TRACE(before + std::string(" <- ") + (value == nullptr ? "nothing" : value));
        std::string const text = edited(begin + before + end, value);
        if (text.starts_with(begin))
            EXPECT_EQ(text, begin + after + end);
        else
            EXPECT_NE(text.find(after), std::string::npos) << text;
    }
}

TEST(Edit, ChangesTheValueAlone) {
    expectEdits(
        "# ü\nnodes:\n  - type: A # 'x: \"1\n    name: A\n    options",
        {
            {": {n: 'ü,', x: 1 ,y: 2} # x: 1", "0x10", ": {n: 'ü,', x: 0x10 ,y: 2} # x: 1"},
            {":\n      x:\t1\t# one\n      y: 2", "-.5", ":\n      x:\t-.5\t# one\n      y: 2"},
            {":\n      x: 'it''s'   # a", "\"don't\"", ":\n      x: 'don''t'   # a"},
            {":\n      x: \"a\\\"#\" # a", "b c", ":\n      x: \"b c\" # a"},
            {":\n      x: red # a", "'#FF8000'", ":\n      x: \"#FF8000\" # a"},
            {":\n      x: red, green", "'blue, red'", ":\n      x: blue, red"},
            {": {x: red}", "blue, red", ": {x: \"blue, red\"}"},
            {": {x: red}", "'true'", ": {x: \"true\"}"},
            {": {x: 'a'}", "\"\\t\\\\\"", ": {x: \"\\x09\\\\\"}"},
            {": {x: 'a'}", "true", ": {x: true}"},
            {": {\"x\": [1, [\"]\", '#']], y: 2}", "[2, 'a]', b]", ": {\"x\": [2, \"a]\", b], y: 2}"},
            {": {x: [1,\n      2], y: 2}", "3", ": {x: 3, y: 2}"},
            {": {x: [1, # one\n      2], y: 2}", "3",
             "'x' can't be changed in place: comments stand between its lines"},
            {":\n      x:\n      - 1\n      - [2, 3]\n      y: 2", "[4]", ":\n      x: [4]\n      y: 2"},
            {":\n      x: # some\n        - 1", "[4]", "comments stand between its lines"},
            {":\n      x: # one\n        long\n\n        text # two", "1", ":\n      x: # one\n        1 # two"},
            {":\n      x: |\n        # text\n\n         b\n\n       # no text\n      y: 2", "'a: b'",
             ":\n      x: \"a: b\"\n\n       # no text\n      y: 2"},
            {":\n      x: |2\n          b", "1", "written in a way that can't be changed in place"},
            {": {x: 1}", "{a: b}", "is a map, but a value is a bool, a number, a text or a list"},
            {": {x: a}", "b${given}", "put it in quotes"},
            {": {x: a}", "\"b${given}\"", ": {x: \"b${given}\"}"},
            {": {x: \"a${given}\"}", "c", ": {x: \"c\"}"},
            {":\n      x: ${given}", "6", "x takes its value from -D given=...; change it there"},
        });
}

TEST(Edit, AddsAndRemovesOptions) {
    expectEdits(
        "nodes:\r\n  - type: A",
        {
            {" # a", "1", " # a\r\n    options: {x: 1}"},
            {"\r\n    inputs:\r\n      a: b # c", "'1'",
             "\r\n    inputs:\r\n      a: b # c\r\n    options: {x: \"1\"}"},
            {"\r\n    options: # none", "1", "\r\n    options: {x: 1} # none"},
            {"\r\n    options: ~", "1", "\r\n    options: {x: 1}"},
            {"\r\n    options: { }", "a, b", "\r\n    options: {x: \"a, b\"}"},
            {"\r\n    options: {y: [2, 3], # y\r\n    }", "1", "\r\n    options: {y: [2, 3], x: 1, # y\r\n    }"},
            {"\r\n    options:\r\n      y: 2 # y\r\n\r\n    # z", "a, b",
             "\r\n    options:\r\n      y: 2 # y\r\n      x: a, b\r\n\r\n    # z"},
            {"\r\n    options: {y: 2, x: 1}", nullptr, "\r\n    options: {y: 2}"},
            {"\r\n    options: {x: 1, y: 2}", nullptr, "\r\n    options: {y: 2}"},
            {"\r\n    options: {x: 1}", nullptr, "\r\n    options: {}"},
            {"\r\n    options: {x: 1, # x\r\n      y: 2}", nullptr, "comments stand between its lines"},
            {"\r\n    options:\r\n      x: 'a\r\n        b'\r\n      y: 2", nullptr, "\r\n    options:\r\n      y: 2"},
            {"\r\n    options:\r\n      x: 1 # x", nullptr, "\r\n    options:\r\n      # x"},
            {"\r\n    options: {y: 2}", nullptr, "\r\n    options: {y: 2}"},
        });
}

TEST(Edit, ChangesTheDefaultOfAVariableInItsPlace) {
    std::string const text = "variables: {v: \"1\", w: a}\nnodes:\n- {type: A, options: {x: \"${v}\"}}\n"
                             "- type: A\n  name: ${w}\n  options:\n    x: ${v}\n    y: ${v}${w}\n";
    auto const with = [&](std::string const &defaults) { return "variables: {" + defaults + text.substr(25); };
    EXPECT_EQ(edited(text, "'#F'"), with("v: \"#F\", w: a}"));
    EXPECT_EQ(edited(text, "2", "a"), with("v: \"2\", w: a}"));
    EXPECT_NE(edited(text, "'2'", "a").find("can't be changed in place"), std::string::npos); // would be an int
    EXPECT_NE(edited(text, "[2]").find("variable 'v', which holds a text and not a list"), std::string::npos);
    EXPECT_EQ(edited(text, "2", "A2"), "no node has the name 'A2'; known are 'A', 'a'");
    TextEdit const edit = editOption(text, "a", "x", "2", {});
    EXPECT_EQ(edit.variable, "v");
    EXPECT_EQ(edit.place.column, 16);
    // The last use of a variable that is given can't go, because giving it would be an error.
    EXPECT_NE(edited("nodes: [{type: A, options: {x: \"a${given}\"}}]", "2").find("doesn't use ${given}"),
              std::string::npos);
}

/// Each option of a description, with the number of its node, as it stands in the file.
std::vector<std::pair<std::size_t, YamlEntry>> optionsIn(std::string const &text) {
    DiagnosticList unused;
    std::vector<std::pair<std::size_t, YamlEntry>> options;
    YamlNode const root = parseYaml(text, {"f", true}, unused).value();
    for (YamlEntry const &top : root.entries)
        for (std::size_t i = 0; i < top.value.items.size(); i++)
            for (YamlEntry const &field : top.value.items[i].entries)
                if (field.key.text == "options")
                    for (YamlEntry const &option : field.value.entries) options.emplace_back(i, option);
    return options;
}

TEST(Edit, ChangesOneLineOfEachExample) {
    int edits = 0;
    for (std::filesystem::path const folder : {ZUN_EXAMPLES, ZUN_EXAMPLES "/nodes"})
        for (auto const &entry : std::filesystem::directory_iterator(folder)) {
            std::filesystem::path const &file = entry.path();
            if (file.extension() != ".yaml") continue;
            std::string const text = readBytes(file);
            Description const description = parseDescription(text, "f");
            for (auto const &[index, option] : optionsIn(text)) {
                std::string const &node = description.nodes[index].name, &name = option.key.text;
                SCOPED_TRACE(file.string() + ": " + node + "." + name);
                auto const [begin, end, comments] = SourceText(text).extent(option.value);
                EXPECT_EQ(editOption(text, node, name, text.substr(begin, end - begin), {}).text, text);
                bool const isList = option.value.kind == YamlNode::Kind::List;
                char const *const other = isList ? "[7]" : option.value.quoted ? "\"a b\"" : "77";
                std::string const diff = unifiedDiff(text, editOption(text, node, name, other, {}).text, "f");
                EXPECT_TRUE(diff.find("\n-", 8) == diff.rfind("\n-") && diff.ends_with('\n')) << diff;
                edits++;
            }
        }
    EXPECT_GT(edits, 100);
}

/// The options of all nodes, as texts.
std::string valuesIn(Description const &description) {
    EXPECT_FALSE(hasErrors(description.diagnostics));
    std::string all;
    for (NodeDescription const &node : description.nodes)
        for (auto const &[name, value] : node.config().getParsedOptions())
            all += node.label() + "." + name + "=" + value.getTypeExpression() + " " + value.text + "\n";
    return all;
}

TEST(Edit, DoesWhatASettingDoesOrRefuses) {
    std::string const sound = "\xEF\xBB\xBFnodes:\n- type: A\n  options: # one\n    y: [a,\n     \"b\"]\n    x:\n"
                              "    - 1\n    - 'two'\n    z: >\n     text\n- {type: B, options: {x: 3, w: \"#\"},}\n";
    std::vector<std::string> const signs{"#",  " # ", "\n", "\r\n", "    ", "\t", "'",  "\"",
                                         "[",  "]",   "{",  "}",    ",",    ": ", "- ", "|",
                                         "? ", "! ",  "~",  "x",    "null", "\\", "ü",  "\n    x: "};
    auto const hashes = [](std::string const &in) { return std::count(in.begin(), in.end(), '#'); };
    std::mt19937 random(7);
    int done = 0;
    for (int round = 0; round < 3000; round++) {
        std::string const text = mutated(sound, signs, random), node = random() % 2 == 0 ? "A" : "B";
        std::string const value = std::vector{"7", "[1, 'a, b']", "a: b", "\"x # y\"", "'two'", "~"}[random() % 6];
        SCOPED_TRACE(text + "\n<- " + node + ".x=" + value);
        try {
            std::string const after = editOption(text, node, "x", value, {}).text;
            std::string const before = valuesIn(parseDescription(text, "f")),
                              values = valuesIn(parseDescription(after, "f"));
            EXPECT_EQ(values, valuesIn(parseDescription(text, "f", {{}, {node + ".x=" + value}})));
            EXPECT_EQ(hashes(after) - hashes(values), hashes(text) - hashes(before)); // no comment is lost
            std::string const removed = removeOption(after, node, "x", {}).text;
            EXPECT_EQ(valuesIn(parseDescription(removed, "f")).find("'" + node + "' (" + node + ").x="),
                      std::string::npos);
            EXPECT_EQ(valuesIn(parseDescription(editOption(removed, node, "x", value, {}).text, "f")), values);
            done++;
        } catch (Exception const &refusal) {
            EXPECT_GT(std::string(refusal.what()).size(), 10u);
        }
    }
    EXPECT_GT(done, 500);
}

TEST(UnifiedDiff, ShowsChangesWithTheirSurroundings) {
    EXPECT_EQ(unifiedDiff("a\nb", "a\nb", "f"), "");
    EXPECT_EQ(unifiedDiff("", "a\n", "f"), "--- f\n+++ f\n@@ -0,0 +1 @@\n+a\n");
    EXPECT_EQ(unifiedDiff("1\n2\n3\n4\n5\n6\n7\n8\n9\n0\n1\n2\n3\n", "0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n1\n2\n4", "f"),
              "--- f\n+++ f\n@@ -1,3 +1,4 @@\n+0\n 1\n 2\n 3\n@@ -7,7 +8,6 @@\n 7\n 8\n 9\n-0\n 1\n 2\n-3\n+4\n"
              "\\ No newline at end of file\n");
    std::string many, others;
    for (int i = 0; i < 5000; i++) many += std::to_string(i) + "\n", others += std::to_string(-i - 1) + "\n";
    EXPECT_EQ(unifiedDiff("a\n" + many, "a\n" + others, "f").substr(0, 41),
              "--- f\n+++ f\n@@ -1,5001 +1,5001 @@\n a\n-0\n-");
}

} // namespace
} // namespace zun::engine::test
