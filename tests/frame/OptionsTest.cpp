#include <gtest/gtest.h>

#include "support/Failures.h"
#include "support/OneNode.h"

namespace zun {
namespace {

OptionNode pair(int a, int b) { return OptionNode::ofVector({OptionNode::ofInt(a), OptionNode::ofInt(b)}); }

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

TEST(Options, AreReplacedByValuesOfTheirOwnType) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}});
    VariantType<std::string> text("new");
    VariantType<int> number(7);
    VariantType<bool> flag(false);
    VariantType<float> factor(1.5f);
    VariantType<Vec2i> size({8, 9});
    for (auto const &[name, value] : std::map<std::string, Variant *>{
             {"text", &text}, {"number", &number}, {"flag", &flag}, {"factor", &factor}, {"size", &size}})
        probe.node->setOption(name, *value);
    EXPECT_EQ(fieldsOf(probe), "new 7 0 1.5 8,9");
}

TEST(Options, RefuseValuesOfAnotherTypeAndKeepTheirOwn) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}});
    VariantType<double> other(1.0);
    for (auto const &[name, type] : std::map<std::string, std::string>{
             {"text", "std::string"}, {"number", "int"}, {"flag", "bool"}, {"factor", "float"}, {"size", "zun::Vec2i"}})
        test::expectFailureAt([&, option = name] { probe.node->setOption(option, other); },
                              "Option " + name + " of Probe is not of type " + type,
                              "frame/Probe:", "dynamic_cast<zun::VariantType<" + type + "> *>(&value)");
    VariantType<int> integer(1);
    test::expectFailureAt([&] { probe.node->setOption("factor", integer); },
                          "Option factor of Probe is not of type float",
                          "frame/Probe:", "dynamic_cast<zun::VariantType<float> *>(&value)");
    for (std::string const name : {"Number", "image", ""})
        test::expectFailureAt([&] { probe.node->setOption(name, integer); }, "Unknown Option for Probe: " + name,
                              "frame/Probe:");
    EXPECT_EQ(fieldsOf(probe), "0xFF00FF -10 1 0.25 1,2");
}

TEST(Options, ChecksOfANodeFailWithTheirCondition) {
    test::OneNode probe("Probe", {{"size", pair(1, 2)}, {"number", OptionNode::ofInt(13)}});
    test::expectFailureAt([&] { fieldsOf(probe); }, "number 13 brings bad luck", "frame/Probe:", "number != 13");
}

} // namespace
} // namespace zun
