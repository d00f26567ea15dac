// The nodes that a host brings itself: frames from and to files, records from and to JSON lines, constants, and lists
// of frames.
#pragma once

namespace zun::media {

/// Registers ReadFrames, WriteFrames, ReadRecords, WriteRecords, Constant, ListFrames and PickFrame. All calls but the
/// first do nothing. Thread-safe.
void registerNodes();

} // namespace zun::media
