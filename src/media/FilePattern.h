// File names with a number in them, such as "out-%05d.png".
#pragma once

#include <cstdint>
#include <string>

namespace zun::media {

/// A path whose last "%d" or "%0Nd" stands for a number; "%%" stands for a percent sign.
class FilePattern {
public:
    /// Throws zun::Exception for a path with another "%" in it, or more than one number.
    explicit FilePattern(std::string const &path);

    /// Whether there is a number in it.
    bool numbered() const { return hasNumber; }

    /// The path with the number filled in, with at least as many digits as the pattern says.
    std::string file(std::uint64_t number) const;

private:
    std::string before, after;
    std::size_t digits = 0;
    bool hasNumber = false;
};

} // namespace zun::media
