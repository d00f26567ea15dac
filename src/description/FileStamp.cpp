#include "description/FileStamp.h"

#include <sys/stat.h>

namespace zun::engine {

FileStamp FileStamp::of(std::string const &path) {
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0) return {};
    return {facts.st_dev,         facts.st_ino,          static_cast<std::uint64_t>(facts.st_size),
            facts.st_mtim.tv_sec, facts.st_mtim.tv_nsec, true};
}

} // namespace zun::engine
