#include "pipeline/config/OptionNode.h"

#include <array>
#include <cstdio>

#include "containers/Arithmetic.h"
#include "pipeline/Failure.h"

namespace zun {
namespace {

/// The locations of these failures are fixed; logs are compared across versions.
constexpr SourceLine location(int line) { return {"pipeline/config/OptionNode", line}; }

[[noreturn]] void failToConvert(OptionNode const &node, char const *target, int line,
                                char const *condition = unconditional) {
    failAt(location(line), condition, "Attempt to convert OptionNode '", node.text, "' of type ",
           node.getTypeExpression(), target);
}

std::string formatFloat(double value) {
    std::array<char, 352> text; // the longest double in "%f" has 317 characters
    int const length = std::snprintf(text.data(), text.size(), "%f", value);
    return std::string(text.data(), static_cast<std::size_t>(length));
}

} // namespace

OptionNode OptionNode::ofVector(std::vector<OptionNode> elements, std::string text) {
    OptionNode node;
    node.type = Type::VECTOR;
    for (OptionNode &element : elements) node.vectorValue.push_back(std::make_shared<OptionNode>(std::move(element)));
    node.text = std::move(text);
    return node;
}

OptionNode OptionNode::ofBool(bool value, std::string text) {
    OptionNode node;
    node.type = Type::BOOL;
    node.boolValue = value;
    node.text = std::move(text);
    return node;
}

OptionNode OptionNode::ofInt(std::int64_t value, std::string text) {
    OptionNode node;
    node.type = Type::INT;
    node.intValue = value;
    node.text = std::move(text);
    return node;
}

OptionNode OptionNode::ofFloat(double value, std::string text) {
    OptionNode node;
    node.type = Type::FLOAT;
    node.floatValue = value;
    node.text = std::move(text);
    return node;
}

OptionNode OptionNode::ofString(std::string value) {
    OptionNode node;
    node.type = Type::STRING;
    node.text = value;
    node.stringValue = std::move(value);
    return node;
}

std::string OptionNode::getTypeExpression() const {
    switch (type) {
    case Type::VECTOR:
        return "vector";
    case Type::BOOL:
        return "bool";
    case Type::INT:
        return "int";
    case Type::FLOAT:
        return "float";
    case Type::STRING:
        return "std::string";
    case Type::NONE:
        break;
    }
    return "nothing";
}

template <>
std::string convertOption<std::string>(OptionNode const &node) {
    switch (node.type) {
    case OptionNode::Type::BOOL:
        return !node.text.empty() ? node.text : node.boolValue ? "1" : "0";
    case OptionNode::Type::INT:
        return !node.text.empty() ? node.text : std::to_string(node.intValue);
    case OptionNode::Type::FLOAT:
        return !node.text.empty() ? node.text : formatFloat(node.floatValue);
    case OptionNode::Type::STRING:
        return node.stringValue;
    default:
        failToConvert(node, " to string", 206);
    }
}

template <>
int convertOption<int>(OptionNode const &node) {
    switch (node.type) {
    case OptionNode::Type::BOOL:
        return node.boolValue ? 1 : 0;
    case OptionNode::Type::INT:
        return static_cast<int>(static_cast<std::uint32_t>(node.intValue));
    case OptionNode::Type::FLOAT:
        return truncateToInt(node.floatValue);
    default:
        failToConvert(node, " to int32_t", 177);
    }
}

template <>
bool convertOption<bool>(OptionNode const &node) {
    switch (node.type) {
    case OptionNode::Type::BOOL:
        return node.boolValue;
    case OptionNode::Type::INT:
        return node.intValue != 0;
    case OptionNode::Type::FLOAT:
        return node.floatValue != 0.0; // true for a NaN
    default:
        failToConvert(node, " to bool", 174);
    }
}

template <>
float convertOption<float>(OptionNode const &node) {
    switch (node.type) {
    case OptionNode::Type::BOOL:
        return node.boolValue ? 1.0f : 0.0f;
    case OptionNode::Type::INT:
        return static_cast<float>(node.intValue);
    case OptionNode::Type::FLOAT:
        return static_cast<float>(node.floatValue);
    default:
        failToConvert(node, " to float", 183);
    }
}

template <>
Vec2i convertOption<Vec2i>(OptionNode const &node) {
    if (node.type != OptionNode::Type::VECTOR)
        failToConvert(node, " to zun::Vec!", 243, "node.type == OptionNode::Type::VECTOR");
    if (node.vectorValue.size() != 2)
        failAt(location(244), "node.vectorValue.size() == N",
               "OptionNode has the wrong number of elements for given zun::Vec");
    Vec2i result{};
    for (int i = 0; i < 2; i++) result[i] = convertOption<int>(*node.vectorValue[static_cast<std::size_t>(i)]);
    return result;
}

template <>
OptionNode convertOption<OptionNode>(OptionNode const &node) {
    return node;
}

} // namespace zun
