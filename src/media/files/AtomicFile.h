// A file that appears under its name only when it is complete.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "media/files/PartialFile.h"

namespace zun::media {

/// A PartialFile that bytes are appended to; without a commit nothing is left. All operations throw zun::Exception with
/// the file's name and the system's reason. Not thread-safe.
class AtomicFile {
public:
    explicit AtomicFile(std::string const &path, Claim claim = Claim::Path);

    /// Appends bytes. After a failure the file holds what it held before.
    void write(std::string_view bytes);

    /// Puts the file in its place; one that was there is replaced.
    void commit() { partial.commit(); }

private:
    std::string path;
    PartialFile partial;
    std::uint64_t size = 0;
};

/// Why a file can't be made at a path, in advance: its folder is missing or may not be written into. Empty if it can.
std::string whyNotWritable(std::string const &path);

} // namespace zun::media
