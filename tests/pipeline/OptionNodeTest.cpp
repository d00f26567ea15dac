#include "pipeline/config/OptionNode.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/Failures.h"

namespace zun {
namespace {

constexpr int smallest = std::numeric_limits<int>::min();
std::string const path = "pipeline/config/OptionNode:";

OptionNode ofKind(int kind, std::string text = "") {
    OptionNode node;
    node.type = static_cast<OptionNode::Type>(kind);
    node.text = std::move(text);
    return node;
}

TEST(ConvertOption, ToStringKeepsTheTextOrFormatsTheValue) {
    struct {
        OptionNode node;
        char const *result;
    } const cases[] = {
        {OptionNode::ofBool(true), "1"},
        {OptionNode::ofBool(false), "0"},
        {OptionNode::ofBool(true, "true"), "true"},
        {OptionNode::ofInt(-42), "-42"},
        {OptionNode::ofInt(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
        {OptionNode::ofInt(0xFF00FF, "0xFF00FF"), "0xFF00FF"},
        {OptionNode::ofFloat(0.5), "0.500000"},
        {OptionNode::ofFloat(-1e20), "-100000000000000000000.000000"},
        {OptionNode::ofFloat(0.5, "0.50"), "0.50"},
        {OptionNode::ofString("10"), "10"},
        {OptionNode::ofString(""), ""},
    };
    for (auto const &[node, result] : cases) EXPECT_EQ(convertOption<std::string>(node), result);
    OptionNode escaped = OptionNode::ofString("a\nb");
    escaped.text = "\"a\\nb\"";
    EXPECT_EQ(convertOption<std::string>(escaped), "a\nb") << "a string's text is not its value";
    EXPECT_EQ(convertOption<std::string>(OptionNode::ofFloat(-1.7976931348623157e308)).size(), 317u);
}

TEST(ConvertOption, BetweenNumbersAndBools) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    struct {
        OptionNode node;
        int asInt;
        bool asBool;
        float asFloat;
    } const cases[] = {
        {OptionNode::ofBool(true), 1, true, 1.0f},
        {OptionNode::ofBool(false), 0, false, 0.0f},
        {OptionNode::ofInt(3), 3, true, 3.0f},
        {OptionNode::ofInt(-1), -1, true, -1.0f},
        {OptionNode::ofInt(0, "1"), 0, false, 0.0f},
        {OptionNode::ofInt((std::int64_t(1) << 32) + 5), 5, true, 4294967301.0f},
        {OptionNode::ofInt(std::int64_t(1) << 32), 0, true, 4294967296.0f},
        {OptionNode::ofInt(std::int64_t(1) << 31), smallest, true, 2147483648.0f},
        {OptionNode::ofInt(16777217), 16777217, true, 16777216.0f},
        {OptionNode::ofFloat(-1.9), -1, true, -1.9f},
        {OptionNode::ofFloat(0.0), 0, false, 0.0f},
        {OptionNode::ofFloat(0.25), 0, true, 0.25f},
        {OptionNode::ofFloat(2147483647.5), 2147483647, true, 2147483648.0f},
        {OptionNode::ofFloat(2147483648.0), smallest, true, 2147483648.0f},
        {OptionNode::ofFloat(-3e9), smallest, true, -3e9f},
        {OptionNode::ofFloat(infinity), smallest, true, std::numeric_limits<float>::infinity()},
    };
    for (auto const &[node, asInt, asBool, asFloat] : cases) {
        EXPECT_EQ(convertOption<int>(node), asInt) << node.intValue << " " << node.floatValue;
        EXPECT_EQ(convertOption<bool>(node), asBool) << node.intValue << " " << node.floatValue;
        EXPECT_EQ(convertOption<float>(node), asFloat) << node.intValue << " " << node.floatValue;
    }
    EXPECT_EQ(convertOption<int>(OptionNode::ofFloat(nan)), smallest);
    EXPECT_TRUE(convertOption<bool>(OptionNode::ofFloat(nan)));
    EXPECT_TRUE(std::isnan(convertOption<float>(OptionNode::ofFloat(nan))));
}

TEST(ConvertOption, ToAVecTakesExactlyTwoElementsInOrder) {
    auto const vector = [](auto... elements) { return OptionNode::ofVector({elements...}); };
    EXPECT_EQ(convertOption<Vec2i>(vector(OptionNode::ofInt(3), OptionNode::ofFloat(-4.7))), (Vec2i{3, -4}));
    std::string const wrongSize = "OptionNode has the wrong number of elements for given zun::Vec";
    OptionNode const one = OptionNode::ofInt(1);
    for (OptionNode const &node : {vector(), vector(one), vector(one, one, one)})
        test::expectFailureAt([&] { convertOption<Vec2i>(node); }, wrongSize, path + "244",
                              "node.vectorValue.size() == N");
    test::expectFailureAt([&] { convertOption<Vec2i>(vector(OptionNode::ofString("a"), OptionNode::ofString("b"))); },
                          "Attempt to convert OptionNode 'a' of type std::string to int32_t", path + "177");
}

template <class T>
void expectRefused(OptionNode const &node, std::string const &ending, std::string const &line,
                   std::string const &condition = "false") {
    test::expectFailureAt([&] { convertOption<T>(node); },
                          "Attempt to convert OptionNode '" + node.text + "' of type " + node.getTypeExpression() +
                              ending,
                          path + line, condition);
}

TEST(ConvertOption, FailsWithTheValueTheTypeAndAFixedLine) {
    OptionNode const text = OptionNode::ofString("10"), vector = OptionNode::ofVector({}, "[]");
    for (OptionNode const &node : {vector, ofKind(0), ofKind(6, "odd"), ofKind(-1)}) {
        expectRefused<std::string>(node, " to string", "206");
        expectRefused<int>(node, " to int32_t", "177");
        expectRefused<bool>(node, " to bool", "174");
        expectRefused<float>(node, " to float", "183");
    }
    expectRefused<int>(text, " to int32_t", "177");
    expectRefused<bool>(text, " to bool", "174");
    expectRefused<float>(text, " to float", "183");
    for (OptionNode const &node : {text, OptionNode::ofInt(1, "1"), OptionNode::ofBool(true), ofKind(6)})
        expectRefused<Vec2i>(node, " to zun::Vec!", "243", "node.type == OptionNode::Type::VECTOR");
    EXPECT_EQ(text.getTypeExpression(), "std::string");
    EXPECT_EQ(vector.getTypeExpression(), "vector");
}

TEST(ConvertOption, ToAnOptionNodeTakesAnythingAsItIs) {
    EXPECT_EQ(convertOption<OptionNode>(OptionNode::ofString("x")).stringValue, "x");
}

} // namespace
} // namespace zun
