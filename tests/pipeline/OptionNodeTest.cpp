#include "pipeline/config/OptionNode.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "support/Failures.h"

namespace zun {
namespace {

constexpr int smallest = std::numeric_limits<int>::min();
constexpr std::int64_t twoToThe32 = std::int64_t(1) << 32;

TEST(ConvertOption, ToStringKeepsTheTextOrFormatsTheValue) {
    OptionNode escaped = OptionNode::ofString("a\nb");
    escaped.text = "\"a\\nb\""; // a string's text is not its value
    for (auto const &[node, result] :
         {std::pair(OptionNode::ofBool(true), "1"),
          {OptionNode::ofBool(false), "0"},
          {OptionNode::ofBool(true, "true"), "true"},
          {OptionNode::ofInt(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
          {OptionNode::ofInt(0xFF00FF, "0xFF00FF"), "0xFF00FF"},
          {OptionNode::ofFloat(-1e20), "-100000000000000000000.000000"},
          {OptionNode::ofFloat(0.5, "0.50"), "0.50"},
          {OptionNode::ofString(""), ""},
          {escaped, "a\nb"}})
        EXPECT_EQ(convertOption<std::string>(node), result);
    EXPECT_EQ(convertOption<std::string>(OptionNode::ofFloat(-1.7976931348623157e308)).size(), 317u);
    EXPECT_EQ(convertOption<OptionNode>(escaped).text, escaped.text);
}

TEST(ConvertOption, BetweenNumbersAndBools) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN(), infinity = std::numeric_limits<double>::infinity();
    constexpr auto integer = [](std::int64_t value) { return OptionNode::ofInt(value); };
    constexpr auto real = [](double value) { return OptionNode::ofFloat(value); };
    using Row = std::tuple<OptionNode, int, bool, double>;
    for (auto const &[node, asInt, asBool, asFloat] :
         {Row(OptionNode::ofBool(true), 1, true, 1), Row(OptionNode::ofBool(false), 0, false, 0),
          Row(integer(-1), -1, true, -1), Row(OptionNode::ofInt(0, "1"), 0, false, 0),
          Row(integer(twoToThe32 + 5), 5, true, 4294967296.0), Row(integer(twoToThe32), 0, true, 4294967296.0),
          Row(integer(twoToThe32 / 2), smallest, true, 2147483648.0), Row(integer(16777217), 16777217, true, 16777216),
          Row(real(-1.9), -1, true, -1.9f), Row(real(0.0), 0, false, 0), Row(real(0.25), 0, true, 0.25),
          Row(real(2147483647.5), 2147483647, true, 2147483648.0),
          Row(real(2147483648.0), smallest, true, 2147483648.0), Row(real(-3e9), smallest, true, -3e9),
          Row(real(infinity), smallest, true, infinity), Row(real(nan), smallest, true, nan)}) {
        SCOPED_TRACE(std::to_string(node.intValue) + " " + std::to_string(node.floatValue));
        EXPECT_EQ(convertOption<int>(node), asInt);
        EXPECT_EQ(convertOption<bool>(node), asBool);
        float const converted = convertOption<float>(node);
        EXPECT_TRUE(converted == asFloat || (std::isnan(converted) && std::isnan(asFloat))) << converted;
    }
}

void expectFailure(auto const &action, std::string const &message, int line, std::string const &condition = "false") {
    test::expectFailureAt(action, message, "pipeline/config/OptionNode:" + std::to_string(line), condition);
}

template <class T>
void expectRefused(OptionNode const &node, char const *ending, int line, char const *condition = "false") {
    expectFailure([&] { convertOption<T>(node); },
                  "Attempt to convert OptionNode '" + node.text + "' of type " + node.getTypeExpression() + ending,
                  line, condition);
}

TEST(ConvertOption, FailsWithTheValueTheTypeAndAFixedLine) {
    OptionNode const text = OptionNode::ofString("10"), vector = OptionNode::ofVector({}, "[]");
    OptionNode odd, none;
    odd.type = static_cast<OptionNode::Type>(6);
    odd.text = "odd";
    for (OptionNode const &node : {vector, none, odd}) expectRefused<std::string>(node, " to string", 206);
    for (OptionNode const &node : {vector, none, odd, text}) {
        expectRefused<int>(node, " to int32_t", 177);
        expectRefused<bool>(node, " to bool", 174);
        expectRefused<float>(node, " to float", 183);
    }
    for (OptionNode const &node : {text, OptionNode::ofInt(1, "1"), OptionNode::ofBool(true), odd})
        expectRefused<Vec2i>(node, " to zun::Vec!", 243, "node.type == OptionNode::Type::VECTOR");
    EXPECT_EQ(text.getTypeExpression(), "std::string");
    EXPECT_EQ(vector.getTypeExpression(), "vector");
}

TEST(ConvertOption, ToAVecTakesExactlyTwoElementsInOrder) {
    auto const toVec = [](std::vector<OptionNode> const &elements) {
        return convertOption<Vec2i>(OptionNode::ofVector(elements));
    };
    OptionNode const one = OptionNode::ofInt(1);
    EXPECT_EQ(toVec({OptionNode::ofInt(3), OptionNode::ofFloat(-4.7)}), (Vec2i{3, -4}));
    for (std::size_t const count : {0, 1, 3})
        expectFailure([&] { toVec(std::vector(count, one)); },
                      "OptionNode has the wrong number of elements for given zun::Vec", 244,
                      "node.vectorValue.size() == N");
    expectFailure(
        [&] {
            toVec({OptionNode::ofString("a"), OptionNode::ofString("b")});
        },
        "Attempt to convert OptionNode 'a' of type std::string to int32_t", 177);
}

} // namespace
} // namespace zun
