// A YAML text as a tree that keeps what descriptions need: the raw text of scalars, their quoting, and places.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "description/Description.h"
#include "description/DiagnosticList.h"

namespace zun::engine {

struct YamlEntry;

struct YamlNode {
    enum class Kind {
        Refused, ///< was reported already, and means nothing
        Null,    ///< nothing stands there, or a plain `null` or `~`
        Scalar,
        List,
        Map,
    };

    Kind kind = Kind::Null;
    bool quoted = false; ///< of a scalar: it is a string whatever it looks like
    int line = 0;        ///< from 1; of a null that nothing stands for, where the next thing stands
    int column = 0;
    std::string comment;            ///< of a null: what stands in its place but is a comment, such as #FF00FF
    std::string text;               ///< of a scalar: as it stands in the file, escapes resolved
    std::vector<YamlNode> items;    ///< of a list
    std::vector<YamlEntry> entries; ///< of a map, in the order of the file; no key comes twice
};

struct YamlEntry {
    YamlNode key; ///< a scalar
    YamlNode value;
};

/// The end of a message about a value that is missing: how it is written where it begins with #. Else empty.
std::string commentHint(YamlNode const &node);

/// Where a text comes from.
struct YamlOrigin {
    std::string name; ///< the file
    bool hasLines;    ///< false for a text that is not a file: its places have no line

    Place place(YamlNode const &node) const {
        return hasLines ? Place{name, node.line, node.column} : Place{name, 0, 0};
    }
};

/// Reads one document. A text that is not YAML gives one error and nothing else. What descriptions don't use is
/// refused, an error each: aliases and anchors, tags, merge keys, keys that come twice or are not scalars, a second
/// document, nesting deeper than 32, characters that no text holds, and texts above largestDescription. Time and memory
/// are bounded by the size of the text.
std::optional<YamlNode> parseYaml(std::string const &text, YamlOrigin const &origin, DiagnosticList &diagnostics);

} // namespace zun::engine
