// Still pictures as the bytes of a file.
#pragma once

#include <vector>

#include "media/writing/OutputFormats.h"
#include "media/writing/Pixels.h"

namespace zun::media {

using Bytes = std::vector<unsigned char>;

/// A whole file. Throws zun::Exception, with its name, for pixels that the format can't hold: an alpha channel in
/// anything but PNG, TIFF and WebP, colour in PGM, floats in anything but TIFF, or a picture that is too large for it.
/// Thread-safe.
Bytes encodePicture(std::string const &file, PictureFormat format, Pixels const &pixels, WriteSettings const &settings);

// The encoders, for encodePicture().

/// Throws std::bad_alloc only.
Bytes encodePng(Pixels const &pixels, int level);
Bytes encodeTiff(std::string const &file, Pixels const &pixels);
Bytes encodeJpeg(std::string const &file, Pixels const &pixels, WriteSettings const &settings);

} // namespace zun::media
