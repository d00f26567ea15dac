#include "vexa_core/Paths.h"

#include <filesystem>
#include <system_error>

#include <dlfcn.h>

namespace fs = std::filesystem;

namespace zun {

std::string installationPrefix() {
    static std::string const prefix = [] {
        Dl_info info{};
        if (dladdr(reinterpret_cast<void const *>(&installationPrefix), &info) == 0 || info.dli_fname == nullptr)
            return std::string(".");
        std::error_code error;
        fs::path library = fs::canonical(info.dli_fname, error);
        if (error) library = fs::absolute(info.dli_fname);
        return library.parent_path().parent_path().string();
    }();
    return prefix;
}

std::string resolve_relative_path(std::string const &path, bool searchInstallation) {
    fs::path const given(path);
    if (path.empty() || given.is_absolute()) return path;
    std::error_code error;
    if (searchInstallation) {
        fs::path const installed = fs::path(installationPrefix()) / given;
        if (fs::exists(installed, error)) return installed.string();
    }
    fs::path const local = fs::current_path(error) / given;
    return !error && fs::exists(local, error) ? local.string() : path;
}

} // namespace zun
