// The nodes that a host brings itself: frames from and to files, records from and to JSON lines and CSV, constants,
// lists, and texts of data.
#pragma once

namespace zun::media {

/// Registers ReadFrames, WriteFrames, ReadRecords, WriteRecords, Constant, ListFrames, PickFrame, FormatTexts,
/// MergeRecords and SelectElements. All calls but the first do nothing. Thread-safe.
void registerNodes();

} // namespace zun::media
