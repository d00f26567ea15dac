#include <opencv2/imgproc.hpp>

#include "CaseList.h"

namespace zun::bench {
namespace {

/// All ten frames exist at the same time, as a node has to make them.
void addSequence(CaseList &list) {
    auto const made = std::make_shared<std::vector<cv::Mat>>(10);
    list.add({.type = "Grey2BinarySequence",
              .setting = "5 thresholds, both",
              .inputs = {{"input", value(list.frames.grey)}},
              .options = {{"binThresholdCount", number(5)},
                          {"binThresholdMin", number(60)},
                          {"binThresholdMax", number(180)},
                          {"inverted", flag(true)},
                          {"noninverted", flag(true)}},
              .outputs = {},
              .peer = Peer{"threshold x 10",
                           [=, in = list.frames.grey] {
                               for (int i = 0; i < 10; i++)
                                   cv::threshold(view(in), (*made)[std::size_t(i)], 60 + 30 * (i / 2), 1,
                                                 i % 2 == 0 ? cv::THRESH_BINARY : cv::THRESH_BINARY_INV);
                           },
                           0.6},
              .bytes = list.pixels() * (1 + 10) / 2});
}

void addMorphology(CaseList &list, int width, int height, double aim) {
    cv::Mat const element = cv::Mat::ones(height, width, CV_8UC1);
    list.on(list.frames.binary, "ApplyHomogenousMorphology", std::to_string(width) + "x" + std::to_string(height),
            {{"elementSizeX", number(width)},
             {"elementSizeY", number(height)},
             {"originX", number(width / 2)},
             {"originY", number(height / 2)},
             {"elementValue", number(1)},
             {"invert", flag(false)}},
            {"erode", [=, in = list.frames.binary, out = list.out] { cv::erode(view(in), *out, element); }, aim});
}

/// With a line from edge to edge in every 50 rows and columns.
Grey ruled(Grey const &frame) {
    constexpr int distance = 50;
    Grey const result = frame.clone();
    cv::Mat const lines = view(result);
    for (int row = distance / 2; row < lines.rows; row += distance) lines.row(row).setTo(1);
    for (int column = distance / 2; column < lines.cols; column += distance) lines.col(column).setTo(1);
    return result;
}

void addDominatedLines(CaseList &list, Grey const &frame, bool horizontal) {
    constexpr double share = 0.9;
    int const lines = horizontal ? list.rows : list.columns;
    double const most = share * (horizontal ? list.columns : list.rows);
    list.on(frame, "BinaryDominatedRowColRemover", horizontal ? "rows" : "columns",
            {{"horizontal", flag(horizontal)}, {"threshold", real(share)}},
            {"reduce + fill",
             [=, out = list.out, sums = list.other] {
                 cv::reduce(view(frame), *sums, horizontal ? 1 : 0, cv::REDUCE_SUM, CV_32S);
                 view(frame).copyTo(*out);
                 for (int i = 0; i < lines; i++)
                     if (sums->at<int>(i) > most) (horizontal ? out->row(i) : out->col(i)).setTo(0);
             },
             0.5});
}

/// Of as many pixels in frames of every size, because the peer's time depends on that.
void addLongLines(CaseList &list) {
    constexpr int width = 192, height = 108;
    cv::Mat const wide = cv::Mat::ones(1, width, CV_8UC1), high = cv::Mat::ones(height, 1, CV_8UC1);
    auto const rowRuns = std::make_shared<cv::Mat>(), columnRuns = std::make_shared<cv::Mat>();
    list.on(list.frames.binary, "BinaryLongLineRemover", "both directions",
            {{"thresholdX", real(double(width) / list.columns)}, {"thresholdY", real(double(height) / list.rows)}},
            {"open + subtract",
             [=, in = list.frames.binary, out = list.out] {
                 cv::morphologyEx(view(in), *rowRuns, cv::MORPH_OPEN, wide);
                 cv::morphologyEx(view(in), *columnRuns, cv::MORPH_OPEN, high);
                 cv::subtract(view(in), *rowRuns, *out);
                 cv::subtract(*out, *columnRuns, *out);
             },
             0.05});
}

} // namespace

void addBinaryCases(CaseList &list) {
    addSequence(list);
    addMorphology(list, 3, 3, 0.85);
    addMorphology(list, 5, 5, 0.8);
    addMorphology(list, 15, 15, 0.7);
    addMorphology(list, 3, 15, 0.7);
    Grey const lines = ruled(list.frames.binary);
    for (bool const horizontal : {true, false}) addDominatedLines(list, lines, horizontal);
    addLongLines(list);
}

} // namespace zun::bench
