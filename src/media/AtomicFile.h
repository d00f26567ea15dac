// A file that appears under its name only when it is complete.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace zun::media {

/// Written under ".<name>.part" in the same folder, and renamed by commit(); without a commit nothing is left. All
/// operations throw zun::Exception with the file's name and the system's reason. Not thread-safe.
class AtomicFile {
public:
    explicit AtomicFile(std::string const &path);
    ~AtomicFile();
    AtomicFile(AtomicFile const &) = delete;
    AtomicFile &operator=(AtomicFile const &) = delete;

    /// Appends bytes. After a failure the file holds what it held before.
    void write(std::string_view bytes);

    /// Puts the file in its place; one that was there is replaced.
    void commit();

    /// The name under which an unfinished file stands beside its place.
    static std::string temporaryName(std::string const &path);

private:
    std::string path, temporary;
    int descriptor = -1;
    std::uint64_t size = 0;
};

/// Renames a complete file to its final name. Throws zun::Exception.
void moveIntoPlace(std::string const &temporary, std::string const &path);

/// Why a file can't be made at a path, in advance: its folder is missing or may not be written into. Empty if it can.
std::string whyNotWritable(std::string const &path);

} // namespace zun::media
