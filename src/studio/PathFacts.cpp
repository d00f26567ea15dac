#include "studio/PathFacts.h"

#include <algorithm>
#include <filesystem>
#include <vector>

#include <sys/stat.h>

#include "vexa_core/Paths.h"

namespace zun::studio {
namespace {

std::string describe(struct stat const &status) {
    std::string text;
    auto const add = [&](auto number) { text += std::to_string(number) + ","; };
    add(status.st_size);
    add(status.st_mtim.tv_sec);
    add(status.st_mtim.tv_nsec);
    add(status.st_ino);
    return text;
}

/// Of the files in a folder whose names begin with `prefix`.
std::string describeFiles(std::filesystem::path const &folder, std::string const &prefix) {
    std::vector<std::string> files;
    std::error_code error;
    std::filesystem::directory_iterator const all(folder.empty() ? "." : folder, error);
    for (auto entry = begin(all); !error && entry != end(all); entry.increment(error)) {
        std::string const name = entry->path().filename().string();
        struct stat status {};
        if (name.starts_with(prefix) && ::stat(entry->path().c_str(), &status) == 0)
            files.push_back(name + ":" + describe(status));
    }
    std::sort(files.begin(), files.end());
    std::string text;
    for (std::string const &file : files) text += file;
    return text;
}

} // namespace

std::string pathFacts(std::string const &path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) return S_ISDIR(status.st_mode) ? describeFiles(path, "") : describe(status);
    if (::stat(resolve_relative_path(path, true).c_str(), &status) == 0) return describe(status);
    std::filesystem::path const pattern(path);
    std::string const name = pattern.filename().string();
    return describeFiles(pattern.parent_path(), name.substr(0, name.find_first_of("%*?[")));
}

} // namespace zun::studio
