#include <opencv2/imgproc.hpp>

#include "CaseList.h"

namespace zun::bench {
namespace {

/// An ellipse that fills the frame.
void drawEllipse(cv::Mat &mask) {
    mask.setTo(0);
    cv::Size const radii(mask.cols / 2, mask.rows / 2);
    cv::ellipse(mask, cv::Point(radii.width, radii.height), radii, 0, 0, 360, cv::Scalar(1), cv::FILLED);
}

Mask ellipseIn(cv::Rect const &box) {
    Grey const mask({static_cast<std::uint32_t>(box.height), static_cast<std::uint32_t>(box.width)});
    cv::Mat seen = view(mask);
    drawEllipse(seen);
    return {{box.x, box.y, box.width, box.height}, mask};
}

/// Side by side, in four rows.
std::vector<cv::Rect> twentyBoxes(int columns, int rows) {
    std::vector<cv::Rect> boxes;
    for (int i = 0; i < 20; i++) boxes.emplace_back(i % 5 * columns / 5, i / 5 * rows / 4, columns / 6, rows / 5);
    return boxes;
}

void addApplyMask(CaseList &list, std::string const &setting, std::vector<Mask> const &masks) {
    Colour const target = list.frames.colour.clone(), source(list.frames.shape, {1, 2, 3});
    std::uint64_t pixels = 0;
    for (Mask const &mask : masks) pixels += mask.mask.count;
    list.add({.type = "ApplyMask",
              .setting = setting,
              .inputs = {{"masks", value(masks)},
                         {"sourceFrames", value(std::vector<Colour>{source})},
                         {"targetFrames", value(target)}},
              .options = {},
              .outputs = {},
              .peer = Peer{"copyTo with mask",
                           [=] {
                               for (Mask const &mask : masks) {
                                   auto const &[x, y, width, height] = mask.rectangle;
                                   cv::Rect const box(x, y, width, height);
                                   cv::Mat part = view(target)(box);
                                   view(source)(box).copyTo(part, view(mask.mask));
                               }
                           },
                           0.9},
              .bytes = pixels * (1 + 3 + 3) / 2});
}

} // namespace

void addMaskCases(CaseList &list) {
    list.on(list.frames.colour, "EllipseMask", "", {},
            {"ellipse + copyTo",
             [in = list.frames.colour, out = list.out, mask = list.other] {
                 cv::Mat const seen = view(in);
                 mask->create(seen.size(), CV_8UC1);
                 drawEllipse(*mask);
                 out->create(seen.size(), CV_8UC3);
                 out->setTo(0);
                 seen.copyTo(*out, *mask);
             },
             0.5});

    std::vector<cv::Rect> const boxes = twentyBoxes(list.columns, list.rows);
    std::vector<Box> rectangles;
    std::vector<Mask> masks;
    std::uint64_t pixels = 0;
    for (cv::Rect const &box : boxes) {
        rectangles.push_back({float(box.x), float(box.y), float(box.width), float(box.height)});
        masks.push_back(ellipseIn(box));
        pixels += masks.back().mask.count;
    }
    auto const drawn = std::make_shared<std::vector<cv::Mat>>();
    for (cv::Rect const &box : boxes) drawn->emplace_back(box.size(), CV_8UC1);
    list.add({.type = "MaskFactory",
              .setting = "20 ellipses",
              .inputs = {{"rectangles", value(rectangles)}},
              .options = {{"maskShape", number(1)}},
              .outputs = {},
              .peer = Peer{"ellipse x 20",
                           [drawn] {
                               for (cv::Mat &mask : *drawn) drawEllipse(mask);
                           }},
              .bytes = pixels / 2});

    addApplyMask(list, "full frame", {{{0, 0, list.columns, list.rows}, Grey(list.frames.shape, 1)}});
    addApplyMask(list, "20 boxes", masks);
}

} // namespace zun::bench
