// One axis of a box that moves along lines, for the forms of boxBlur().
#pragma once

#include <cstddef>
#include <cstdint>

namespace zun::kernels {

/// Positions on a line are held within it: that is what repeats the edge.
class BoxWindow {
public:
    std::int64_t size;
    float weight;

    BoxWindow(int extent, std::uint32_t lineLength)
        : size(extent), weight(1.0f / static_cast<float>(extent)), before(extent / 2),
          last(std::int64_t(lineLength) - 1) {}

    /// The i-th position under the window at the line's first.
    std::size_t first(std::int64_t i) const { return onLine(i - before); }
    /// The positions that leave and enter as the window moves to `position`.
    std::size_t leaving(std::int64_t position) const { return onLine(position - before - 1); }
    std::size_t entering(std::int64_t position) const { return onLine(position + size - before - 1); }

private:
    std::size_t onLine(std::int64_t position) const {
        return static_cast<std::size_t>(position < 0 ? 0 : position < last ? position : last);
    }

    std::int64_t before, last;
};

} // namespace zun::kernels
