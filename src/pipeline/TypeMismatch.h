// The report of a stream that holds a value of another type than its reader expects.
#pragma once

#include <string>
#include <typeinfo>

#include "containers/Variant.h"

namespace zun {

/// The readable name of a type.
std::string demangle(std::type_info const &type);

/// Logs what was expected and what `actual` is, with hints. Raises nothing of its own, but an `actual` of null, whose
/// type can't be asked for, throws std::bad_typeid before the last line.
void logTypeMismatch(std::string const &stream, std::string const &nodeType, int nodeIndex,
                     std::type_info const &expected, Variant *actual);

} // namespace zun
