// The extents of a frame, for kernels that look beyond single pixels.
#pragma once

#include <cstdint>

namespace zun::kernels {

struct FrameSize {
    std::uint32_t rows, columns;

    friend constexpr bool operator==(FrameSize const &, FrameSize const &) = default;
};

} // namespace zun::kernels
