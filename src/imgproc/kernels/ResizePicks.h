// Storage for picking the pixels of chosen columns out of rows, which is what the fast forms of resizing share.
#pragma once

#include <cstddef>

#include "imgproc/kernels/Scratch.h"

namespace zun::kernels {

/// No target has more lanes of four bytes.
constexpr std::size_t mostLanes = 16;

/// Rows of lanes end with a whole vector.
constexpr std::size_t wholeVectors(std::size_t columns) { return (columns + mostLanes - 1) / mostLanes * mostLanes; }

/// A choice of columns. Its arrays have `count` elements, a multiple of mostLanes; `indices` four times as many.
struct Picks {
    std::size_t count;
    std::uint32_t *columns;
    std::uint64_t *windows; ///< for each block of picks, the byte of a row where those that hold it begin
    std::uint8_t *indices;  ///< for each byte of a block, its place in the window
    bool windowed;          ///< whether there are such windows
    std::size_t wholeWords; ///< so many picks, the first ones, may be read as words, one byte beyond the pixel
};

/// Storage for several choices of as many columns.
class PickScratch {
public:
    PickScratch(std::size_t choices, std::size_t columns)
        : count(wholeVectors(columns)), chosen(choices * count), windows(choices * count),
          indices(choices * 4 * count) {}

    /// The choice of columns[0], columns[1]... The last one is repeated up to a whole vector.
    template <class ColumnOf>
    Picks picks(std::size_t choice, std::size_t columns, ColumnOf columnOf) const {
        std::size_t const at = choice * count;
        for (std::size_t i = 0; i < count; i++) chosen[at + i] = columnOf(i < columns ? i : columns - 1);
        return {count, chosen.data() + at, windows.data() + at, indices.data() + 4 * at, false, 0};
    }

private:
    std::size_t count;
    Scratch<std::uint32_t> chosen;
    Scratch<std::uint64_t> windows;
    Scratch<std::uint8_t> indices;
};

} // namespace zun::kernels
