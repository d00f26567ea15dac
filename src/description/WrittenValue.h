// How a value is written so that a description reads what is meant.
#pragma once

#include <string>

#include "description/Yaml.h"

namespace zun::engine {

/// Whether two trees give the same description, wherever their parts stand. A text means the same in quotes and
/// without, unless it looks like something else there or holds variables.
bool sameMeaning(YamlNode const &a, YamlNode const &b);

enum class Quotes { None, Single, Double };

struct Writing {
    bool inFlow = false;          ///< within { } or [ ]
    Quotes quotes = Quotes::None; ///< that are preferred for a text
    bool isText = false;          ///< what stands there is a text, even where it looks like a number
};

/// A scalar or a list of values, on one line. Throws zun::Exception where there is no way to write it.
std::string writtenValue(YamlNode const &value, Writing const &writing);

} // namespace zun::engine
