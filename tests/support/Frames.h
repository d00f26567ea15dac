// Frames for tests: made of random bytes, and compared by their elements.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "containers/Mat.h"

namespace zun::test {

/// Elements that differ from one another as far as their type allows.
template <class T>
Mat<T, 2> randomFrame(std::uint32_t rows, std::uint32_t columns, std::mt19937 &random) {
    Mat<T, 2> frame({rows, columns});
    for (std::uint32_t i = 0; i < frame.count; i++)
        if constexpr (requires { T{}[0]; })
            for (auto &channel : frame.first()[i].elements)
                channel = static_cast<std::remove_reference_t<decltype(channel)>>(random() % 256);
        else
            frame.first()[i] = static_cast<T>(random() % 256);
    return frame;
}

template <class T>
std::vector<T> elements(Mat<T, 2> const &frame) {
    return frame.count == 0 ? std::vector<T>() : std::vector<T>(frame.first(), frame.first() + frame.count);
}

} // namespace zun::test
