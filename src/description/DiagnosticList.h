// How the diagnostics of a description are gathered and worded.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pipeline/Diagnostic.h"
#include "pipeline/NearestName.h"

namespace zun::engine {

class DiagnosticList {
public:
    void add(Diagnostic diagnostic) { found.push_back(std::move(diagnostic)); }
    void error(Place place, std::string message) {
        add({Diagnostic::Severity::Error, std::move(place), "", "", std::move(message)});
    }
    void warning(Place place, std::string message) {
        add({Diagnostic::Severity::Warning, std::move(place), "", "", std::move(message)});
    }

    /// The end of a message about an unknown name: the nearest known one or, if none is near and they are few, all.
    std::string knownNames(std::string const &wrong, std::vector<std::string> const &known);

    /// The known name that a wrong one most likely means, so that reading can go on as if it stood there.
    std::optional<std::string> nearest(std::string const &wrong, std::vector<std::string> const &known);

    /// All diagnostics, in the order of the file; what has no place in it comes last.
    Diagnostics takeSorted();

private:
    Diagnostics found;
    int searchesLeft = 200; ///< a search takes time, and a hostile description could hold 100,000 wrong names
};

} // namespace zun::engine
