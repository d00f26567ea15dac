#include "imgproc/kernels/FillRectangle.h"

#include <algorithm>
#include <cstring>

namespace zun::kernels {
namespace {

/// Up to this many pixels, setting one after the other takes less time than a call that copies them.
constexpr std::uint64_t narrow = 8;

void fillRow(Vec3b *first, std::uint64_t width, Vec3b colour) {
    std::uint64_t filled = std::min(width, narrow);
    std::fill_n(first, filled, colour);
    for (; filled < width; filled += std::min(filled, width - filled))
        std::memcpy(first + filled, first, std::min(filled, width - filled) * sizeof(Vec3b));
}

} // namespace

void fillRectangle(Vec3b *first, std::uint64_t width, std::uint64_t height, std::uint64_t pitch, Vec3b colour) {
    if (width == 0 || height == 0) return;
    fillRow(first, width, colour);
    for (std::uint64_t row = 1; row < height; row++) {
        if (width <= narrow)
            std::fill_n(first + row * pitch, width, colour);
        else
            std::memcpy(first + row * pitch, first, width * sizeof(Vec3b));
    }
}

} // namespace zun::kernels
