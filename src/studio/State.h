// What a page shows, as one line of JSON.
#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>

#include "graph/Graph.h"
#include "pipeline/Diagnostic.h"
#include "pipeline/Tick.h"
#include "studio/OptionState.h"
#include "studio/Preview.h"
#include "studio/Runner.h"
#include "studio/ValueStore.h"

namespace zun::studio {

struct State {
    std::uint64_t version = 0;
    std::string file, text;
    bool unsaved = false, canUndo = false, canRedo = false, changedOutside = false;
    Diagnostics diagnostics;                    ///< of the text
    bool broken = false;                        ///< the text has errors, and the graph is of an earlier one
    std::shared_ptr<engine::Graph const> graph; ///< null where no text was good
    Snapshot const *values = nullptr;           ///< may be of an earlier graph; null for none
    Locked const *locked = nullptr;             ///< never null
    Tick tick = 0;
    std::set<Tick> bookmarks;
    bool busy = false;
    std::uint64_t generation = 0;
    ValueStore::Usage memory;
    RunState run;
};

/// Thread-safe.
std::string stateText(State const &state);

} // namespace zun::studio
