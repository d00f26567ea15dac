#include "vexa_imgproc/Contours.h"

#include <set>
#include <string>
#include <tuple>

#include <gtest/gtest.h>
#include <opencv2/imgproc.hpp>

#include "containers/Exception.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Points = std::vector<Vec<int, 2>>;

/// A frame with a border of zeros around the rows given; what is no dot is foreground.
Grey framed(std::vector<std::string> const &rows) {
    Grey frame({static_cast<std::uint32_t>(rows.size() + 2), static_cast<std::uint32_t>(rows[0].size() + 2)}, 0);
    for (std::size_t y = 0; y < rows.size(); y++)
        for (std::size_t x = 0; x < rows[y].size(); x++)
            frame.first()[(y + 1) * frame.shape[1] + x + 1] = rows[y][x] == '.' ? 0 : 255;
    return frame;
}

struct Found {
    int x, y, width, height, area;
    double greenArea;
    std::size_t points;
    bool operator==(Found const &) const = default;
};

std::ostream &operator<<(std::ostream &out, Found const &f) {
    return out << "{" << f.x << ", " << f.y << ", " << f.width << ", " << f.height << ", " << f.area << ", "
               << f.greenArea << ", " << f.points << "}";
}

std::vector<Found> find(Grey frame) {
    std::vector<Found> found;
    for (Contours const contours(frame, false); Contours::Contour const contour : contours) {
        Rect<int> const box = contour.getBoundingBox();
        found.push_back({box.x, box.y, box.width, box.height, contour.getArea(), contour.getGreenArea(),
                         contour.getPointVector().size()});
    }
    return found;
}

TEST(Contours, MeasuresBordersInTheCoordinatesOfTheFrameInside) {
    struct {
        char const *what;
        std::vector<std::string> rows;
        std::vector<Found> expected;
    } const cases[] = {
        {"nothing", {"...", "..."}, {}},
        {"a pixel in a corner", {"#..", "..."}, {{0, 0, 1, 1, 1, 0, 1}}},
        {"a line, there and back", {"....", ".###"}, {{1, 1, 3, 1, 3, 0, 4}}},
        {"a diagonal joins", {"#.", ".#"}, {{0, 0, 2, 2, 2, 0, 2}}},
        {"a block", {"###", "###", "###"}, {{0, 0, 3, 3, 9, 4, 8}}},
        {"a block with a tail", {"##..", "####"}, {{0, 0, 4, 2, 6, 1.5, 7}}},
        {"outer before hole", {"###", "#.#", "###"}, {{0, 0, 3, 3, 9, 4, 8}, {0, 0, 3, 3, 5, 2, 4}}},
        {"an island counts as enclosed by both borders around it",
         {"#####", "#...#", "#.#.#", "#...#", "#####"},
         {{0, 0, 5, 5, 25, 16, 16}, {0, 0, 5, 5, 21, 14, 12}, {2, 2, 1, 1, 1, 0, 1}}},
        {"what stands in a hole is part of its border, and counted once",
         {"#####", "#.#.#", "#.#.#", "#...#", "#####"},
         {{0, 0, 5, 5, 25, 16, 16}, {0, 0, 5, 5, 20, 13, 14}}},
        {"from top to bottom, then from left to right",
         {"....#", "#.#.#", "....#"},
         {{4, 0, 1, 3, 3, 0, 4}, {0, 1, 1, 1, 1, 0, 1}, {2, 1, 1, 1, 1, 0, 1}}},
    };
    for (auto const &[what, rows, expected] : cases) EXPECT_EQ(find(framed(rows)), expected) << what;
}

TEST(Contours, FollowsAnOuterBorderDownAndAHolesUpFromItsLeft) {
    Grey frame = framed({".##.", "#..#", ".##."});
    Contours const contours(frame, false);
    ASSERT_EQ(contours.size(), 2u);
    auto at = contours.begin();
    std::vector<std::pair<int, int>> lines[2];
    for (auto &line : lines) {
        Contours::Contour const contour = *at;
        for (Vec<int, 2> const &point : contour.getPointVector()) line.emplace_back(point[0], point[1]);
        ++at;
    }
    EXPECT_FALSE(at != contours.end());
    EXPECT_EQ(lines[0], (std::vector<std::pair<int, int>>{{1, 0}, {0, 1}, {1, 2}, {2, 2}, {3, 1}, {2, 0}}));
    EXPECT_EQ(lines[1], (std::vector<std::pair<int, int>>{{0, 1}, {1, 0}, {2, 0}, {3, 1}, {2, 2}, {1, 2}}));
}

