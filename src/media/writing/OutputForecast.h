// What is said ahead of a run of the frames that will be written.
#pragma once

#include <string>

#include "media/Source.h"
#include "media/writing/WriteSettings.h"
#include "pipeline/NodeFacts.h"

namespace zun::media {

/// Adds notes of what a file takes from the source of its frames, and warnings of what it leaves out, with the way to
/// keep it. `path` and the settings are sound.
void forecastOutput(std::string const &path, WriteSettings const &settings, SourceInfo const *source,
                    Forecast &forecast);

} // namespace zun::media
