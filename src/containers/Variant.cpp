#include "containers/Variant.h"

namespace zun {

Variant::~Variant() = default;

} // namespace zun
