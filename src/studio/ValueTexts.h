// A value's contents as pages and reports take them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "containers/Variant.h"
#include "pipeline/types/ValueType.h"

namespace zun::studio {

// All are thread-safe, and throw zun::Exception where the value has no such frame, or no record.

/// A frame as a PNG of at most 128 x 84 pixels.
std::string thumbnail(Variant const &value, std::size_t item);

/// A frame as a PNG.
std::string picture(Variant const &value, std::size_t item);

/// A frame's bytes as shown: width * height * channels, row by row.
std::string pixels(Variant const &value, std::size_t item);

/// {"value": [...]}: the very numbers of a pixel, by channel.
std::string pixelText(Variant const &value, std::size_t item, std::int64_t x, std::int64_t y);

/// {"type": ..., "value": ...}: the value as a record. Long lists are cut, and then there are "cut": true, and "count",
/// the number of elements of the outer list. `type` is null for a type that nobody has made known.
std::string recordText(Variant const &value, ValueType const *type);

} // namespace zun::studio
