// Checking a description ahead of time, without a frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/Description.h"
#include "engine/Facts.h"

namespace zun::engine {

/// What a stream that is read will hold at most.
struct StreamEstimate {
    std::string stream;
    std::int64_t values = 0;                    ///< 0: without bound
    std::optional<std::uint64_t> bytesPerValue; ///< absent where the size is not known ahead of the run
};

struct CheckReport {
    Findings findings; ///< in the order of the file
    std::vector<StreamEstimate> streams;
    std::uint64_t knownBytes = 0; ///< the most that the streams of known size and bounded length hold together

    bool passed() const { return !hasErrors(findings); }
};

/// Finds everything that is wrong with a description: errors that would fail the run, and warnings. The types have to
/// be registered, so plug-ins are loaded before.
///
/// Errors: an unknown node type, port, option or limit (with the nearest known name); a required input or option that
/// is missing; an option value of the wrong kind; a stream that is read but not written, written twice, or part of a
/// cycle; types that don't agree; what a node's forecast says. Warnings: an output nobody reads, a limit that starves
/// a node, a number that an int option cuts, and a stream whose frames one node changes in place while others read
/// them.
///
/// A problem is reported once: a misspelt name counts as the one it most likely means from then on, and what
/// parseDescription() reported brings nothing further. Thread-safe. Throws nothing of its own.
CheckReport check(Description const &description, NodeFactsTable const &facts);

/// The known name nearest to a misspelt one, or nothing if none is near. Case doesn't count; a name without its end
/// ("Crop" for "Crop<Vec3b>") is near. Of several that are equally near the first.
std::optional<std::string> nearestName(std::string const &wrong, std::vector<std::string> const &known);

} // namespace zun::engine
