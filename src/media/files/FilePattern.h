// File names with a number in them, such as "out-%05d.png".
#pragma once

#include <cstdint>
#include <string>

#include "pipeline/NodeFacts.h"

namespace zun::media {

/// A path in which "%d" or "%0Nd" stands for a number, and "%%" for a percent sign.
class FilePattern {
public:
    /// Throws zun::Exception for a path with another "%" in it, or more than one number.
    explicit FilePattern(std::string const &path);

    /// Whether there is a number in it.
    bool numbered() const { return hasNumber; }

    /// The path with the number filled in, with at least as many digits as the pattern says.
    std::string file(std::uint64_t number) const;

    /// The files that a node reads or writes under such names, for its forecast.
    FileUse use(FileUse::Access access) const;

private:
    std::string path, before, after;
    std::size_t digits = 0;
    bool hasNumber = false;
};

} // namespace zun::media
