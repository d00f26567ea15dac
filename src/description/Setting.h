// "node.option=value", as a user gives it beside a description.
#pragma once

#include <optional>
#include <string>

namespace zun::engine {

/// The parts of a setting. The first "=" ends the option's name and the last dot before it begins it, so that a node's
/// name may hold dots but no "=".
struct Setting {
    std::string node, option;
    std::string value; ///< as a description would write it
};

/// Nothing for a text of another form.
std::optional<Setting> parseSetting(std::string const &text);

} // namespace zun::engine
