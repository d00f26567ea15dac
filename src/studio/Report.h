// The page of some ticks as one file, with the values inside: for looking without a server.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "graph/Graph.h"
#include "pipeline/Tick.h"
#include "studio/Page.h"

namespace zun::studio {

struct ReportPlan {
    std::shared_ptr<engine::Graph const> graph; ///< that passed its check
    std::string file;                           ///< of the description
    Tick first = 0, end = 1;                    ///< ticks; `end` is not among them
    std::uint64_t mostBytes = 0;                ///< that all values together may take
};

struct ReportFacts {
    Tick ticks = 0;
    std::uint64_t valueBytes = 0; ///< before they were compressed
    std::uint64_t fileBytes = 0;
};

/// Computes the ticks and writes the report, as a whole or not at all. Throws zun::Exception for a source that can't be
/// shown tick by tick, values that take more than they may, and a file that can't be written.
ReportFacts writeReport(ReportPlan const &plan, Page const &page, std::string const &path);

} // namespace zun::studio
