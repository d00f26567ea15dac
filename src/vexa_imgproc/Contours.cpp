#include "vexa_imgproc/Contours.h"

#include <cstdlib>
#include <tuple>

#include <opencv2/imgproc.hpp>

#include "vexa_imgproc/OpenCv.h"

namespace zun {
namespace {

using Points = std::vector<Vec<int, 2>>;

/// Twice the area within a closed line; below 0 if the line goes clockwise, as those of holes do and no other.
std::int64_t doubledArea(Points const &points) {
    std::int64_t sum = 0;
    Vec<int, 2> before = points.back();
    for (Vec<int, 2> const &point : points) {
        sum += std::int64_t(point[0]) * before[1] - std::int64_t(before[0]) * point[1];
        before = point;
    }
    return sum;
}

std::int64_t countDistinct(Points const &points, Rect<int> const &box) {
    auto const width = static_cast<std::size_t>(box.width);
    std::vector<bool> seen(width * static_cast<std::size_t>(box.height));
    std::int64_t count = 0;
    for (Vec<int, 2> const &point : points) {
        auto bit = seen[static_cast<std::size_t>(point[1] - box.y) * width + std::size_t(point[0] - box.x)];
        count += !bit;
        bit = true;
    }
    return count;
}

Rect<int> boxAround(Points const &points) {
    int left = points[0][0], right = left, top = points[0][1], bottom = top;
    for (Vec<int, 2> const &point : points) {
        left = std::min(left, point[0]), right = std::max(right, point[0]);
        top = std::min(top, point[1]), bottom = std::max(bottom, point[1]);
    }
    return {left, top, right - left + 1, bottom - top + 1};
}

Contours::Border makeBorder(std::vector<cv::Point> const &contour) {
    auto points = std::make_shared<Points>(contour.size());
    std::transform(contour.begin(), contour.end(), points->begin(), [](cv::Point const &point) {
        return Vec<int, 2>{point.x, point.y};
    });
    Rect<int> const box = boxAround(*points);
    bool const hole = doubledArea(*points) < 0;
    return {std::move(points), box, hole};
}

} // namespace

/// Pick's theorem, on a line whose steps lead from pixel to pixel. A line may come by a pixel more than once. Those on
/// an outer border are counted from outside, where every time stands for a part of the pixel; the line of a hole sees
/// them from inside, so that only what is strictly within follows from the area.
int Contours::Contour::getArea() const {
    Points const &points = getPointVector();
    std::int64_t const steps = points.size() > 1 ? static_cast<std::int64_t>(points.size()) : 0;
    std::int64_t const doubled = std::abs(doubledArea(points));
    return static_cast<int>(border.hole ? (doubled - steps) / 2 + 1 + countDistinct(points, border.box)
                                        : (doubled + steps) / 2 + 1);
}

double Contours::Contour::getGreenArea() const {
    return static_cast<double>(std::abs(doubledArea(getPointVector()))) / 2;
}

std::map<int, Contours::Border> Contours::getBorders(Mat<int, 2> &labels) {
    if (labels.count == 0) return {};
    // In bytes and without a hierarchy, the search takes a fraction of the time.
    Mat<unsigned char, 2> const foreground(labels.shape);
    std::transform(labels.first(), labels.first() + labels.count, foreground.first(),
                   [](int label) { return static_cast<unsigned char>(label != 0); });
    std::vector<std::vector<cv::Point>> contours;
    callOpenCv("Contours", [&] {
        cv::findContours(viewOf(foreground), contours, cv::RETR_LIST, cv::CHAIN_APPROX_NONE, {-1, -1});
    });

    std::vector<Border> found;
    found.reserve(contours.size());
    std::transform(contours.rbegin(), contours.rend(), std::back_inserter(found), makeBorder); // the last came first
    auto const place = [](Border const &border) { return std::tuple(border.box.y, border.box.x, border.hole); };
    std::stable_sort(found.begin(), found.end(), [&](auto const &a, auto const &b) { return place(a) < place(b); });

    std::map<int, Border> borders;
    for (Border &border : found)
        borders.emplace_hint(borders.end(), static_cast<int>(borders.size()) + 1, std::move(border));
    return borders;
}

} // namespace zun
