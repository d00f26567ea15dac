// What is wrong: with a description, or with the values that a node is about to read.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zun {

/// A place in a description file, counted from 1; line 0 for what was not given in a file.
struct Place {
    std::string file;
    int line = 0;
    int column = 0;

    /// "file:line:column".
    std::string text() const;
};

struct Diagnostic {
    enum class Severity { Error, Warning, Note };

    Severity severity = Severity::Error;
    Place place;         ///< in the description; of no line for what a node's guard says
    std::string node;    ///< the node's name; empty where the diagnostic is about no node
    std::string port;    ///< port or option; empty where it is about neither
    std::string message; ///< names node, stream or option, and says what to do

    /// "file:line:column: error: message".
    std::string text() const;
};

using Diagnostics = std::vector<Diagnostic>;

bool hasErrors(Diagnostics const &diagnostics);

/// By place; what has none comes last. Diagnostics at one place keep their order.
void sortByPlace(Diagnostics &diagnostics);

/// A text cut to so many bytes, with "..." after what was cut; never within a character of UTF-8.
std::string shortened(std::string const &text, std::size_t longest);

/// A name or value in quotes, as messages show it: on one line, and shortened if long.
std::string quoted(std::string const &text, std::size_t longest = 80, char quote = '\'');

} // namespace zun
