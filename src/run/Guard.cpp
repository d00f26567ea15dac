#include "run/Guard.h"

#include "pipeline/TypeMismatch.h"

namespace zun::engine {

std::string describeValue(Variant const &value, ValueType const *type) {
    if (type == nullptr) return "a value of type " + demangle(typeid(value));
    std::string const summary = type->summary(value);
    return "a value of type " + type->spelling + (summary.empty() ? "" : " (" + summary + ")");
}

} // namespace zun::engine
