// Whether image files end where their pictures do. Decoders may be content with a part of a picture.
#pragma once

#include <string>
#include <string_view>

namespace zun::media {

/// Throws zun::Exception, with the file's name, for a PNG or JPEG file that is cut short. Any other file passes, and so
/// do bytes after the picture.
void requireWholePicture(std::string const &file);

/// Whether the bytes from a JPEG's first marker on reach its own last one. Pictures within its segments, such as
/// thumbnails, don't count.
bool reachesEndOfJpeg(std::string_view bytes);

} // namespace zun::media
