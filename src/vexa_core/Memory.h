// The machine's memory.
#pragma once

#include <cstdint>

namespace zun {

/// A quarter of the machine's memory, in bytes: the bound of pools and runs where a host sets none. Thread-safe.
std::uint64_t quarterOfMemory();

} // namespace zun
