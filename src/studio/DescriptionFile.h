// The file of a description: what stands in it, whether somebody else changes it, and writing it.
#pragma once

#include <cstdint>
#include <string>

namespace zun::studio {

/// Not thread-safe.
class DescriptionFile {
public:
    /// Reads the file. Throws zun::Exception where it can't be read.
    explicit DescriptionFile(std::string filePath);

    std::string const &path() const { return file; }

    /// What stood in the file when it was last read or written.
    std::string const &text() const { return known; }

    /// Looks whether the file has another text than text(). One that is missing, as while an editor puts a new one in
    /// its place, or can't be read, has not.
    bool changedOutside();

    /// Takes what stands in the file as text(). Throws zun::Exception where it can't be read.
    void read();

    /// Replaces the file at once, or not at all; its access rights stay. Throws zun::Exception where that fails.
    void write(std::string const &text);

private:
    struct Stamp {
        std::int64_t seconds = 0, nanoseconds = 0;
        std::uint64_t size = 0, inode = 0;
        bool operator==(Stamp const &) const = default;
    };

    bool readStamp(Stamp &stamp) const;

    std::string const file;
    std::string known;
    Stamp seen;           ///< of the file when its text was compared last
    bool differs = false; ///< what the comparison gave
};

} // namespace zun::studio
