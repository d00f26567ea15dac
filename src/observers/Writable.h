// The paths of files that are written after a run, checked before it.
#pragma once

#include <string>

#include "containers/Exception.h"
#include "media/files/AtomicFile.h"

namespace zun::observers {

/// Returns the path. Throws zun::Exception if no file can be made there: its folder is missing or may not be written
/// into, or something that is not a file has the name.
inline std::string const &requireWritable(std::string const &path) {
    if (std::string const why = media::whyNotWritable(path); !why.empty()) throw Exception(why);
    return path;
}

} // namespace zun::observers
