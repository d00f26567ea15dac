// The type expression of a node's port, as a description settles it.
#pragma once

#include <string>

#include "engine/Description.h"
#include "pipeline/NodeSpecification.h"

namespace zun::engine {

/// A type expression of a specification with its template parameters replaced by what the type string chooses:
/// "zun::Mat<T, 2>" is "zun::Mat<zun::Vec3b, 2>" in a "Crop<Vec3b>".
std::string resolveTemplates(std::string const &expression, NodeSpecification const &specification,
                             std::string const &typeString);

/// The type expression of an input port; "any" for a node type or port that is not known.
std::string inputType(NodeDescription const &node, std::string const &port);

} // namespace zun::engine
