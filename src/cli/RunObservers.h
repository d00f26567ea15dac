// The observers that zun run is asked for.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "media/files/AtomicFile.h"
#include "observers/ObserverList.h"
#include "observers/Statistics.h"
#include "observers/Tap.h"
#include "observers/Trace.h"
#include "run/Progress.h"

namespace CLI {
class App;
}

namespace zun::cli {

struct ObserverArguments {
    std::vector<std::string> taps; ///< "STREAM[@TICKS][=PATTERN]"
    std::string trace;             ///< a path; empty for none
    std::string stats;             ///< "table", "json" or a path; empty for none
};

/// --tap, --stats and --trace.
void addObserverOptions(CLI::App &command, ObserverArguments &arguments);

class RunObservers {
public:
    /// Throws zun::Exception, with the option's name, for what can't be observed or written. `oneThread` as for
    /// observers::Statistics.
    RunObservers(ObserverArguments const &arguments, engine::Graph const &graph, bool oneThread);

    engine::Observer &all() { return list; }
    engine::Progress const &progress() const { return progressSeen; }

    /// Prints or writes the statistics of a run that has ended.
    void report();

private:
    void addTaps(ObserverArguments const &arguments, engine::Graph const &graph);

    std::string const statsTo;
    engine::Progress progressSeen;
    observers::ObserverList list;
    std::optional<observers::Statistics> statistics;
    std::optional<media::AtomicFile> statisticsFile;
    std::optional<observers::Trace> trace;
    std::vector<std::unique_ptr<observers::Tap>> taps;
};

} // namespace zun::cli
