// The crop with replicated edges in its five steps, one cell at a time and every cell checked: what cropReplicate() is
// held against.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace zun::test {

/// The result's cells, or nothing as soon as a step touches a cell outside of the source or outside of its row of the
/// result.
template <class T>
std::optional<std::vector<T>> literalCrop(std::vector<T> const &source, std::int64_t R, std::int64_t C, std::int64_t x,
                                          std::int64_t y, std::int64_t width, std::int64_t height) {
    if (width < 0 || height < 0) return std::nullopt;
    std::vector<T> result(static_cast<std::size_t>(width * height), T{});
    bool inside = true;
    auto const set = [&](std::int64_t row, std::int64_t column, std::int64_t fromRow, std::int64_t fromColumn) {
        inside = row >= 0 && row < height && column >= 0 && column < width && fromRow >= 0 && fromRow < R &&
                 fromColumn >= 0 && fromColumn < C;
        if (inside)
            result[static_cast<std::size_t>(row * width + column)] =
                source[static_cast<std::size_t>(fromRow * C + fromColumn)];
        return inside;
    };
    auto const copyRow = [&](std::int64_t from, std::int64_t to) {
        inside = from >= 0 && from < height && to >= 0 && to < height;
        if (inside) std::copy_n(result.begin() + from * width, width, result.begin() + to * width);
        return inside;
    };

    std::int64_t const firstRow = std::max<std::int64_t>(y, 0), endRow = std::min(y + height, R);
    for (std::int64_t r = firstRow; r < endRow; r++)
        for (std::int64_t c = std::max<std::int64_t>(x, 0); c < std::min(x + width, C); c++)
            if (!set(r - y, c - x, r, c)) return std::nullopt;
    if (x < 0)
        for (std::int64_t r = firstRow; r < endRow; r++)
            for (std::int64_t c = x; c <= -1; c++)
                if (!set(r - y, c - x, r, 0)) return std::nullopt;
    if (x + width > C)
        for (std::int64_t r = firstRow; r < endRow; r++)
            for (std::int64_t c = C; c < x + width; c++)
                if (!set(r - y, c - x, r, C - 1)) return std::nullopt;
    if (y <= 0 && height > -y)
        for (std::int64_t r = y; r < std::min<std::int64_t>(y + height, 0); r++)
            if (!copyRow(-y, r - y)) return std::nullopt;
    std::int64_t const last = R - 1 - y;
    if (last >= 0 && last < height)
        for (std::int64_t r = std::max(R, y); r < y + height; r++)
            if (!copyRow(last, r - y)) return std::nullopt;
    return result;
}

} // namespace zun::test
