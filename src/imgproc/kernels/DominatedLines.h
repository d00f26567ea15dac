// Overwriting the lines of a binary frame that are mostly foreground.
#pragma once

#include <cstdint>

namespace zun::kernels {

/// Overwrites each row that is dominated with 0, or with 1 if `inverted`. A row is dominated unless the threshold is
/// above the sum of its bytes, or with `inverted` the number of its columns less that sum, as a fraction of the
/// columns. A threshold that is not a number dominates every row.
void overwriteDominatedRows(unsigned char *pixels, std::uint32_t rows, std::uint32_t columns, float threshold,
                            bool inverted);

/// The same for columns.
void overwriteDominatedColumns(unsigned char *pixels, std::uint32_t rows, std::uint32_t columns, float threshold,
                               bool inverted);

} // namespace zun::kernels
