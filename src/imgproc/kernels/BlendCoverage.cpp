#include "imgproc/kernels/BlendCoverage.h"

#include <algorithm>

namespace zun::kernels {
namespace {

void blendRow(unsigned char const *__restrict coverages, Vec3b *__restrict pixels, std::int64_t count, Vec3b colour) {
    for (std::int64_t i = 0; i < count; i++) {
        unsigned const coverage = coverages[i];
        for (int channel = 0; channel < 3; channel++)
            pixels[i][channel] =
                static_cast<unsigned char>((coverage * colour[channel] + (255 - coverage) * pixels[i][channel]) / 255);
    }
}

} // namespace

void blendCoverage(Coverage const &coverage, Vec3b *frame, FrameSize size, int top, int left, Vec3b colour) {
    std::int64_t const y = top, x = left;
    std::int64_t const firstRow = std::max<std::int64_t>(0, -y), firstColumn = std::max<std::int64_t>(0, -x);
    std::int64_t const endRow = std::min<std::int64_t>(coverage.rows, size.rows - y);
    std::int64_t const endColumn = std::min<std::int64_t>(coverage.columns, size.columns - x);
    if (firstColumn >= endColumn) return;
    for (std::int64_t row = firstRow; row < endRow; row++)
        blendRow(coverage.first + row * coverage.pitch + firstColumn,
                 frame + (y + row) * size.columns + x + firstColumn, endColumn - firstColumn, colour);
}

} // namespace zun::kernels
