// Colours as options give them.
#pragma once

#include <string>

#include "containers/Vec.h"

/// Reads a colour string: six hexadecimal digits, optionally behind "#" or "0x", two for each channel in order. What
/// follows the first character that is no digit is not read, and a text that starts with none gives 0. Throws
/// zun::Exception unless six characters are left behind the prefix.
zun::Vec3b parseColour(std::string text);
