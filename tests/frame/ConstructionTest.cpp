#include <gtest/gtest.h>

#include "support/Failures.h"
#include "support/OneNode.h"

namespace zun {
namespace {

OptionNode pair(int a, int b) { return OptionNode::ofVector({OptionNode::ofInt(a), OptionNode::ofInt(b)}); }

/// A configuration of the Probe with everything wrong, from which tests take one fault after the other.
struct Faulty {
    std::string type = "Other";
    std::map<std::string, OptionNode> options{{"number", OptionNode::ofString("ten")}};
    std::map<std::string, std::string> inputs;

    void build() const {
        NodeConfig const config(type, options, inputs);
        std::unique_ptr<PipelineNode>(NodeRegistry::find("Probe")->factory({nullptr, 0}, config));
    }
};

TEST(Construction, FailsAtTheFirstFaultInTheStatedOrder) {
    Faulty config;
    auto const build = [&] { config.build(); };
    test::expectFailureAt(build, "Attempt to convert OptionNode 'ten' of type std::string to int32_t",
                          "pipeline/config/OptionNode:177");
    config.options.clear();
    test::expectFailureAt(build, "No value specified for Option \"size\" in a node of type Probe", "frame/Probe:");
    config.options["size"] = pair(1, 2);
    test::expectFailureAt(build, "No value specified for Input \"image\" in a node of type Probe", "frame/Probe:");
    config.inputs["image"] = "grey";
    test::expectFailureWithoutLocation(build,
                                       "Tried to initialise a node of type Probe with the config for a node of type: "
                                       "Other");
    config.type = "Probe<int>";
    test::expectFailureWithoutLocation(build,
                                       "Tried to initialise a node of type Probe with the config for a node of type: "
                                       "Probe<int>");
    config.type = "Probe";
    EXPECT_EQ(test::messageOf(build), "no failure");
}

TEST(Construction, FailuresPointAtTheLinesOfTheirRows) {
    Faulty config;
    config.options.clear();
    test::LogLines log;
    test::messageOf([&] { config.build(); });
    config.options["size"] = pair(1, 2);
    test::messageOf([&] { config.build(); });
    auto const lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    auto const lineOf = [](std::string const &text) { return std::stoi(text.substr(text.rfind(':') + 1)); };
    EXPECT_GT(lineOf(lines[0]), lineOf(lines[1])) << "the option stands below the input in the table";
}

TEST(Construction, InstancesAreFurtherNodesOfTheSameClass) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}});
    NodeConfig const other("Probe", {{"size", pair(3, 4)}}, {{"image", "there"}});
    std::shared_ptr<PipelineNode> const instance = probe.node->createInstance({&probe, 9}, other);
    EXPECT_EQ(instance->getType(), "Probe");
    EXPECT_EQ(instance->getIndex(), 9);
    EXPECT_EQ(instance->getInputStreams(), std::set<std::string>{"there"});
    EXPECT_EQ(probe.node->getInputStreams(), (std::set<std::string>{"image", "extra"}));
    test::expectFailureAt(
        [&] {
            probe.node->createInstance({&probe, 0}, NodeConfig("Probe"));
        },
        "No value specified for Option \"size\" in a node of type Probe", "frame/Probe:");
}

} // namespace
} // namespace zun