TEST(Contours, ReplacesTheFrameOnlyOnDemandAndOnStorageOfItsOwn) {
    Grey const original = framed({"##", ".#"}), copy = original.clone();
    Grey frame = original;
    Contours const kept(frame, false);
    EXPECT_EQ(frame.first(), original.first());
    Contours const replaced(frame, true);
    EXPECT_NE(frame.first(), original.first());
    EXPECT_EQ(frame.shape, original.shape);
    EXPECT_EQ(test::elements(original), test::elements(copy));
}

TEST(Contours, TakesEmptyFramesAndRefusesOnesThatWrap) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 5}, Shape<2>{5, 0}, Shape<2>{2, 2}})
        EXPECT_EQ(find(Grey(shape, 0)), std::vector<Found>());
    Grey wrapping({2, 2147483650u}, 1); // 4 elements
    EXPECT_THROW(Contours(wrapping, false), Exception);
}

/// Floods pixels in four directions from a seed, up to the pixels that are marked, and returns how many there were.
int flood(cv::Mat &marked, cv::Point seed) {
    int count = 0;
    std::vector<cv::Point> open{seed};
    while (!open.empty()) {
        cv::Point const at = open.back();
        open.pop_back();
        if (!cv::Rect({}, marked.size()).contains(at) || marked.at<unsigned char>(at) != 0) continue;
        marked.at<unsigned char>(at) = 1;
        count++;
        for (cv::Point const step : {cv::Point(1, 0), cv::Point(-1, 0), cv::Point(0, 1), cv::Point(0, -1)})
            open.push_back(at + step);
    }
    return count;
}

/// The definition: the border's own pixels, and those that one gets to from within, or doesn't from without.
int enclosed(cv::Size size, std::vector<cv::Point> const &border, bool hole) {
    cv::Mat marked = cv::Mat::zeros(size, CV_8UC1);
    for (cv::Point const &point : border) marked.at<unsigned char>(point) = 1;
    int const own = cv::countNonZero(marked);
    return hole ? own + flood(marked, border[0] + cv::Point(1, 0)) : size.area() - flood(marked, {0, 0});
}

TEST(Contours, AreThoseOfAnotherSearchWithAreasByTheDefinition) {
    using Record = std::tuple<int, int, bool, int, int, int, double, std::vector<std::pair<int, int>>>;
    std::mt19937 random(1);
    for (int round = 0; round < 600; round++) {
        auto const side = [&] { return 3 + static_cast<std::uint32_t>(random() % 22); };
        Grey frame({side(), side()}, 0);
        auto const percent = 20 + random() % 70;
        for (std::uint32_t y = 1; y + 1 < frame.shape[0]; y++)
            for (std::uint32_t x = 1; x + 1 < frame.shape[1]; x++)
                if (random() % 100 < percent)
                    frame.first()[y * frame.shape[1] + x] = static_cast<unsigned char>(1 + random() % 255);

        cv::Mat const view(static_cast<int>(frame.shape[0]), static_cast<int>(frame.shape[1]), CV_8UC1, frame.first());
        std::vector<std::vector<cv::Point>> contours;
        std::vector<cv::Vec4i> relatives;
        cv::findContours(view, contours, relatives, cv::RETR_CCOMP, cv::CHAIN_APPROX_NONE);
        std::vector<Record> expected, found;
        for (std::size_t i = 0; i < contours.size(); i++) {
            bool const hole = relatives[i][3] >= 0;
            std::vector<std::pair<int, int>> points;
            for (cv::Point const &point : contours[i]) points.emplace_back(point.x - 1, point.y - 1);
            cv::Rect const box = cv::boundingRect(contours[i]);
            expected.emplace_back(box.y - 1, box.x - 1, hole, box.width, box.height,
                                  enclosed(view.size(), contours[i], hole), cv::contourArea(contours[i]), points);
        }
        for (Contours const searched(frame, false); Contours::Contour const contour : searched) {
            Rect<int> const box = contour.getBoundingBox();
            std::vector<std::pair<int, int>> points;
            double turned = 0;
            for (Vec<int, 2> before = contour.getPointVector().back(); auto const &point : contour.getPointVector()) {
                points.emplace_back(point[0], point[1]);
                turned += before[0] * point[1] - point[0] * before[1];
                before = point;
            }
            found.emplace_back(box.y, box.x, turned > 0, box.width, box.height, contour.getArea(),
                               contour.getGreenArea(), points);
        }
        auto const place = [](Record const &r) { return std::tuple(std::get<0>(r), std::get<1>(r), std::get<2>(r)); };
        EXPECT_TRUE(std::is_sorted(found.begin(), found.end(),
                                   [&](auto const &a, auto const &b) { return place(a) < place(b); }));
        std::sort(found.begin(), found.end());
        std::sort(expected.begin(), expected.end());
        ASSERT_EQ(found, expected) << round;
    }
}

} // namespace
} // namespace zun
