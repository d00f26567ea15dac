#include "studio/DescriptionFile.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include "containers/Exception.h"
#include "description/Description.h"
#include "media/files/PartialFile.h"

namespace zun::studio {
namespace {

std::string readFile(std::string const &path) {
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) throw Exception("'" + path + "' is a folder, not a description");
    std::ifstream in(path, std::ios::binary);
    std::string text(engine::largestDescription + 1, '\0');
    if (in) in.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (!in.is_open() || in.bad()) throw Exception("'" + path + "' can't be read: " + std::strerror(errno));
    text.resize(static_cast<std::size_t>(in.gcount()));
    if (text.size() > engine::largestDescription) throw Exception("'" + path + "' is too large for a description");
    return text;
}

void writeAll(int descriptor, std::string const &text, std::string const &path) {
    for (std::size_t done = 0; done < text.size();) {
        ssize_t const count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw Exception("'" + path + "' can't be written: " + std::strerror(errno));
        done += static_cast<std::size_t>(count);
    }
}

} // namespace

DescriptionFile::DescriptionFile(std::string filePath) : file(std::move(filePath)) { read(); }

bool DescriptionFile::readStamp(Stamp &stamp) const {
    struct stat status {};
    if (::stat(file.c_str(), &status) != 0) return false;
    stamp = {status.st_mtim.tv_sec, status.st_mtim.tv_nsec, static_cast<std::uint64_t>(status.st_size), status.st_ino};
    return true;
}

bool DescriptionFile::changedOutside() {
    Stamp now;
    if (!readStamp(now)) return differs;
    // A file that is written twice within a tick of the system's clock would look the same, but for its size.
    bool const settled = now == seen && std::time(nullptr) > now.seconds + 1;
    if (settled) return differs;
    try {
        differs = readFile(file) != known;
        seen = now;
    } catch (Exception const &) {
    }
    return differs;
}

void DescriptionFile::read() {
    Stamp now;
    readStamp(now);
    known = readFile(file);
    seen = now;
    differs = false;
}

void DescriptionFile::write(std::string const &text) {
    std::error_code error;
    std::filesystem::path const target = std::filesystem::canonical(file, error); // a link stays one
    std::string const path = error ? file : target.string();
    media::PartialFile partial(path);
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) ::fchmod(partial.descriptor(), status.st_mode & 07777);
    writeAll(partial.descriptor(), text, file);
    partial.commit();
    known = text;
    readStamp(seen);
    differs = false;
}

} // namespace zun::studio
