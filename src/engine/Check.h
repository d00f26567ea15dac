// Checking a description ahead of time, without a frame.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "engine/Description.h"
#include "engine/Facts.h"

namespace zun::engine {

/// What one stream will hold at most.
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
/// a node, and a stream whose frames one node changes in place while others read them.
CheckReport check(Description const &description, NodeFactsTable const &facts);

/// The known name nearest to a misspelt one, or nothing if none is near.
std::optional<std::string> nearestName(std::string const &wrong, std::vector<std::string> const &known);

} // namespace zun::engine
