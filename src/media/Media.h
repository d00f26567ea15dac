// The host's own nodes: frames from and to files, records from and to JSON lines, constants.
#pragma once

#include "engine/Facts.h"

namespace zun::media {

/// Registers the node types ReadFrames, WriteFrames, ReadRecords, WriteRecords and Constant; the second call and
/// further ones do nothing. Thread-safe.
void registerNodes();

/// What the host knows of them.
engine::NodeFactsTable const &facts();

} // namespace zun::media
