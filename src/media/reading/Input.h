// The bytes of what is being read: a file, standard input, or a pipe.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zun::media {

/// A path as messages have it: in quotes, or "standard input" for "-".
std::string inputName(std::string const &path);

/// Opened once and read from its first byte on. All operations throw zun::Exception, with the name, for what can't be
/// read: what doesn't exist, a folder, a device, an empty file. Not thread-safe.
class Input {
public:
    /// Opens a file, a pipe, or, for "-", standard input. A named pipe waits for its writer.
    explicit Input(std::string const &path);
    ~Input();
    Input(Input const &) = delete;
    Input &operator=(Input const &) = delete;

    std::string const &path() const { return file; }

    /// Whether it is a regular file, which can be read again from any place, and whose size is known.
    bool isFile() const { return regular; }

    std::uint64_t size() const { return bytes; }  ///< of a regular file
    std::uint64_t position() const { return at; } ///< of the byte that read() gives next

    /// The first bytes, at most `count`; they are still there for read(). Only before the first read().
    std::string const &head(std::size_t count);

    /// Reads until `count` bytes are there or the input ends; returns how many there are.
    std::size_t read(void *memory, std::size_t count);

    /// Reads what is there, at most `count` bytes; 0 at the end. What streams take, so that nothing waits in vain.
    std::size_t readSome(void *memory, std::size_t count);

    /// Of a regular file: the bytes at a place, or fewer at its end; read() goes on from where it was.
    std::size_t readAt(std::uint64_t place, void *memory, std::size_t count) const;

    void seek(std::uint64_t place); ///< in a regular file

    /// The whole regular file, or all that is left of a stream.
    std::string all();

private:
    [[noreturn]] void fail(std::string const &why) const;

    std::string file, first;
    std::size_t firstUsed = 0; ///< bytes of `first` that read() has given
    std::uint64_t bytes = 0, at = 0;
    int descriptor = -1;
    bool regular = false;
};

} // namespace zun::media
