// Statistics of a run for people.
#pragma once

#include <string>

#include "observers/Statistics.h"

namespace zun::cli {

/// A table of nodes, one of streams, the use of the workers, and what bounds the run; without the last line's end.
std::string statisticsTable(observers::RunStatistics const &run);

} // namespace zun::cli
