#include "pipeline/NodeSpecification.h"

#include <utility>

#include "pipeline/types/TypeExpression.h"

namespace zun {

CommonMeta::CommonMeta(std::string metaName, std::string typeExpression, bool isOptional, std::string defaultText)
    : name(std::move(metaName)), type(std::move(typeExpression)), optional(isOptional),
      defaultValue(std::move(defaultText)) {}

XPut::XPut(std::string metaName, std::string typeExpression, bool isOptional, std::string defaultText, bool isInternal,
           StreamType kind)
    : CommonMeta(std::move(metaName), std::move(typeExpression), isOptional, std::move(defaultText)),
      internal(isInternal), streamType(kind) {}

NodeSpecification::Input::Input(std::string metaName, std::string typeExpression, bool isOptional,
                                std::string defaultText, bool isInternal, StreamType kind)
    : XPut(std::move(metaName), std::move(typeExpression), isOptional, std::move(defaultText), isInternal, kind) {}

NodeSpecification::Output::Output(std::string metaName, std::string typeExpression, bool isOptional,
                                  std::string defaultText, bool isInternal, std::int32_t defaultLimit, StreamType kind)
    : XPut(std::move(metaName), std::move(typeExpression), isOptional, std::move(defaultText), isInternal, kind),
      limit(defaultLimit) {}

std::string chooseParameters(std::string const &expression, NodeSpecification const &specification,
                             std::string const &typeString) {
    std::size_t const open = typeString.find('<'), close = typeString.rfind('>');
    if (open == std::string::npos || close == std::string::npos || close < open) return expression;
    std::string const choice = typeString.substr(open + 1, close - open - 1);
    std::string chosen = expression;
    for (NodeSpecification::Template const &parameter : specification.templates) {
        auto const found = parameter.choices.find(choice);
        if (found != parameter.choices.end())
            chosen = usualSpelling(replaceParameter(chosen, parameter.parameter, canonicalType(found->second)));
    }
    return chosen;
}

} // namespace zun
