#include <gtest/gtest.h>

#include "Probe.h"
#include "support/Failures.h"

namespace {
zun::Registration<Probe> const registration;
}

namespace zun {
namespace {

TEST(Construction, FailsAtTheFirstFaultInTheStatedOrder) {
    std::string type = "Other";
    std::map<std::string, OptionNode> options{{"number", OptionNode::ofString("ten")}};
    std::map<std::string, std::string> inputs;
    auto const build = [&] {
        NodeConfig const config(type, options, inputs);
        std::unique_ptr<PipelineNode>(NodeRegistry::find("Probe")->factory({nullptr, 0}, config));
    };
    test::expectFailureAt(build, "Attempt to convert OptionNode 'ten' of type std::string to int32_t",
                          "pipeline/config/OptionNode:177");
    options.clear();
    test::expectFailureAt(build, "No value specified for Option \"size\" in a node of type Probe", "node/Probe:36");
    options["size"] = pair(1, 2);
    test::expectFailureAt(build, "No value specified for Input \"image\" in a node of type Probe", "node/Probe:28");
    inputs["image"] = "grey";
    for (std::string const other : {"Other", "Probe<int>"}) {
        type = other;
        test::expectFailureWithoutLocation(
            build, "Tried to initialise a node of type Probe with the config for a node of type: " + other);
    }
    type = "Probe";
    EXPECT_EQ(test::messageOf(build), "no failure");
}

TEST(Construction, InstancesAreFurtherNodesOfTheSameClass) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}});
    NodeConfig const other("Probe", {{"size", pair(3, 4)}}, {{"image", "there"}});
    std::shared_ptr<PipelineNode> const instance = probe.node->createInstance({&probe, 9}, other);
    EXPECT_EQ(instance->getType(), "Probe");
    EXPECT_EQ(instance->getIndex(), 9);
    EXPECT_EQ(instance->getInputStreams(), std::set<std::string>{"there"});
    EXPECT_EQ(probe.node->getInputStreams(), (std::set<std::string>{"image", "extra"}));
}

TEST(Specification, IsOneObjectHoweverOftenItIsFilled) {
    EXPECT_EQ(&Generated<Probe>::specification(), &Generated<Probe>::specification());
    EXPECT_EQ(Generated<Probe>::specification().options.size(), 5u);
}

std::string fieldsOf(test::OneNode &probe) {
    return test::held<std::string>(probe.run({{"image", nullptr}, {"extra", test::valueOf(1)}}).at("out.options"));
}

TEST(Options, TakeTheirDefaultsOrTheConvertedValue) {
    test::OneNode defaults("Probe", {{"size", pair(1, 2)}});
    EXPECT_EQ(fieldsOf(defaults), "0xFF00FF -10 1 0.25 1,2");
    test::OneNode given("Probe", {{"size", pair(3, -4)},
                                  {"text", OptionNode::ofFloat(0.5, "0.50")},
                                  {"number", OptionNode::ofFloat(-1.9)},
                                  {"flag", OptionNode::ofInt(0)},
                                  {"factor", OptionNode::ofInt(3)}});
    EXPECT_EQ(fieldsOf(given), "0.50 -1 0 3 3,-4");
}

TEST(Options, AreReplacedByValuesOfTheirOwnTypeAlone) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}});
    VariantType<double> other(1.0);
    VariantType<int> integer(1);
    for (auto const &[name, type] : std::map<std::string, std::string>{
             {"text", "std::string"}, {"number", "int"}, {"flag", "bool"}, {"factor", "float"}, {"size", "zun::Vec2i"}})
        for (Variant *const value : std::initializer_list<Variant *>{&other, &integer})
            if (name != "number" || value == &other)
                test::expectFailureAt([&, option = name] { probe.node->setOption(option, *value); },
                                      "Option " + name + " of Probe is not of type " + type,
                                      "node/Probe:", "dynamic_cast<zun::VariantType<" + type + "> *>(&value)");
    for (std::string const name : {"Number", "image", ""})
        test::expectFailureAt([&] { probe.node->setOption(name, integer); }, "Unknown Option for Probe: " + name,
                              "node/Probe:");
    EXPECT_EQ(fieldsOf(probe), "0xFF00FF -10 1 0.25 1,2");

    auto const set = [&]<class T>(char const *name, T value) {
        VariantType<T> variant(value);
        probe.node->setOption(name, variant);
    };
    set("text", std::string("new"));
    set("number", 7);
    set("flag", false);
    set("factor", 1.5f);
    set("size", Vec2i{8, 9});
    EXPECT_EQ(fieldsOf(probe), "new 7 0 1.5 8,9");
}

TEST(Options, ChecksOfANodeFailWithTheirCondition) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}, {"number", OptionNode::ofInt(13)}});
    test::expectFailureAt([&] { fieldsOf(probe); }, "number 13 brings bad luck", "node/Probe:", "number != 13");
}

} // namespace
} // namespace zun
