#include "media/files/PartialFile.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "containers/Exception.h"
#include "media/files/FileList.h"

namespace zun::media {
namespace {

namespace fs = std::filesystem;

constexpr char const *ending = ".part";
constexpr std::size_t longestName = 255;      ///< of a file, on all usual file systems
constexpr std::size_t longestInPartial = 200; ///< leaves space for the dot, process, number and ending

[[noreturn]] void fail(std::string const &path, char const *what, int reason = errno) {
    throw Exception("'" + path + "' " + what + ": " + std::strerror(reason));
}

/// A descriptor that is closed at the end.
struct Descriptor {
    int number = -1;

    explicit Descriptor(int open) : number(open) {}
    ~Descriptor() {
        if (number >= 0) ::close(number);
    }
    Descriptor(Descriptor const &) = delete;
    Descriptor &operator=(Descriptor const &) = delete;
    explicit operator bool() const { return number >= 0; }
};

/// Keeps others from claiming names in a folder meanwhile. Does without where the folder can't be locked, or where a
/// program that is not one of ours holds the lock.
class FolderLock {
    Descriptor folder;

public:
    explicit FolderLock(std::string const &name) : folder(::open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        constexpr int attempts = 400;
        constexpr std::chrono::milliseconds pause(5);
        if (!folder) return;
        for (int i = 0; i < attempts && ::flock(folder.number, LOCK_EX | LOCK_NB) != 0; i++) {
            if (errno != EWOULDBLOCK && errno != EINTR) return;
            std::this_thread::sleep_for(pause);
        }
    }
};

std::string folderOf(std::string const &path) {
    std::string const folder = fs::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

/// The path of a name in a folder.
std::string besides(std::string const &folder, std::string const &name) {
    return folder == "." ? name : (fs::path(folder) / name).string();
}

/// In the name of a partial file, in place of the final name.
std::string shortened(std::string const &name) {
    if (name.size() <= longestInPartial) return name;
    std::uint64_t hash = 14695981039346656037u; // FNV-1a
    for (char const c : name) hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211u;
    std::array<char, 20> digits;
    std::snprintf(digits.data(), digits.size(), "~%016llx", static_cast<unsigned long long>(hash));
    std::size_t length = longestInPartial - std::strlen(digits.data());
    while (length > 0 && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) length--; // not within a character
    return name.substr(0, length) + digits.data();
}

struct Partial {
    std::string file, finalName; ///< the latter shortened
    pid_t process = 0;
};

/// What the name of a partial file says; nothing for another name.
std::optional<Partial> partialOf(std::string const &name) {
    if (!name.starts_with('.') || !name.ends_with(ending)) return std::nullopt;
    std::string const whole = name.substr(0, name.size() - std::strlen(ending));
    std::size_t const dot = whole.rfind('.'), dash = whole.find('-', dot);
    if (dot < 2 || dash == std::string::npos) return std::nullopt;
    std::string const process = whole.substr(dot + 1, dash - dot - 1), number = whole.substr(dash + 1);
    auto const isNumber = [](std::string const &text) {
        return !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == std::string::npos;
    };
    if (!isNumber(process) || !isNumber(number)) return std::nullopt;
    return Partial{name, whole.substr(1, dot - 1), static_cast<pid_t>(std::stol(process))};
}

bool isRunning(pid_t process) { return process > 0 && (::kill(process, 0) == 0 || errno == EPERM); }

/// Whether a partial file is written by a living process.
bool isAlive(std::string const &partial, pid_t process) {
    Descriptor const file(::open(partial.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!file && errno == ENOENT) return false;
    if (file && ::flock(file.number, LOCK_EX | LOCK_NB) == 0) return false;
    return (file && errno == EWOULDBLOCK) || isRunning(process);
}

using Fits = std::function<bool(std::string const &)>;

/// The partial files in a folder, of final names that fit. Empty for a folder that can't be read.
std::vector<Partial> partialsIn(std::string const &folder, Fits const &fits) {
    std::vector<Partial> all;
    std::error_code error;
    for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
        std::optional<Partial> partial = partialOf(at->path().filename().string());
        std::error_code ignored;
        if (!partial || !fits(partial->finalName) || at->symlink_status(ignored).type() != fs::file_type::regular)
            continue;
        partial->file = besides(folder, partial->file);
        all.push_back(*partial);
    }
    return all;
}

/// Creates and locks a partial file; nothing if it was removed before it was locked, by a process that took it for
/// abandoned.
std::optional<int> tryToCreate(std::string const &path, std::string const &partial) {
    int const file = ::open(partial.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno == EEXIST) return std::nullopt;
    if (file < 0) fail(path, "can't be written");
    bool const locked = ::flock(file, LOCK_EX | LOCK_NB) == 0;
    struct stat ours {
    }, there{};
    bool const same = ::fstat(file, &ours) == 0 && ::stat(partial.c_str(), &there) == 0 &&
                      ours.st_ino == there.st_ino && ours.st_dev == there.st_dev;
    if (same && (locked || errno != EWOULDBLOCK)) return file;
    ::close(file);
    return std::nullopt;
}

[[noreturn]] void failAsTaken(std::string const &path, pid_t process) {
    if (process == ::getpid())
        throw Exception("'" + path + "' is being written by this run already: two nodes can't write one file");
    throw Exception("'" + path + "' is being written by process " + std::to_string(process) +
                    ": wait for its end, or write to another file");
}

} // namespace

PartialFile::PartialFile(std::string const &finalPath, Claim claim, std::string const &spoken) : path(finalPath) {
    static std::atomic<std::uint32_t> lastNumber = 0;
    constexpr std::uint32_t numbers = 1'000'000'000;
    constexpr int attempts = 1000;
    std::string const folder = folderOf(path), last = fs::path(path).filename().string();
    if (last.empty()) throw Exception("'" + path + "' doesn't name a file");
    if (last.size() > longestName) fail(path, "can't be written", ENAMETOOLONG);
    std::error_code ignored;
    fs::file_status const there = fs::status(path, ignored);
    if (fs::exists(there) && !fs::is_regular_file(there) && !fs::is_directory(there)) // such as /dev/null
        throw Exception("'" + path + "' is not a regular file, and would be replaced by one");
    std::optional<FolderLock> lock;
    if (claim == Claim::Path) lock.emplace(folder);
    std::optional<int> created;
    for (int i = 0; i < attempts && !created; i++) {
        std::string const number = std::to_string(++lastNumber % numbers);
        partial = besides(folder, "." + shortened(last) + "." + std::to_string(::getpid()) + "-" + number + ending);
        created = tryToCreate(path, partial);
    }
    if (!created) fail(path, "can't be written", EEXIST);
    file = *created;
    if (claim == Claim::Path) refuseOthers(folder, spoken.empty() ? path : spoken);
}

/// Called when the own file is there, so that of two claims without the folder's lock each sees the other.
void PartialFile::refuseOthers(std::string const &folder, std::string const &spoken) {
    std::string const finalName = shortened(fs::path(path).filename().string());
    for (Partial const &other : partialsIn(folder, [&](std::string const &name) { return name == finalName; })) {
        if (other.file == partial) continue;
        if (!isAlive(other.file, other.process)) {
            ::unlink(other.file.c_str());
            continue;
        }
        ::unlink(partial.c_str());
        ::close(std::exchange(file, -1));
        failAsTaken(spoken, other.process);
    }
}

PartialFile::~PartialFile() {
    if (file < 0) return;
    ::unlink(partial.c_str());
    ::close(file);
}

void PartialFile::commit() {
    // The lock stays with the copy, so that nobody takes the file for abandoned before it has its final name.
    Descriptor const copy(::dup(file));
    int const closed = ::close(std::exchange(file, -1));
    int reason = closed != 0 ? errno : 0;
    if (closed == 0 && std::rename(partial.c_str(), path.c_str()) == 0) return;
    if (closed == 0) reason = errno;
    ::unlink(partial.c_str());
    fail(path, closed != 0 ? "can't be written" : "can't be put in place", reason);
}

void PartialFile::keep() {
    if (file >= 0) ::close(std::exchange(file, -1));
}

std::vector<std::string> findAbandoned(std::string const &folderOrOutput) {
    std::error_code error;
    bool const all = fs::is_directory(folderOrOutput, error);
    std::string const folder = all ? folderOrOutput : folderOf(folderOrOutput);
    std::string const output = all ? "" : shortened(fs::path(folderOrOutput).filename().string());
    FolderLock const lock(folder);
    std::vector<Partial> const partials =
        partialsIn(folder, [&](std::string const &name) { return all || name == output; });
    if (!all && partials.empty() && !fs::exists(folderOrOutput, error))
        throw Exception("'" + folderOrOutput + "' doesn't exist" + nearestExisting(folderOrOutput));
    std::vector<std::string> abandoned;
    for (Partial const &partial : partials)
        if (!isAlive(partial.file, partial.process)) abandoned.push_back(partial.file);
    std::sort(abandoned.begin(), abandoned.end(), naturallyBefore);
    return abandoned;
}

std::vector<std::string> removeAbandoned(std::string const &folderOrOutput) {
    std::vector<std::string> const abandoned = findAbandoned(folderOrOutput);
    for (std::string const &file : abandoned)
        if (::unlink(file.c_str()) != 0 && errno != ENOENT) fail(file, "can't be removed");
    return abandoned;
}

void removeAbandoned(std::string const &folder, Fits const &fits) {
    FolderLock const lock(folder);
    for (Partial const &partial : partialsIn(folder, fits))
        if (!isAlive(partial.file, partial.process)) ::unlink(partial.file.c_str());
}

} // namespace zun::media
