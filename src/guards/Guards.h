// What the host knows of the plug-in's node types beyond their specifications.
//
// Nodes trust what reaches them: a point outside its frame is written where the arithmetic says. A guard stands before
// such a node and refuses the values that would take it out of memory, and no others, so that a run over bad data ends
// with an error that names them.
#pragma once

#include "engine/Facts.h"

namespace zun::guards {

/// The facts by type string. Thread-safe; so are the guards in it.
engine::NodeFactsTable const &facts();

} // namespace zun::guards
