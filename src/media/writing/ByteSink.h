// Where FFmpeg's writers of files put their bytes; for the sources of this library alone.
#pragma once

#include <string>

#include "media/Av.h"

namespace zun::media {

/// Whether a path is written as a stream, and not as a file that is put in its place when it is complete: "-", which is
/// the standard output, a FIFO, or a device such as /dev/null.
bool isWrittenAsStream(std::string const &path);

/// An open descriptor as FFmpeg's AVIOContext. Not thread-safe.
class ByteSink {
public:
    /// Borrows the descriptor of a file.
    explicit ByteSink(int descriptor);

    /// Opens a stream; a FIFO waits for its reader. Throws zun::Exception.
    explicit ByteSink(std::string const &stream);

    ~ByteSink();
    ByteSink(ByteSink const &) = delete;
    ByteSink &operator=(ByteSink const &) = delete;

    AVIOContext *context() { return io; }

    /// Writes what is buffered. Returns FFmpeg's number of the first error, or 0.
    int flush();

private:
    void open();
    static int write(void *sink, std::uint8_t *bytes, int count);
    static std::int64_t seek(void *sink, std::int64_t offset, int whence);

    int file = -1;
    bool owned = false, seekable = false;
    AVIOContext *io = nullptr;
};

} // namespace zun::media
