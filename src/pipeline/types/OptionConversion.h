// How an option's value comes to the type of a node's field.
#pragma once

#include <memory>
#include <string>
#include <type_traits>

#include "containers/Variant.h"
#include "pipeline/config/OptionNode.h"

namespace zun {

struct OptionConversion {
    /// Whether convert() succeeds.
    bool (*accepts)(OptionNode const &value) = nullptr;

    /// The value in the wrapper that PipelineNode::setOption() takes. Throws zun::Exception, after logging it, for a
    /// value that is not accepted.
    std::shared_ptr<Variant> (*convert)(OptionNode const &value) = nullptr;

    /// A value to write instead of one that is not accepted: "write a number such as 10".
    char const *advice = "";
};

template <class T>
bool acceptsOption(OptionNode const &value) {
    using Type = OptionNode::Type;
    bool const isNumber = value.type == Type::BOOL || value.type == Type::INT || value.type == Type::FLOAT;
    if constexpr (std::is_arithmetic_v<T>) return isNumber;
    if constexpr (std::is_same_v<T, std::string>) return isNumber || value.type == Type::STRING;
    if constexpr (std::is_same_v<T, Vec2i>)
        return value.type == Type::VECTOR && value.vectorValue.size() == 2 &&
               acceptsOption<int>(*value.vectorValue[0]) && acceptsOption<int>(*value.vectorValue[1]);
    return true;
}

template <class T>
constexpr char const *optionAdvice() {
    if (std::is_same_v<T, bool>) return "write true or false";
    if (std::is_same_v<T, int>) return "write a number such as 10";
    if (std::is_same_v<T, float>) return "write a number such as 0.5";
    if (std::is_same_v<T, std::string>) return "write a text, in quotes";
    if (std::is_same_v<T, Vec2i>) return "write a list of two numbers such as [3, 5]";
    return "";
}

template <class T>
OptionConversion optionConversion() {
    return {acceptsOption<T>,
            [](OptionNode const &value) -> std::shared_ptr<Variant> {
                return std::make_shared<VariantType<T>>(convertOption<T>(value));
            },
            optionAdvice<T>()};
}

} // namespace zun
