#include "imgproc/kernels/DominatedLines.h"

#include <algorithm>
#include <cstring>

namespace zun::kernels {
namespace {

bool isDominated(std::uint32_t sum, std::uint32_t length, float threshold, bool inverted) {
    auto const foreground = static_cast<std::int32_t>(inverted ? length - sum : sum);
    float const fraction = static_cast<float>(foreground) / static_cast<float>(length);
    return !(threshold > fraction);
}

/// As many columns as fill a cache line are summed side by side.
constexpr std::uint32_t blockColumns = 64;

void sumColumns(unsigned char const *__restrict block, std::uint32_t rows, std::uint32_t pitch, std::uint32_t width,
                std::uint32_t *__restrict sums) {
    std::fill_n(sums, width, 0);
    for (std::uint32_t row = 0; row < rows; row++, block += pitch)
        for (std::uint32_t k = 0; k < width; k++) sums[k] += block[k];
}

/// Overwrites the columns whose byte in `dominated` is not 0.
void overwriteColumns(unsigned char *__restrict block, std::uint32_t rows, std::uint32_t pitch, std::uint32_t width,
                      unsigned char const *__restrict dominated, unsigned char value) {
    for (std::uint32_t row = 0; row < rows; row++, block += pitch)
        for (std::uint32_t k = 0; k < width; k++) block[k] = dominated[k] != 0 ? value : block[k];
}

} // namespace

void overwriteDominatedRows(unsigned char *pixels, std::uint32_t rows, std::uint32_t columns, float threshold,
                            bool inverted) {
    if (columns == 0) return;
    for (std::uint32_t row = 0; row < rows; row++, pixels += columns) {
        std::uint32_t sum = 0;
        for (std::uint32_t column = 0; column < columns; column++) sum += pixels[column];
        if (isDominated(sum, columns, threshold, inverted)) std::memset(pixels, inverted ? 1 : 0, columns);
    }
}

void overwriteDominatedColumns(unsigned char *pixels, std::uint32_t rows, std::uint32_t columns, float threshold,
                               bool inverted) {
    if (rows == 0) return;
    std::uint32_t sums[blockColumns];
    unsigned char dominated[blockColumns];
    for (std::uint32_t first = 0; first < columns;) {
        std::uint32_t const width = std::min(columns - first, blockColumns);
        sumColumns(pixels + first, rows, columns, width, sums);
        bool any = false;
        for (std::uint32_t k = 0; k < width; k++) {
            dominated[k] = isDominated(sums[k], rows, threshold, inverted);
            any = any || dominated[k] != 0;
        }
        if (any) overwriteColumns(pixels + first, rows, columns, width, dominated, inverted ? 1 : 0);
        first += width;
    }
}

} // namespace zun::kernels
