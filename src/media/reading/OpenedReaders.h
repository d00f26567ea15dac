// Readers of files that a check has opened, for the run that follows it at once.
#pragma once

#include <memory>
#include <string>

#include "media/reading/FrameReader.h"

namespace zun::media {

/// A reader that keepOpened() was given for such a path and settings, if the file is still the same, or else a new one.
/// Throws what opening throws. Thread-safe.
std::unique_ptr<FrameReader> takeOpened(std::string const &path, ReadSettings const &settings);

/// Keeps a few readers, each at its first frame, for a short time. Thread-safe.
void keepOpened(std::string const &path, ReadSettings const &settings, std::unique_ptr<FrameReader> reader);

} // namespace zun::media
