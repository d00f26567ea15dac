#include "vexa_core/Memory.h"

#include <unistd.h>

namespace zun {

std::uint64_t quarterOfMemory() {
    long const pages = ::sysconf(_SC_PHYS_PAGES), pageSize = ::sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return std::uint64_t(1) << 30;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize) / 4;
}

} // namespace zun
