// An option's value in the wrapper that PipelineNode::setOption() takes.
#pragma once

#include <memory>
#include <string>

#include "containers/Variant.h"
#include "pipeline/config/OptionNode.h"

namespace zun::engine {

/// Converts a value to the type that an option's specification names. Throws zun::Exception where there is no
/// conversion, as convertOption() does.
std::shared_ptr<Variant> optionVariant(std::string const &type, OptionNode const &value);

} // namespace zun::engine
