#include <algorithm>
#include <array>

#include <opencv2/imgproc.hpp>

#include "CaseList.h"

namespace zun::bench {
namespace {

void addBlurs(CaseList &list, int size, double greyAim, double colourAim) {
    Options const options{{"kernelSizeX", number(size)}, {"kernelSizeY", number(size)}};
    std::string const setting = std::to_string(size) + "x" + std::to_string(size);
    auto const blur = [size, out = list.out](auto const &in) {
        return [=] { cv::blur(view(in), *out, cv::Size(size, size)); };
    };
    list.on(list.frames.grey, "GreyBoxBlur", setting, options, {"blur", blur(list.frames.grey), greyAim});
    list.on(list.frames.colour, "RGBBoxBlur", setting, options, {"blur", blur(list.frames.colour), colourAim});
}

/// Equalises the first channel; `histogram` is kept from call to call.
void equaliseBrightness(cv::Mat const &in, cv::Mat &histogram, cv::Mat &out) {
    constexpr int bins = 256;
    int const channel = 0;
    float const range[] = {0, 1};
    float const *ranges[] = {range};
    cv::calcHist(&in, 1, &channel, cv::Mat(), histogram, 1, &bins, ranges);
    std::array<float, bins> share{};
    float below = 0;
    for (int bin = 0; bin < bins; bin++) {
        share[std::size_t(bin)] = below / static_cast<float>(in.total());
        below += histogram.at<float>(bin);
    }
    out.create(in.size(), CV_32FC3);
    auto const *const from = in.ptr<cv::Vec3f>();
    auto *const to = out.ptr<cv::Vec3f>();
    for (std::size_t i = 0; i < in.total(); i++) {
        int const bin = std::clamp(static_cast<int>(from[i][0] * bins), 0, bins - 1);
        to[i] = {share[std::size_t(bin)], from[i][1], from[i][2]};
    }
}

/// OpenCV has nothing like it. The aim is in milliseconds for a number of pixels.
void addSlidingWindow(CaseList &list, Grey const &frame, std::string const &setting, int step, double aim,
                      double aimedPixels) {
    list.add({.type = "SlidingWindowNormalizeGreyImage",
              .setting = setting,
              .inputs = {{"input", value(frame)}},
              .options = {{"stepX", number(step)},
                          {"stepY", number(step)},
                          {"windowWidth", number(64)},
                          {"windowHeight", number(64)}},
              .outputs = {},
              .peer = {},
              .bytes = frame.bytes(),
              .aimedMilliseconds = aim * double(frame.count) / aimedPixels});
}

} // namespace

void addFilterCases(CaseList &list) {
    Frames const &frames = list.frames;
    addBlurs(list, 3, 0.8, 0.85);
    addBlurs(list, 9, 0.8, 0.95);
    addBlurs(list, 31, 0.75, 0.8);
    list.on(frames.grey, "NormalizeGreyImage", "", {},
            {"equalizeHist", [in = frames.grey, out = list.out] { cv::equalizeHist(view(in), *out); }, 0.7});
    list.on(frames.floats, "NormalizeYCbCrImage", "", {},
            {"calcHist + a pass",
             [in = frames.floats, out = list.out, histogram = list.other] {
                 equaliseBrightness(view(in), *histogram, *out);
             },
             0.35});

    constexpr double fullHd = 1920.0 * 1080.0;
    addSlidingWindow(list, frames.grey, "64x64, step 1", 1, 80, fullHd);
    addSlidingWindow(list, frames.grey, "64x64, step 8", 8, 11, fullHd);
    constexpr int side = 512;
    addSlidingWindow(list, Frames(side, side).grey, "64x64, step 1, on 512x512", 1, 11, side * side);
}

} // namespace zun::bench
