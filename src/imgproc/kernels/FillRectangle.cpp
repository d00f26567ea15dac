#include "imgproc/kernels/FillRectangle.h"

#include <algorithm>
#include <cstring>

namespace zun::kernels {

void fillRectangle(Vec3b *first, std::uint64_t width, std::uint64_t height, std::uint64_t pitch, Vec3b colour) {
    if (width == 0 || height == 0) return;
    std::fill_n(first, width, colour);
    for (std::uint64_t row = 1; row < height; row++) std::memcpy(first + row * pitch, first, width * sizeof(Vec3b));
}

} // namespace zun::kernels
