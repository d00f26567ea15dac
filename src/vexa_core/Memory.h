// The machine's memory.
#pragma once

#include <cstdint>

namespace zun {

/// A quarter of the machine's memory, in bytes: what pools and runs keep to unless told otherwise. Thread-safe.
std::uint64_t quarterOfMemory();

} // namespace zun
