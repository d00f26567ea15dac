// Option values from Python, in the form that a description gives them in.
#pragma once

#include <map>
#include <string>

#include <pybind11/pybind11.h>

#include "pipeline/config/OptionNode.h"

namespace zun::python {

/// bool, int, float, str, bytes, NumPy's scalars, or a list or tuple of these. Throws pybind11::type_error, naming the
/// option, for anything else, and for an int beyond 64 bits.
OptionNode toOption(std::string const &name, pybind11::handle object);

std::map<std::string, OptionNode> toOptions(pybind11::dict const &options);

} // namespace zun::python
