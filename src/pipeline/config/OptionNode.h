// One option value as a description gives it, and its conversion to the type of a node's field.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "containers/Vec.h"

namespace zun {

/// The parsed form of one option value. `type` says which of the value fields is valid.
struct OptionNode {
    enum class Type : std::int32_t { NONE = 0, VECTOR = 1, BOOL = 2, INT = 3, FLOAT = 4, STRING = 5 };

    std::vector<std::shared_ptr<OptionNode>> vectorValue;
    bool boolValue = false;
    std::int64_t intValue = 0;
    double floatValue = 0;
    std::string stringValue;
    std::string text; ///< the value as it stood in the description; may be empty
    Type type = Type::NONE;

    static OptionNode ofVector(std::vector<OptionNode> elements, std::string text = "");
    static OptionNode ofBool(bool value, std::string text = "");
    static OptionNode ofInt(std::int64_t value, std::string text = "");
    static OptionNode ofFloat(double value, std::string text = "");
    static OptionNode ofString(std::string value);

    /// The type of the value, for messages: "vector", "bool", "int", "float", "std::string", or "nothing".
    std::string getTypeExpression() const;
};

/// Converts an option value to the type of a node's field: std::string, int, bool, float, Vec<int, 2>, or OptionNode,
/// which takes any value as it is.
///
/// Numbers and bools convert into one another (an int is cut to 32 bits, a float is truncated, out of range gives the
/// smallest int) and, by their text in the description, into strings. A string never converts to anything else.
/// Throws zun::Exception where there is no conversion.
template <class T>
T convertOption(OptionNode const &node);

template <>
std::string convertOption<std::string>(OptionNode const &node);
template <>
int convertOption<int>(OptionNode const &node);
template <>
bool convertOption<bool>(OptionNode const &node);
template <>
float convertOption<float>(OptionNode const &node);
template <>
Vec2i convertOption<Vec2i>(OptionNode const &node);
template <>
OptionNode convertOption<OptionNode>(OptionNode const &node);

} // namespace zun
