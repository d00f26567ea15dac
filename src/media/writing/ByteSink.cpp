#include "media/writing/ByteSink.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "containers/Exception.h"

namespace zun::media {

bool isWrittenAsStream(std::string const &path) {
    if (path == "-") return true;
    std::error_code ignored;
    std::filesystem::file_status const there = std::filesystem::status(path, ignored);
    return std::filesystem::is_fifo(there) || std::filesystem::is_character_file(there);
}

ByteSink::ByteSink(int descriptor) : file(descriptor), seekable(true) { open(); }

ByteSink::ByteSink(std::string const &stream) : file(STDOUT_FILENO), owned(stream != "-") {
    if (owned) file = ::open(stream.c_str(), O_WRONLY | O_CLOEXEC);
    if (file < 0) throw Exception("'" + stream + "' can't be written: " + std::strerror(errno));
    open();
}

void ByteSink::open() {
    constexpr int buffered = 1 << 16;
    auto *const buffer = static_cast<unsigned char *>(av_malloc(buffered));
    io = avio_alloc_context(buffer, buffered, 1, this, nullptr, write, seekable ? seek : nullptr);
    if (io == nullptr) throw std::bad_alloc();
    io->seekable = seekable ? AVIO_SEEKABLE_NORMAL : 0;
}

ByteSink::~ByteSink() {
    av_freep(&io->buffer);
    avio_context_free(&io);
    if (owned) ::close(file);
}

int ByteSink::flush() {
    avio_flush(io);
    return io->error;
}

int ByteSink::write(void *sink, std::uint8_t *bytes, int count) {
    for (int done = 0; done < count;) {
        ssize_t const step =
            ::write(static_cast<ByteSink *>(sink)->file, bytes + done, static_cast<std::size_t>(count - done));
        if (step < 0 && errno == EINTR) continue;
        if (step < 0) return AVERROR(errno);
        done += static_cast<int>(step);
    }
    return count;
}

std::int64_t ByteSink::seek(void *sink, std::int64_t offset, int whence) {
    int const file = static_cast<ByteSink *>(sink)->file;
    if (whence == AVSEEK_SIZE) {
        off_t const here = ::lseek(file, 0, SEEK_CUR), size = ::lseek(file, 0, SEEK_END);
        ::lseek(file, here, SEEK_SET);
        return size;
    }
    off_t const reached = ::lseek(file, offset, whence);
    return reached < 0 ? AVERROR(errno) : reached;
}

} // namespace zun::media
