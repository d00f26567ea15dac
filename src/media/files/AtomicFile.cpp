#include "media/files/AtomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include "containers/Exception.h"

namespace zun::media {
namespace {

[[noreturn]] void fail(std::string const &path, char const *what) {
    throw Exception("'" + path + "' " + what + ": " + std::strerror(errno));
}

} // namespace

AtomicFile::AtomicFile(std::string const &finalPath, Claim claim) : path(finalPath), partial(finalPath, claim) {}

void AtomicFile::write(std::string_view bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        ssize_t const step = ::write(partial.descriptor(), bytes.data() + done, bytes.size() - done);
        if (step < 0 && errno == EINTR) continue;
        if (step < 0) {
            int const reason = errno;
            // Keeps what was written before whole. If this fails too, the first reason is still the one to report.
            if (::ftruncate(partial.descriptor(), static_cast<off_t>(size)) == 0)
                ::lseek(partial.descriptor(), static_cast<off_t>(size), SEEK_SET);
            errno = reason;
            fail(path, "can't be written");
        }
        done += static_cast<std::size_t>(step);
    }
    size += bytes.size();
}

std::string whyNotWritable(std::string const &path) {
    std::string folder = std::filesystem::path(path).parent_path().string();
    if (folder.empty()) folder = ".";
    if (::access(folder.c_str(), F_OK) != 0) return "the folder '" + folder + "' for '" + path + "' doesn't exist";
    if (::access(folder.c_str(), W_OK | X_OK) != 0)
        return "the folder '" + folder + "' for '" + path + "' can't be written into";
    if (std::filesystem::path(path).filename().empty()) return "'" + path + "' doesn't name a file";
    std::error_code ignored;
    std::filesystem::file_status const there = std::filesystem::status(path, ignored);
    if (std::filesystem::is_directory(there)) return "'" + path + "' is a folder";
    if (std::filesystem::exists(there) && !std::filesystem::is_regular_file(there))
        return "'" + path + "' is not a regular file, and would be replaced by one";
    return "";
}

} // namespace zun::media
