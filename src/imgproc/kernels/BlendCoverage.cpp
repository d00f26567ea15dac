#include "imgproc/kernels/BlendCoverage.h"

#include <algorithm>

namespace zun::kernels {

Overlap overlapOf(Coverage const &coverage, FrameSize size, int top, int left) {
    std::int64_t const y = top, x = left;
    return {std::max<std::int64_t>(0, -y), std::min<std::int64_t>(coverage.rows, size.rows - y),
            std::max<std::int64_t>(0, -x), std::min<std::int64_t>(coverage.columns, size.columns - x)};
}

void plain::blendCoverage(Coverage const &coverage, Vec3b *frame, FrameSize size, int top, int left, Vec3b colour) {
    Overlap const overlap = overlapOf(coverage, size, top, left);
    for (std::int64_t row = overlap.firstRow; row < overlap.endRow; row++)
        for (std::int64_t column = overlap.firstColumn; column < overlap.endColumn; column++) {
            unsigned const cover = coverage.first[row * coverage.pitch + column];
            Vec3b &pixel = frame[(top + row) * size.columns + left + column];
            for (int k = 0; k < 3; k++)
                pixel[k] = static_cast<unsigned char>((cover * colour[k] + (255 - cover) * pixel[k]) / 255);
        }
}

} // namespace zun::kernels
