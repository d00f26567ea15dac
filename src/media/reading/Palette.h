// Pictures of at most 256 colours; for the sources of this library alone.
#pragma once

#include "media/Av.h"

namespace zun::media {

/// The picture with a palette of its own, dithered. Throws zun::Exception. Thread-safe.
av::Frame withPalette(AVFrame const &picture);

} // namespace zun::media
