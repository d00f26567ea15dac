// What descriptions say of texts that YAML takes for something else.
#include <gtest/gtest.h>

#include "description/Description.h"
#include "support/TestNodes.h"

namespace zun::engine::test {
namespace {

TEST(YamlHints, SayHowItIsWritten) {
    std::string const node = "nodes:\n  - type: A\n    ";
    std::pair<std::string, Expected> const cases[] = {
        {"nodes:\n\t- type: A\n", {{"f:2:2: error: ", "indented with a tab"}}},
        {node + "options:\n\t\t\tpath: 3\n", {{"f:4:4: error: ", "indented with a tab"}}},
        {node + "options:\n    \tpath: 3\n", {{"f:4:10: error: ", "indented with a tab"}}},
        {node + "options: {path: ${photo}}\n",
         {{"f:3:22: error: ", "within { } or [ ] has to be in quotes: \"${photo}\""}}},
        {node + "options: {first: 2, path: a/${p}.png, n: 2}\n", {{"f:3:34: error: ", "in quotes: \"a/${p}.png\""}}},
        {node + "options: {sizes: [2,${p}]}\n", {{"f:3:26: error: ", "in quotes: \"${p}\""}}},
        {node + "options: {path: out/{stem}.png}\n",
         {{"f:3:25: error: ", "with braces has to be in quotes: \"out/{stem}.png\""}}},
        {node + "options:\n      path: {stem}.png\n", {{"f:4:19: error: ", "in quotes: \"{stem}.png\""}}},
        {node + "options: {colour: #FF00FF}\n    name: a\n", {{"f:4:", "in line 3 what follows # is a comment"}}},
        {node + "options: {colour: #FF00FF, x: 1}\n    name: a\n", {{"f:4:", "write \"#FF00FF\""}}},
        {node + "options: {colour: red # a comment\n    name: a\n", {{"f:4:", "close it"}}},
        {node + "options:\n      colour: #FF00FF # magenta\n", {{"f:4:7: error: ", "in quotes; write \"#FF00FF\""}}},
        {node + "options:\n      colour:   # to do\n", {{"f:4:7: error: ", "an empty text is written \"\""}}},
        {node + "name: #1\n", {{"f:3:5: error: ", "write \"#1\""}}},
        {"variables: {n: a}\nnodes: [{type: A, name: \"${n}\"}]\n", {}},
        {"variables:\n  n: #a\nnodes: [{type: A, name: \"${n}\"}]\n", {{"f:2:3: error: ", "write \"#a\""}}},
    };
    for (auto const &[text, expected] : cases) {
        SCOPED_TRACE(text);
        expectDiagnostics(parseDescription(text, "f", {}).diagnostics, expected);
    }
    expectDiagnostics(parseDescription("nodes: [{type: A, name: a}]", "f", {{}, {"a.colour=#FF00FF"}}).diagnostics,
                      {{"setting 'a.colour=#FF00FF': error: ", "write \"#FF00FF\""}});
}

} // namespace
} // namespace zun::engine::test
