// The nodes that read and write frames and their lists, and what hosts know of them.
#pragma once

#include "engine/Facts.h"

namespace zun::media {

void registerReadFrames();
void registerWriteFrames();
void registerListFrames();
void registerPickFrame();

/// The size of the first frame, or why it can't be read.
engine::Forecast forecastReadFrames(NodeConfig const &config);

/// Why the frames could not be written: an unknown ending, or a folder that can't be written into.
engine::Forecast forecastWriteFrames(NodeConfig const &config);

} // namespace zun::media
