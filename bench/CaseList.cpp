#include "CaseList.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <opencv2/core/utility.hpp>

namespace zun::bench {
namespace {

double brightness(double x, double y, double phase) {
    double const hills = std::sin(x * 0.011 + phase) + std::cos(y * 0.017 - phase) + std::sin((x + y) * 0.031);
    bool const disc = std::hypot(std::fmod(x, 160) - 80, std::fmod(y, 120) - 60) < 35;
    return 110 + hills * 25 + (disc ? 50 : 0);
}

} // namespace

Frames::Frames(int columns, int rows)
    : shape{static_cast<std::uint32_t>(rows), static_cast<std::uint32_t>(columns)}, grey(shape), binary(shape),
      coarse(shape), colour(shape), floats(shape) {
    std::mt19937 random(1);
    std::normal_distribution<double> noise(0, 4);
    for (int y = 0; y < rows; y++)
        for (int x = 0; x < columns; x++) {
            auto const at = std::size_t(y) * std::size_t(columns) + std::size_t(x);
            for (int channel = 0; channel < 3; channel++) {
                double const value = std::clamp(brightness(x, y, channel * 0.7) + noise(random), 0.0, 255.0);
                colour.first()[at][channel] = static_cast<unsigned char>(value);
                floats.first()[at][channel] = static_cast<float>(value / 256) - (channel > 0 ? 0.5f : 0.0f);
            }
            grey.first()[at] = colour.first()[at][0];
            binary.first()[at] = grey.first()[at] > 128;
            coarse.first()[at] = brightness(x, y, 0) > 140;
        }
}

std::vector<NodeCase> nodeCases(kernels::FrameSize size) {
    cv::setNumThreads(1);
    CaseList list(static_cast<int>(size.columns), static_cast<int>(size.rows));
    for (auto const addCases : {addColourCases, addDrawingCases, addMaskCases, addBinaryCases, addDetectorCases,
                                addFilterCases, addGeometryCases})
        addCases(list);
    return std::move(list.cases);
}

} // namespace zun::bench
