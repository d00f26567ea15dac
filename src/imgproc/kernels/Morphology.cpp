#include "imgproc/kernels/Morphology.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace zun::kernels {
namespace {

/// Notes `row` as the last mismatch of each column that has one there.
void noteMismatches(unsigned char const *__restrict in, std::int32_t *__restrict lastMismatch, std::int32_t columns,
                    std::int32_t row, unsigned char value) {
    for (std::int32_t x = 0; x < columns; x++) lastMismatch[x] = in[x] == value ? lastMismatch[x] : row;
}

void markAtOrBelow(std::int32_t const *__restrict lastMismatch, unsigned char *__restrict marks, std::int32_t columns,
                   std::int32_t top) {
    for (std::int32_t x = 0; x < columns; x++) marks[x] = lastMismatch[x] >= top;
}

/// out[x] = in[x] | in[x + distance]
void orWithNeighbour(unsigned char const *__restrict in, unsigned char *__restrict out, std::int32_t count,
                     std::int32_t distance) {
    for (std::int32_t x = 0; x < count; x++) out[x] = in[x] | in[x + distance];
}

void writeResult(unsigned char const *__restrict in, unsigned char *__restrict out, std::int32_t count,
                 std::int32_t distance, unsigned char hit, unsigned char miss) {
    for (std::int32_t x = 0; x < count; x++) out[x] = (in[x] | in[x + distance]) != 0 ? miss : hit;
}

} // namespace

void plain::erodeOrDilate(unsigned char const *in, std::uint32_t inPitch, unsigned char *out, std::uint32_t rows,
                         std::uint32_t columns, Element const &element, unsigned char value, unsigned char hit,
                         unsigned char miss) {
    if (rows == 0 || columns == 0) return;
    auto const height = static_cast<std::int32_t>(rows), width = static_cast<std::int32_t>(columns);

    // Of a window over a row's columns, as many lie left of the frame at the first pixel as the origin says. Marks of
    // columns off the frame stay 0 for ever.
    std::vector<unsigned char> columnMarks(static_cast<std::size_t>(width) + static_cast<std::size_t>(element.columns));
    std::vector<unsigned char> buffers[2] = {columnMarks, columnMarks};
    std::vector<std::int32_t> lastMismatch(columns, -1);

    for (std::int32_t y = 0, noted = 0; y < height; y++, out += width) {
        std::int64_t const bottom = std::min<std::int64_t>(std::int64_t(y) - element.originRow + element.rows, height);
        for (; noted < bottom; noted++)
            noteMismatches(in + std::uint64_t(noted) * inPitch, lastMismatch.data(), width, noted, value);
        std::int32_t const top = std::max(y - element.originRow, 0);
        markAtOrBelow(lastMismatch.data(), columnMarks.data() + element.originColumn, width, top);

        // marks[x] tells of `covered` columns from x on; twice as many with each step.
        unsigned char const *marks = columnMarks.data();
        std::int32_t covered = 1;
        for (int next = 0; covered <= element.columns / 2; covered *= 2, next = 1 - next) {
            orWithNeighbour(marks, buffers[next].data(), width + element.columns - 2 * covered, covered);
            marks = buffers[next].data();
        }
        writeResult(marks, out, width, element.columns - covered, hit, miss);
    }
}

} // namespace zun::kernels
