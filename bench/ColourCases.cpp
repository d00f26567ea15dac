#include <opencv2/imgproc.hpp>

#include "CaseList.h"

namespace zun::bench {
namespace {

/// `bytesPerPixel`: read and written together.
void convert(CaseList &list, std::string const &from, std::shared_ptr<Variant> frame, std::string const &to,
             std::uint64_t bytesPerPixel, Peer peer) {
    list.add({.type = "ConvertColour",
              .setting = from + " to " + to,
              .inputs = {{from, std::move(frame)}},
              .options = {},
              .outputs = {to},
              .peer = std::move(peer),
              .bytes = list.pixels() * bytesPerPixel / 2});
}

} // namespace

void addColourCases(CaseList &list) {
    Frames const &frames = list.frames;
    auto const out = list.out, other = list.other;
    list.on(frames.colour, "NegativeImage", "", {},
            {"bitwise_not", [=, in = frames.colour] { cv::bitwise_not(view(in), *out); }, 1.05});

    auto const cvtColor = [out](auto const &in, int code) { return [=] { cv::cvtColor(view(in), *out, code); }; };
    convert(list, "RGB", value(frames.colour), "Grey", 3 + 1,
            {"cvtColor", cvtColor(frames.colour, cv::COLOR_RGB2GRAY), 0.8});
    convert(list, "RGB", value(frames.colour), "BGR", 3 + 3,
            {"cvtColor", cvtColor(frames.colour, cv::COLOR_RGB2BGR), 1.05});
    Mat<Vec4b, 2> const four(frames.shape, {1, 2, 3, 4});
    convert(list, "RGBA", value(four), "RGB", 4 + 3,
            {"cvtColor", [=] { cv::cvtColor(view<Vec4b, CV_8UC4>(four), *out, cv::COLOR_RGBA2RGB); }, 1.05});
    convert(list, "Grey", value(frames.grey), "RGB", 1 + 3,
            {"cvtColor", cvtColor(frames.grey, cv::COLOR_GRAY2RGB), 1.05});

    constexpr std::uint64_t floatPixel = sizeof(Vec3f);
    convert(list, "RGB", value(frames.colour), "YCbCr", 3 + floatPixel,
            {"convertTo + cvtColor",
             [=, in = frames.colour] {
                 view(in).convertTo(*other, CV_32F, 1.0 / 256);
                 cv::cvtColor(*other, *out, cv::COLOR_RGB2YCrCb);
             },
             0.5});
    convert(list, "YCbCr", value(frames.floats), "RGB", floatPixel + 3,
            {"cvtColor + convertTo",
             [=, in = frames.floats] {
                 cv::cvtColor(view(in), *other, cv::COLOR_YCrCb2RGB);
                 other->convertTo(*out, CV_8U, 256);
             },
             0.5});
    convert(list, "Grey", value(frames.grey), "Binary", 1 + 1,
            {"threshold", [=, in = frames.grey] { cv::threshold(view(in), *out, 127, 1, cv::THRESH_BINARY); }, 1.05});
}

} // namespace zun::bench
