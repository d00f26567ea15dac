// Changes an option in the text of a description and leaves everything else as it is written: comments, order, quotes
// and line breaks.
//
// Nodes have the names that parseDescription() gives them. The result was read again and compared: it is the same
// description but for what was to change. What can't be done throws zun::Exception with a message for people. Safe to
// call from several threads.
#pragma once

#include <map>
#include <string>

#include "pipeline/Diagnostic.h"

namespace zun::engine {

struct TextEdit {
    std::string text;     ///< the whole description after the edit
    Place place;          ///< of the value in it, or where a removed one stood; without a file
    std::string variable; ///< the one whose default was changed instead of the option; empty where none was
};

/// Gives an option the value that `value` stands for, as a description would write it: 136, "#FF8000", [1, 2]. An
/// option that isn't there is added.
///
/// An option that is ${name} and nothing else keeps it, and the default of the variable changes; so does everything
/// else that uses it. One of `givenVariables`, which the user gave with -D, is refused.
TextEdit editOption(std::string const &text, std::string const &node, std::string const &option,
                    std::string const &value, std::map<std::string, std::string> const &givenVariables);

/// Removes an option, so that its default holds. One that isn't there changes nothing.
TextEdit removeOption(std::string const &text, std::string const &node, std::string const &option,
                      std::map<std::string, std::string> const &givenVariables);

} // namespace zun::engine
