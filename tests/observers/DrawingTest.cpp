#include "observers/Drawing.h"

#include <gtest/gtest.h>

#include "graph/Check.h"
#include "observers/Graphviz.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::observers {
namespace {

engine::Graph graphOf(std::string const &nodes) {
    engine::test::registerTestNodes();
    return engine::check(engine::parseDescription("nodes:\n" + nodes, "d.yaml"));
}

TEST(Drawing, ShowsDescriptionsWithErrors) {
    for (auto const &[nodes, parts] :
         {std::pair<std::string, std::vector<std::string>>(
              "- {type: TestSorce, name: a, outputs: {out: n}}\n- {type: TestSink, inputs: {in: n}, options: {label: "
              "s}}\n",
              {"n0 -> n1 [label=\"n\\n", "n0 [label=\"a\\nTestSorce\\nhas an unknown type", "color=\"#c00000\""}),
          {"- {type: TestSink, inputs: {in: nothing}, options: {label: s}}\n", {"p0 -> n0"}},
          {"- {type: TestSource, outputs: {out: n}}\n- {type: TestSource, outputs: {out: n}}\n", {"writes it already"}},
          {"- {type: TestMix, inputs: {a: n}, outputs: {out: n}}\n", {"n0 -> n0"}},
          {"- {type: TestSource, name: 'a \"\\', outputs: {out: '{x|<y>}'}, options: {length: 1}}\n",
           {"a \\\"\\\\", "#d07000", "style=dashed"}},
          {"- {type: TestSource, name: x, outputs: {out: a}}\n- {type: TestSnk, name: x, inputs: {in: a}}\n",
           {"d.yaml:3:3: error: a second node with the name 'x'", "n0 [label=\"x\\nTestSource\"];"}}}) {
        std::string const dot = drawing(graphOf(nodes));
        zun::test::expectParts(dot, parts);
        EXPECT_TRUE(graphviz(dot, "plain").starts_with("graph ")) << dot;
    }
}

TEST(Drawing, ColoursNodesByTheirShareOfTheTime) {
    RunStatistics run;
    run.nodes.resize(2);
    run.nodes[0].name = "source";
    run.nodes[0].share = 0.25;
    run.nodes[0].meanMilliseconds = 1.25;
    run.nodes[1].name = "gone";
    std::string const dot = drawing(graphOf("- {type: TestSource, name: source, outputs: {out: n}}\n"
                                            "- {type: TestSink, name: sink, inputs: {in: n}, options: {label: s}}\n"),
                                    &run);
    zun::test::expectParts(dot, {"n0 [label=\"source\\nTestSource\\n1.25 ms, 25 %\", fillcolor=\"0.08 0.250 1.0\"]",
                                 "n1 [label=\"sink\\nTestSink\"]"});
}

} // namespace
} // namespace zun::observers
