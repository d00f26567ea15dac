#include <opencv2/imgproc.hpp>

#include "CaseList.h"

namespace zun::bench {
namespace {

using Contours = std::vector<std::vector<cv::Point>>;

void addCanny(CaseList &list) {
    list.add(
        {.type = "CannyEdgeDetector",
         .setting = "50, 150",
         .inputs = {{"image", value(list.frames.grey)}},
         .options = {{"l2GradNorm", flag(false)}, {"minThresh", real(50)}, {"maxThresh", real(150)}},
         .outputs = {},
         .peer = Peer{"Canny", [in = list.frames.grey, out = list.out] { cv::Canny(view(in), *out, 50, 150); }, 1.02},
         .bytes = list.frames.grey.bytes()});
}

void addHoughLines(CaseList &list) {
    Grey const edges(list.frames.shape);
    cv::Mat drawn = view(edges);
    cv::Canny(view(list.frames.coarse) * 255, drawn, 50, 150);
    auto const lines = std::make_shared<std::vector<cv::Vec4i>>();
    list.add(
        {.type = "HoughLines",
         .setting = "",
         .inputs = {{"image", value(edges)}},
         .options = {{"edgeThresh", number(0)},
                     {"lineGapMax", number(5)},
                     {"lineLenMin", number(40)},
                     {"quantize", flag(false)},
                     {"rho", real(1)},
                     {"theta", real(0.017453292)},
                     {"threshold", number(50)}},
         .outputs = {},
         .peer = Peer{"HoughLinesP", [=] { cv::HoughLinesP(view(edges), *lines, 1, 0.017453292, 50, 40, 5); }, 1.02},
         .bytes = edges.bytes()});
}

/// Measures what the search has found.
void measure(Contours const &contours, double &sum) {
    for (auto const &contour : contours) sum += cv::contourArea(contour) + cv::boundingRect(contour).width;
}

/// Twice for each frame: beside the search in a frame of ints, which tells the borders of holes from those of objects,
/// as the node does, and beside the search in bytes, which doesn't.
void addFindContours(CaseList &list, std::string const &setting, Grey const &frame) {
    auto const contours = std::make_shared<Contours>();
    auto const sum = std::make_shared<double>(0);
    list.on(frame, "FindContours", setting, {},
            {"findContours on ints + areas + boxes",
             [=, labels = list.other, hierarchy = list.out] {
                 view(frame).convertTo(*labels, CV_32S);
                 cv::findContours(*labels, *contours, *hierarchy, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE);
                 measure(*contours, *sum);
             },
             0.35});
    list.on(frame, "FindContours", setting, {}, {"findContours on bytes + areas + boxes", [=] {
                                                     cv::findContours(view(frame), *contours, cv::RETR_LIST,
                                                                      cv::CHAIN_APPROX_NONE);
                                                     measure(*contours, *sum);
                                                 }});
}

/// With thousands of specks along the edges.
Grey speckled(Frames const &frames) {
    Grey const result(frames.shape);
    cv::Mat smooth, drawn = view(result);
    cv::blur(view(frames.grey), smooth, cv::Size(2, 2));
    cv::threshold(smooth, drawn, 128, 1, cv::THRESH_BINARY);
    return result;
}

} // namespace

void addDetectorCases(CaseList &list) {
    addCanny(list);
    addHoughLines(list);
    addFindContours(list, "specks", speckled(list.frames));
    addFindContours(list, "few contours", list.frames.coarse);
}

} // namespace zun::bench
