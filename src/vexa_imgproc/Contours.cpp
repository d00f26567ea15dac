#include "vexa_imgproc/Contours.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>
#include <utility>

#include <opencv2/imgproc.hpp>

#include "vexa_imgproc/OpenCv.h"

namespace zun {
namespace {

using Points = std::vector<Vec<int, 2>>;

/// Twice the area within a closed line, by the trapezoids between its steps and an axis.
std::int64_t doubledArea(Points const &points) {
    std::int64_t sum = 0;
    Vec<int, 2> before = points.back();
    for (Vec<int, 2> const &point : points) {
        sum += std::int64_t(before[0]) * point[1] - std::int64_t(point[0]) * before[1];
        before = point;
    }
    return std::abs(sum);
}

/// Pick's theorem, for a line whose steps lead from pixel to pixel: area + steps / 2 + 1. It holds for an outer border,
/// which may touch itself but leaves nothing out; where it runs forth and back, both ways are counted as steps.
std::int64_t pixelsInOuter(Points const &points) {
    auto const steps = static_cast<std::int64_t>(points.size() > 1 ? points.size() : 0);
    return (doubledArea(points) + steps) / 2 + 1;
}

/// Inside a hole the border may run forth and back along what stands in it, so its pixels are counted row by row: those
/// of the border, and those between its crossings with the line half a pixel below.
std::int64_t pixelsInHole(Points const &points) {
    std::map<int, std::pair<std::vector<int>, std::vector<int>>> rows; // border pixels, and doubled crossings
    Vec<int, 2> before = points.back();
    for (Vec<int, 2> const &point : points) {
        rows[point[1]].first.push_back(point[0]);
        if (point[1] != before[1]) rows[std::min(point[1], before[1])].second.push_back(point[0] + before[0]);
        before = point;
    }
    std::int64_t count = 0;
    for (auto &[y, row] : rows) {
        auto &[own, crossings] = row;
        std::sort(own.begin(), own.end());
        own.erase(std::unique(own.begin(), own.end()), own.end());
        std::sort(crossings.begin(), crossings.end());
        count += static_cast<std::int64_t>(own.size());
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2) {
            // The pixels strictly between two crossings, that is first to last, without the border's own.
            int const first = static_cast<int>(std::floor(crossings[i] / 2.0)) + 1;
            int const last = static_cast<int>(std::ceil(crossings[i + 1] / 2.0)) - 1;
            if (last < first) continue;
            auto const ownBetween =
                std::upper_bound(own.begin(), own.end(), last) - std::lower_bound(own.begin(), own.end(), first);
            count += last - first + 1 - ownBetween;
        }
    }
    return count;
}

/// Begins with the topmost pixel, of several the leftmost.
Points rotated(std::vector<cv::Point> const &contour) {
    auto const top = std::min_element(contour.begin(), contour.end(), [](cv::Point const &a, cv::Point const &b) {
        return std::tie(a.y, a.x) < std::tie(b.y, b.x);
    });
    Points points;
    points.reserve(contour.size());
    for (auto at = top; at != contour.end(); ++at) points.push_back({at->x, at->y});
    for (auto at = contour.begin(); at != top; ++at) points.push_back({at->x, at->y});
    return points;
}

} // namespace

Rect<int> Contours::Contour::getBoundingBox() const {
    Vec<int, 2> const first = border.points->front();
    int left = first[0], right = first[0], top = first[1], bottom = first[1];
    for (Vec<int, 2> const &point : getPointVector()) {
        left = std::min(left, point[0]), right = std::max(right, point[0]);
        top = std::min(top, point[1]), bottom = std::max(bottom, point[1]);
    }
    return {left, top, right - left + 1, bottom - top + 1};
}

int Contours::Contour::getArea() const {
    return static_cast<int>(border.hole ? pixelsInHole(getPointVector()) : pixelsInOuter(getPointVector()));
}

double Contours::Contour::getGreenArea() const { return static_cast<double>(doubledArea(getPointVector())) / 2; }

std::map<int, Contours::Border> Contours::getBorders(Mat<int, 2> &labels) {
    if (labels.count == 0) return {};
    Mat<unsigned char, 2> const foreground(labels.shape);
    for (std::uint32_t i = 0; i < labels.count; i++) foreground.first()[i] = labels.first()[i] != 0;
    std::vector<std::vector<cv::Point>> contours;
    std::vector<cv::Vec4i> relatives; // next, previous, first child, parent
    callOpenCv("Contours", [&] {
        cv::findContours(viewOf(foreground), contours, relatives, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE, {-1, -1});
    });

    std::vector<Border> found;
    found.reserve(contours.size());
    for (std::size_t i = 0; i < contours.size(); i++)
        found.push_back({std::make_shared<Points const>(rotated(contours[i])), relatives[i][3] >= 0});
    auto const order = [](Border const &border) {
        Vec<int, 2> const &first = border.points->front();
        return std::tuple(first[1], first[0], border.hole);
    };
    std::stable_sort(found.begin(), found.end(), [&](auto const &a, auto const &b) { return order(a) < order(b); });

    std::map<int, Border> borders;
    for (Border &border : found)
        borders.emplace_hint(borders.end(), static_cast<int>(borders.size()) + 1, std::move(border));
    return borders;
}

} // namespace zun
