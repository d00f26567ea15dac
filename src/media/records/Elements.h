// Lists of any type, by their elements.
//
// Lists of the types that the library knows are handled as they are, and their frames stay shared. Those of plug-ins
// are taken apart and put together again by way of their records. All functions are thread-safe and throw
// zun::Exception.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "containers/Variant.h"

namespace zun::media {

/// How many elements a list has; nothing for what is not a list.
std::optional<std::size_t> elementCount(Variant const &value);

/// A list of the elements at these places, in their order. Throws for a type without records.
std::shared_ptr<Variant> pickElements(Variant const &list, std::vector<std::size_t> const &places);

} // namespace zun::media
