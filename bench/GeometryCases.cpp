#include <algorithm>
#include <array>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "CaseList.h"

namespace zun::bench {
namespace {

void addCrop(CaseList &list, std::string const &setting, cv::Rect const &box, Peer peer) {
    list.add({.type = "Crop<Vec3b>",
              .setting = setting,
              .inputs = {{"image", value(list.frames.colour)},
                         {"box", value(Box{float(box.x), float(box.y), float(box.width), float(box.height)})}},
              .options = {},
              .outputs = {},
              .peer = std::move(peer),
              .bytes = std::uint64_t(box.area()) * sizeof(Vec3b)});
}

enum Algorithm { nearest, bilinear, mean };

void addResize(CaseList &list, std::string const &setting, Colour const &in, Algorithm algorithm, cv::Size size,
               double aim) {
    constexpr std::array interpolations{cv::INTER_NEAREST, cv::INTER_LINEAR, cv::INTER_AREA};
    constexpr std::array names{"resize NEAREST", "resize LINEAR", "resize AREA"};
    int const interpolation = interpolations[algorithm];
    list.add(
        {.type = "ResizeImage",
         .setting = setting,
         .inputs = {{"input", value(in)}},
         .options = {{"algorithm", number(algorithm)}, {"width", number(size.width)}, {"height", number(size.height)}},
         .outputs = {},
         .peer = Peer{names[algorithm], [=, out = list.out] { cv::resize(view(in), *out, size, 0, 0, interpolation); },
                      aim},
         .bytes = (in.bytes() + std::uint64_t(size.area()) * sizeof(Vec3b)) / 2});
}

/// To `numerator` / `denominator` of the size, of as much of the frame as makes this exact.
void addMean(CaseList &list, int numerator, int denominator, double aim) {
    int const columns = list.columns / denominator, rows = list.rows / denominator;
    Colour const in = cornerOf(list.frames.colour, columns * denominator, rows * denominator);
    addResize(list, "mean to " + std::to_string(numerator) + "/" + std::to_string(denominator), in, mean,
              cv::Size(columns * numerator, rows * numerator), aim);
}

void addWarp(CaseList &list) {
    double const angle = 10 * 3.14159265358979 / 180;
    auto const sine = static_cast<float>(std::sin(angle)), cosine = static_cast<float>(std::cos(angle));
    Mat<float, 2> const transform({2, 3});
    std::copy_n(std::array{cosine, -sine, 100.0f, sine, cosine, -100.0f}.begin(), 6, transform.first());
    cv::Size const size(list.columns, list.rows);
    list.add({.type = "WarpAffine",
              .setting = "10 degrees",
              .inputs = {{"image", value(list.frames.colour)}, {"transform", value(transform)}},
              .options = {{"size", OptionNode::ofVector({number(list.rows), number(list.columns)})}},
              .outputs = {},
              .peer = Peer{"warpAffine LINEAR",
                           [=, in = list.frames.colour, out = list.out] {
                               cv::warpAffine(view(in), *out, view<float, CV_32F>(transform), size, cv::INTER_LINEAR,
                                              cv::BORDER_CONSTANT);
                           },
                           0.9},
              .bytes = list.frames.colour.bytes()});
}

} // namespace

void addGeometryCases(CaseList &list) {
    int const columns = list.columns, rows = list.rows;
    Colour const &colour = list.frames.colour;
    cv::Rect const middle(columns / 4, rows / 4, columns / 2, rows / 2);
    addCrop(list, "half the frame", middle,
            {"copy of a region", [=, in = colour, out = list.out] { view(in)(middle).copyTo(*out); }, 1.1});
    addCrop(
        list, "padded by 50", cv::Rect(-50, -50, columns + 100, rows + 100),
        {"copyMakeBorder",
         [in = colour, out = list.out] { cv::copyMakeBorder(view(in), *out, 50, 50, 50, 50, cv::BORDER_REPLICATE); },
         1.1});

    cv::Size const smaller(columns * 2 / 3, rows * 2 / 3);
    addResize(list, "nearest to 2/3", colour, nearest, smaller, 0.6);
    addResize(list, "nearest to double", colour, nearest, cv::Size(columns * 2, rows * 2), 0.4);
    addResize(list, "bilinear to 2/3", colour, bilinear, smaller, 0.95);
    addMean(list, 1, 2, 0.9);
    addMean(list, 1, 3, 0.35);
    addMean(list, 2, 3, 0.35);
    addWarp(list);
}

} // namespace zun::bench
