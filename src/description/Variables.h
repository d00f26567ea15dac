// ${name} in the values of a description.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "description/DiagnosticList.h"
#include "description/Yaml.h"

namespace zun::engine {

/// The variables of one description: what the user gives, and the description's own defaults.
///
/// A value is put in as it is, once, before plain scalars are resolved, so that it can be part of a scalar but not add
/// a list, a map or a further variable. `$${` stands for a literal `${`.
class Variables {
public:
    Variables(std::map<std::string, std::string> const &given, DiagnosticList &diagnostics);

    /// Takes the defaults from the description's map `variables`; one may use those above it.
    void readDefaults(YamlNode const &map, YamlOrigin const &origin);

    /// Replaces the variables in all scalars of a tree but for the keys of its maps. A scalar with an unknown one is
    /// reported and becomes a node that is refused.
    void substitute(YamlNode &tree, YamlOrigin const &origin);

    /// Reports what the user gave and no scalar used as an error, and a default that none used as a warning.
    void reportUnused();

private:
    struct Variable {
        std::string value;
        bool given = false; ///< by the user
        bool known = true;  ///< false for a default that can't be read, which was reported
        bool used = false;
        Place place; ///< of the default
    };

    void substituteScalar(YamlNode &scalar, YamlOrigin const &origin);
    std::string unknown(std::string const &name);

    std::map<std::string, Variable> variables;
    std::size_t spaceLeft = largestDescription; ///< for what variables add to the text
    DiagnosticList &diagnostics;
};

} // namespace zun::engine
