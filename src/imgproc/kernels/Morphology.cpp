#include "imgproc/kernels/Morphology.h"

#include <algorithm>

namespace zun::kernels {

void plain::erodeOrDilate(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                          std::uint32_t columns, Element const &element, unsigned char value, unsigned char hit,
                          unsigned char miss) {
    std::int64_t const height = rows, width = columns;
    for (std::int64_t y = 0; y < height; y++)
        for (std::int64_t x = 0; x < width; x++) {
            std::int64_t const top = y - element.originRow, left = x - element.originColumn;
            std::int64_t const firstRow = std::max<std::int64_t>(top, 0), firstColumn = std::max<std::int64_t>(left, 0);
            std::int64_t const endRow = std::min(top + element.rows, height);
            std::int64_t const endColumn = std::min(left + element.columns, width);
            bool matches = true;
            for (std::int64_t row = firstRow; row < endRow && matches; row++)
                for (std::int64_t column = firstColumn; column < endColumn && matches; column++)
                    matches = in[row * inPitch + column] == value;
            *out++ = matches ? hit : miss;
        }
}

} // namespace zun::kernels
