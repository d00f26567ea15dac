// A node's options as a person may change them: what each takes, what it has now, and how that is written.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "graph/Graph.h"

namespace zun::studio {

/// Why options can't be changed, by node and option.
using Locked = std::map<std::pair<std::string, std::string>, std::string>;

struct OptionState {
    std::string name, type, about;
    bool required = false;
    bool set = false;                       ///< stands in the description
    bool isDefault = false;                 ///< its value is that of the default
    std::optional<std::string> defaultText; ///< as a description writes it
    std::string text;                       ///< the value in force, likewise; empty for one that is missing
    OptionSense sense;
    std::string valueType; ///< of a value that is written as a record: the type expression that another option holds
    std::string locked;    ///< why it can't be changed; empty if it can
    int line = 0;          ///< in the description; 0 for one that isn't there
};

/// All options of a node of a known type, in the order of its table. Thread-safe.
std::vector<OptionState> optionsOf(engine::GraphNode const &node, Locked const &locked);

/// Why an option can't go back to its default; empty if it can.
std::string whyNoDefault(engine::GraphNode const &node, std::string const &option);

/// Why a text is not a value that an option takes; empty if it is. The text is one that a description could hold.
std::string whyNotTaken(engine::GraphNode const &node, std::string const &option, std::string const &text);

} // namespace zun::studio
