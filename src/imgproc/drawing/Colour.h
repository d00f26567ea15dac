// Colours as options give them.
#pragma once

#include <string>
#include <string_view>

#include "containers/Vec.h"

/// Reads a colour string: six hexadecimal digits, optionally after "#" or "0x", two for each channel in order. What
/// follows the first character that is not a digit is not read, and a text that starts with none gives 0. Throws
/// zun::Exception unless six characters are left after the prefix.
zun::Vec3b parseColour(std::string text);

/// Whether parseColour() takes a text.
bool isColour(std::string_view text);
