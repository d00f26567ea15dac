// The node types of this process, by name.
#pragma once

#include <string>

#include "pipeline/NodeRegistry.h"

namespace zun::engine {

/// "there is no node type ...", with the nearest that there is.
std::string unknownType(std::string const &type);

/// The entry of a type string. Throws zun::Exception, as unknownType() says, for one that is not known.
NodeRegistry::Entry const &nodeTypeNamed(std::string const &type);

} // namespace zun::engine
