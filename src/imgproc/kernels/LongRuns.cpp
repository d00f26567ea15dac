#include "imgproc/kernels/LongRuns.h"

#include <cstring>
#include <vector>

namespace zun::kernels {
namespace {

/// Overwrites all but the pixels that a run follows; `next` holds the pixel after each of `in` in its line.
void overwriteAllBut(unsigned char const *__restrict in, unsigned char const *__restrict next,
                     unsigned char *__restrict out, std::uint32_t count, RunRule const &rule) {
    unsigned char const run = rule.runValue, fill = rule.fillValue;
    for (std::uint32_t i = 0; i < count; i++) out[i] = (in[i] != run) & (next[i] == run) ? out[i] : fill;
}

void overwriteLongRuns(unsigned char const *in, unsigned char *out, std::uint32_t length, RunRule const &rule) {
    auto const least = static_cast<std::uint32_t>(rule.leastLength);
    for (std::uint32_t first = 0; first < length;) {
        bool const run = in[first] == rule.runValue;
        std::uint32_t end = first + 1;
        while (end < length && (in[end] == rule.runValue) == run) end++;
        if (run && end - first >= least) std::memset(out + first, rule.fillValue, end - first);
        first = end;
    }
}

/// Whether a run of the least length ends above this row, in any column.
bool anyEnds(unsigned char const *__restrict in, std::uint32_t const *__restrict lengths, std::uint32_t columns,
             unsigned char runValue, std::uint32_t least) {
    std::uint32_t ends = 0;
    for (std::uint32_t x = 0; x < columns; x++) ends |= std::uint32_t(in[x] != runValue) & (lengths[x] >= least);
    return ends != 0;
}

void lengthen(unsigned char const *__restrict in, std::uint32_t *__restrict lengths, std::uint32_t columns,
              unsigned char runValue) {
    for (std::uint32_t x = 0; x < columns; x++) lengths[x] = in[x] == runValue ? lengths[x] + 1 : 0;
}

/// Overwrites the `length` pixels above `below`.
void overwriteAbove(unsigned char *below, std::uint32_t pitch, std::uint32_t length, unsigned char value) {
    for (; length > 0; length--) *(below -= pitch) = value;
}

} // namespace

void plain::overwriteLongRowRuns(unsigned char const *in, unsigned char *out, std::uint32_t rows, std::uint32_t columns,
                                 RunRule const &rule) {
    if (columns == 0) return;
    for (std::uint32_t row = 0; row < rows; row++, in += columns, out += columns) {
        if (rule.leastLength < 1) {
            overwriteAllBut(in, in + 1, out, columns - 1, rule);
            out[columns - 1] = rule.fillValue;
        } else {
            overwriteLongRuns(in, out, columns, rule);
        }
    }
}

void plain::overwriteLongColumnRuns(unsigned char const *in, std::uint32_t inPitch, unsigned char *out,
                                    std::uint32_t rows, std::uint32_t columns, RunRule const &rule) {
    if (rows == 0 || columns == 0) return;
    if (rule.leastLength < 1) {
        for (; rows > 1; rows--, in += inPitch, out += columns) overwriteAllBut(in, in + inPitch, out, columns, rule);
        std::memset(out, rule.fillValue, columns);
        return;
    }
    // Of each column, how long the run is that ends just above the row. The frame goes by row by row, as it lies.
    std::vector<std::uint32_t> lengths(columns, 0);
    auto const least = static_cast<std::uint32_t>(rule.leastLength);
    for (; rows > 0; rows--, in += inPitch, out += columns) {
        if (anyEnds(in, lengths.data(), columns, rule.runValue, least))
            for (std::uint32_t x = 0; x < columns; x++)
                if (in[x] != rule.runValue && lengths[x] >= least)
                    overwriteAbove(out + x, columns, lengths[x], rule.fillValue);
        lengthen(in, lengths.data(), columns, rule.runValue);
    }
    for (std::uint32_t x = 0; x < columns; x++)
        if (lengths[x] >= least) overwriteAbove(out + x, columns, lengths[x], rule.fillValue);
}

} // namespace zun::kernels
