#include "vexa_imgproc/HoughLines.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
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

/// The search keeps a count for each step of the distance and the angle. It writes outside of them where the steps are
/// too coarse, and takes any amount of memory where they are too fine.
void checkSteps(Shape<2> const &shape, double rho, double theta) {
    constexpr std::uint32_t longestSide = 32767;
    if (shape[0] > longestSide || shape[1] > longestSide)
        fail("a frame of ", shape[0], " x ", shape[1], " pixels is too large; a side may have ", longestSide);
    if (!(rho > 0)) fail("rho is ", rho, "; set it above 0");
    if (!(theta > 0 && theta <= pi)) fail("theta is ", theta, "; set it above 0, up to pi");
    double const distances = std::round((2.0 * (shape[0] + shape[1]) + 1) / rho), angles = pi / theta + 1;
    double const reach = std::ceil(std::hypot(shape[0] - 1.0, shape[1] - 1.0) / rho);
    if (reach > std::floor((distances - 1) / 2)) fail("rho is ", rho, ", too coarse for the frame; set it to less");
    constexpr double mostCounts = 1 << 27;
    if (distances * angles > mostCounts) fail("rho ", rho, " and theta ", theta, " are too fine; set them to more");
}

/// The lines of the search grid, with what lies on them: intervals along the line, from the foot of the perpendicular.
class Grid {
public:
    Grid(double distanceStep, double angleStep) : rho(distanceStep), theta(angleStep) {}

    void add(cv::Vec4i const &segment) {
        double const dx = segment[2] - segment[0], dy = segment[3] - segment[1];
        double angle = std::atan2(dx, -dy); // of the normal
        if (angle < 0) angle += pi;
        if (angle >= pi) angle -= pi;
        double const turned = std::round(angle / theta) * theta, sine = std::sin(turned), cosine = std::cos(turned);
        double const middle = ((segment[0] + segment[2]) * cosine + (segment[1] + segment[3]) * sine) / 2;
        auto const along = [&](int x, int y) { return y * cosine - x * sine; };
        double const from = along(segment[0], segment[1]), to = along(segment[2], segment[3]);
        Cell const cell{std::lround(angle / theta), std::lround(middle / rho)};
        cells[cell].emplace_back(std::min(from, to), std::max(from, to));
    }

    Segments merged(double gap) {
        Segments segments;
        for (auto &[cell, intervals] : cells) {
            std::sort(intervals.begin(), intervals.end());
            auto current = intervals.front();
            for (auto const &next : intervals) {
                if (next.first > current.second + gap) {
                    segments.push_back(segmentOf(cell, current));
                    current = next;
                }
                current.second = std::max(current.second, next.second);
            }
            segments.push_back(segmentOf(cell, current));
        }
        return segments;
    }

private:
    using Cell = std::pair<long, long>; ///< angle, distance
    using Interval = std::pair<double, double>;

    cv::Vec4i segmentOf(Cell const &cell, Interval const &interval) const {
        double const angle = double(cell.first) * theta, distance = double(cell.second) * rho;
        double const sine = std::sin(angle), cosine = std::cos(angle);
        auto const x = [&](double t) { return static_cast<int>(std::lround(distance * cosine - t * sine)); };
        auto const y = [&](double t) { return static_cast<int>(std::lround(distance * sine + t * cosine)); };
        return {x(interval.first), y(interval.first), x(interval.second), y(interval.second)};
    }

    double const rho, theta;
    std::map<Cell, std::vector<Interval>> cells;
};

/// An end that was moved out of the frame goes back to its edge.
void keepInside(cv::Vec4i &segment, Shape<2> const &shape) {
    for (int i = 0; i < 4; i++) segment[i] = std::clamp(segment[i], 0, static_cast<int>(shape[i % 2 == 0 ? 1 : 0]) - 1);
}

} // namespace

void houghLines(Mat<unsigned char, 2> image, float rho, float theta, int threshold, int edgeThresh, int lineLenMin,
                int lineGapMax, bool quantize, Mat<Vec<int, 4>, 1> &lines, Mat<unsigned char, 2> &lineImage) {
    Segments segments;
    Mat<unsigned char, 2> drawn(image.shape, 0);
    if (image.count > 0) {
        checkSteps(image.shape, rho, theta);
        callOpenCv("houghLines", [&] {
            cv::Mat const edges = viewOf(image) > edgeThresh;
            cv::HoughLinesP(edges, segments, rho, theta, std::max(threshold, 1), lineLenMin, lineGapMax);
            if (quantize) {
                Grid grid(rho, theta);
                for (cv::Vec4i const &segment : segments) grid.add(segment);
                segments = grid.merged(lineGapMax);
                for (cv::Vec4i &segment : segments) keepInside(segment, image.shape);
            }
            cv::Mat canvas = viewOf(drawn);
            for (cv::Vec4i const &s : segments) cv::line(canvas, {s[0], s[1]}, {s[2], s[3]}, cv::Scalar(255));
        });
    }
    lines = Mat<Vec<int, 4>, 1>({static_cast<std::uint32_t>(segments.size())});
    if (!segments.empty()) std::memcpy(lines.first(), segments.data(), lines.bytes());
    lineImage = drawn;
}

} // namespace zun
