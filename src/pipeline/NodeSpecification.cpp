#include "pipeline/NodeSpecification.h"

#include <utility>

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

} // namespace zun
