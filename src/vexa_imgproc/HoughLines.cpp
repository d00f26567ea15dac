#include "vexa_imgproc/HoughLines.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "vexa_imgproc/OpenCv.h"

namespace zun {
namespace {

using Segments = std::vector<cv::Vec4i>;

constexpr double pi = 3.14159265358979323846;

template <class... Parts>
[[noreturn]] void fail(Parts const &...parts) {
    std::ostringstream message;
    message << "houghLines: ";
    (message << ... << parts);
    throw Exception(message.str());
}

/// The search keeps a count for each step of the distance and the angle. It writes beside them where the distance steps
/// are too coarse, and takes any amount of memory where steps are too fine.
void checkSteps(Shape<2> const &shape, float rho, float theta) {
    constexpr std::uint32_t longestSide = 32767; // ends are followed in 16 bits and as many for the fraction
    if (shape[0] > longestSide || shape[1] > longestSide)
        fail("a frame of ", shape[0], " rows and ", shape[1], " columns is too large; a side may have ", longestSide);
    if (!(rho > 0 && std::isfinite(rho))) fail("rho is ", rho, "; set it above 0");
    if (!(theta > 0 && std::isfinite(theta))) fail("theta is ", theta, "; set it above 0");
    double const distances = std::nearbyint(static_cast<float>((shape[0] + shape[1]) * 2 + 1) / rho);
    double const below = std::floor((distances - 1) / 2), above = distances - 1 - below; // steps from distance 0
    auto const steps = [&](double distance) { return std::floor(distance / double(rho) * (1 + 1e-6) + 0.5); };
    if (steps(shape[1] - 1.0) > below || steps(std::hypot(shape[0] - 1.0, shape[1] - 1.0)) > above)
        fail("rho is ", rho, ", too coarse for a frame of ", shape[0], " rows and ", shape[1],
             " columns; set it lower");
    constexpr double mostCounts = 1 << 27;
    if ((distances + 2) * (pi / double(theta) + 1) > mostCounts)
        fail("rho ", rho, " and theta ", theta, " are too fine for a frame of ", shape[0], " rows and ", shape[1],
             " columns; set them higher");
}

void draw(cv::Mat &canvas, cv::Vec4i const &segment, int thickness) {
    cv::line(canvas, {segment[0], segment[1]}, {segment[2], segment[3]}, cv::Scalar(255), thickness);
}

/// What `rho` means for segments, whose ends are whole pixels; twice that is the most that OpenCV draws with.
int quantumOf(float rho) { return static_cast<int>(std::clamp(std::round(rho), 1.0f, 16383.0f)); }

/// The segments that don't lie, from end to end, within a distance of longer ones; the longest first.
Segments apart(Segments segments, Shape<2> const &shape, int distance) {
    auto const length = [](cv::Vec4i const &s) { return std::max(std::abs(s[2] - s[0]), std::abs(s[3] - s[1])); };
    std::stable_sort(segments.begin(), segments.end(),
                     [&](cv::Vec4i const &a, cv::Vec4i const &b) { return length(a) > length(b); });
    Mat<unsigned char, 2> const near(shape, 0);
    cv::Mat taken = viewOf(near);
    Segments kept;
    for (cv::Vec4i const &segment : segments) {
        cv::LineIterator pixel(taken, {segment[0], segment[1]}, {segment[2], segment[3]});
        bool known = true;
        for (int i = 0; known && i < pixel.count; i++, ++pixel) known = **pixel != 0;
        if (known) continue;
        draw(taken, segment, 2 * distance + 1);
        kept.push_back(segment);
    }
    return kept;
}

/// The search takes what is not 0 for edges.
Mat<unsigned char, 2> edgesOf(Mat<unsigned char, 2> const &image, int edgeThresh) {
    if (edgeThresh == 0) return image;
    Mat<unsigned char, 2> const edges(image.shape);
    std::transform(image.first(), image.first() + image.count, edges.first(),
                   [=](unsigned char pixel) { return static_cast<unsigned char>(pixel > edgeThresh); });
    return edges;
}

} // namespace

void houghLines(Mat<unsigned char, 2> image, float rho, float theta, int threshold, int edgeThresh, int lineLenMin,
                int lineGapMax, bool quantize, Mat<Vec<int, 4>, 1> &lines, Mat<unsigned char, 2> &lineImage) {
    Segments segments;
    Mat<unsigned char, 2> drawn(image.shape, 0);
    if (image.count > 0) {
        checkSteps(image.shape, rho, theta);
        Mat<unsigned char, 2> const edges = edgesOf(image, edgeThresh);
        callOpenCv("houghLines", [&] {
            cv::HoughLinesP(viewOf(edges), segments, rho, theta, std::max(threshold, 1), lineLenMin, lineGapMax);
            if (quantize) segments = apart(std::move(segments), image.shape, quantumOf(rho));
            cv::Mat canvas = viewOf(drawn);
            for (cv::Vec4i const &segment : segments) draw(canvas, segment, 1);
        });
    }
    lines = Mat<Vec<int, 4>, 1>({static_cast<std::uint32_t>(segments.size())});
    if (!segments.empty()) std::memcpy(lines.first(), segments.data(), lines.bytes());
    lineImage = drawn;
}

} // namespace zun
