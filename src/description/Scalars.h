// From the scalars and lists of a YAML tree to option values.
#pragma once

#include <string>

#include "description/DiagnosticList.h"
#include "description/Yaml.h"
#include "pipeline/NodeSpecification.h"
#include "pipeline/config/OptionNode.h"

namespace zun::engine {

struct ResolvedScalar {
    OptionNode value;    ///< of type NONE for null, and where there is a problem
    std::string problem; ///< why the text stands for no value; empty if it does
};

/// What a scalar without quotes stands for, by the YAML 1.2 core schema but for octal numbers:
///   null, ~ or nothing    null
///   true, false           bool
///   12, -3, 0xFF          int, in 64 bits
///   .5, 1e3, -.inf, .nan  float
/// and anything else is a string. The text is kept in each.
ResolvedScalar resolvePlain(std::string const &text);

/// The value of an option. A node that is none is reported, at `fallback` if it has no place of its own, and gives a
/// value of type NONE. `what` names the option in messages.
OptionNode optionFrom(YamlNode const &node, YamlOrigin const &origin, Place const &fallback, std::string const &what,
                      DiagnosticList &diagnostics);

/// Reads one value as a description would hold it: plain scalars by the core schema (true and false, decimal and 0x
/// integers, floats), quoted ones as strings, and flow lists; the raw text is kept, of a list a readable form. Throws
/// zun::Exception for a text that is not such a value.
OptionNode parseValue(std::string const &text);

/// The value of an option that a description leaves out. A default that stands for no value is a text.
OptionNode defaultOf(NodeSpecification::Option const &option);

} // namespace zun::engine
