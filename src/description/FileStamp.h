// Whether a file is still the one that was read.
#pragma once

#include <cstdint>
#include <string>

namespace zun::engine {

/// Tells versions of a file apart without reading it. Two that were written within one step of the file system's clock,
/// at the same length and in place, look alike.
struct FileStamp {
    std::uint64_t device = 0, inode = 0, size = 0;
    std::int64_t seconds = 0, nanoseconds = 0; ///< of the last change
    bool exists = false;

    static FileStamp of(std::string const &path);

    bool operator==(FileStamp const &) const = default;
};

} // namespace zun::engine
