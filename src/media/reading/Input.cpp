#include "media/reading/Input.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "containers/Exception.h"
#include "media/files/FileList.h"

namespace zun::media {

std::string inputName(std::string const &path) { return path == "-" ? "standard input" : "'" + path + "'"; }

void Input::fail(std::string const &why) const { throw Exception(inputName(file) + " " + why); }

Input::Input(std::string const &path) : file(path) {
    descriptor = path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        int const error = errno;
        fail(std::string("can't be opened: ") + std::strerror(error) + (error == ENOENT ? nearestExisting(path) : ""));
    }
    try {
        struct stat facts {};
        if (::fstat(descriptor, &facts) != 0) fail(std::string("can't be opened: ") + std::strerror(errno));
        if (S_ISDIR(facts.st_mode)) fail("can't be opened: it is a folder");
        if (S_ISBLK(facts.st_mode) || S_ISCHR(facts.st_mode))
            fail(path == "-" ? "is a terminal or device: send frames to it from a program or a file"
                             : "can't be opened: it is a device; a camera is read as v4l2:" + path);
        regular = S_ISREG(facts.st_mode);
        if (regular) bytes = static_cast<std::uint64_t>(facts.st_size);
        if (regular && bytes == 0) fail("is empty");
    } catch (...) {
        ::close(descriptor);
        throw;
    }
}

Input::~Input() { ::close(descriptor); }

std::string const &Input::head(std::size_t count) {
    std::size_t const had = first.size();
    if (count <= had) return first;
    std::string more(count - had, '\0');
    std::uint64_t const before = at;
    std::size_t got = 0;
    for (std::size_t some = 1; some != 0 && got < more.size(); got += some) {
        firstUsed = first.size(); // past what was peeked
        some = readSome(more.data() + got, more.size() - got);
    }
    first.append(more, 0, got);
    firstUsed = 0;
    at = before;
    return first;
}

std::size_t Input::readSome(void *memory, std::size_t count) {
    if (firstUsed < first.size()) {
        std::size_t const some = std::min(count, first.size() - firstUsed);
        std::memcpy(memory, first.data() + firstUsed, some);
        firstUsed += some;
        at += some;
        return some;
    }
    constexpr std::size_t most = std::size_t(1) << 30; // that one call takes
    ssize_t got = 0;
    do got = ::read(descriptor, memory, std::min(count, most));
    while (got < 0 && errno == EINTR);
    if (got < 0) fail(std::string("can't be read: ") + std::strerror(errno));
    at += static_cast<std::uint64_t>(got);
    return static_cast<std::size_t>(got);
}

std::size_t Input::read(void *memory, std::size_t count) {
    std::size_t got = 0;
    while (got < count) {
        std::size_t const some = readSome(static_cast<char *>(memory) + got, count - got);
        if (some == 0) break;
        got += some;
    }
    return got;
}

std::size_t Input::readAt(std::uint64_t place, void *memory, std::size_t count) const {
    std::size_t got = 0;
    while (got < count) {
        ssize_t const some =
            ::pread(descriptor, static_cast<char *>(memory) + got, count - got, static_cast<off_t>(place + got));
        if (some < 0 && errno == EINTR) continue;
        if (some < 0) fail(std::string("can't be read: ") + std::strerror(errno));
        if (some == 0) break;
        got += static_cast<std::size_t>(some);
    }
    return got;
}

void Input::seek(std::uint64_t place) {
    if (::lseek(descriptor, static_cast<off_t>(place), SEEK_SET) < 0)
        fail(std::string("can't be read: ") + std::strerror(errno));
    firstUsed = first.size();
    at = place;
}

std::string Input::all() {
    if (!regular) {
        constexpr std::size_t step = 1 << 16;
        std::string content;
        std::size_t got = 0;
        do {
            content.resize(content.size() + step);
            got = read(content.data() + content.size() - step, step);
            content.resize(content.size() - step + got);
        } while (got == step);
        return content;
    }
    std::string content(bytes, '\0');
    content.resize(readAt(0, content.data(), content.size()));
    return content;
}

} // namespace zun::media
