// What to do about texts that people write in descriptions, and that YAML takes for something else.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace zun::engine {

/// A text by its lines, for messages about places in it. The text has to stay.
class SourceLines {
public:
    explicit SourceLines(std::string_view text);

    /// The line of a number from 1 on; empty for a line that is not there.
    std::string_view line(int number) const;

private:
    std::vector<std::string_view> lines;
};

/// The end of a message about a problem that the parser found at a place: what is likely meant, and how to write it.
/// Empty where nothing is known.
std::string hintFor(std::string const &problem, SourceLines const &source, int line, int column);

/// What stands after a key, or at a line's beginning, and was meant as a value but is a comment: "#FF00FF". Empty if
/// nothing does. `from` is counted in bytes.
std::string valueInComment(std::string_view line, std::size_t from);

} // namespace zun::engine
