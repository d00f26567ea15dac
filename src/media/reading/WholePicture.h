// What files of pictures say without being decoded: whether they end where their picture does, and how it stands.
// Decoders may be content with a part of a picture.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "media/reading/Input.h"
#include "media/reading/Orientation.h"

namespace zun::media {

inline constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";

/// FFmpeg's name for the kind of PBM, PGM, PPM or PAM that begins so, on one line or several; empty for anything else.
std::string_view pnmName(std::string_view head);

struct PngFacts {
    bool whole = false; ///< the file reaches the chunk at its end
    bool animated = false;
    std::int64_t loops = 1; ///< how often an animation is played; 0: without end
    bool alpha = false;     ///< by a channel or by one transparent colour
    bool sound = false;     ///< the size is one that a picture can have
    std::uint32_t width = 0, height = 0;
    int bitDepth = 8;
    Orientation orientation;
};

/// Of a regular file with the signature of PNG. Throws zun::Exception if it can't be read.
PngFacts pngFacts(Input const &input);

/// Whether the bytes from a JPEG's first marker on reach its own last one. Pictures within its segments, such as
/// thumbnails, don't count.
bool reachesEndOfJpeg(std::string_view bytes);

/// What the EXIF segment of a JPEG says.
Orientation orientationOfJpeg(std::string_view bytes);

/// What the EXIF chunk of a WebP file says.
Orientation orientationOfWebp(std::string_view bytes);

/// Whether a WebP file is an animation.
bool isAnimatedWebp(std::string_view bytes);

/// Whether the chunk that holds all of a RIFF file, such as WebP and AVI, or the segments of a Matroska file, or the
/// boxes of an MP4 file, or the blocks of a GIF, end after the file does.
bool isCutShort(Input const &input);

} // namespace zun::media
