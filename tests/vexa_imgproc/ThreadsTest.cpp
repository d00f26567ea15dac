#include <thread>

#include <gtest/gtest.h>

#include "support/Frames.h"
#include "vexa_imgproc/CannyEdgeDetector.h"
#include "vexa_imgproc/Contours.h"
#include "vexa_imgproc/HoughLines.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;

/// All that the three detectors find in a frame.
std::vector<int> search(Grey frame) {
    std::vector<int> found;
    Grey edges, drawn;
    cannyEdgeDetector(frame, 300, 600, true, edges);
    Mat<Vec<int, 4>, 1> lines;
    houghLines(edges, 1, 0.05f, 8, 0, 6, 2, true, lines, drawn);
    for (Grey const &map : {edges, drawn}) found.insert(found.end(), map.first(), map.first() + map.count);
    for (Contours const contours(edges, false); Contours::Contour const contour : contours) {
        found.push_back(contour.getArea());
        for (auto const &point : contour.getPointVector()) found.insert(found.end(), {point[0], point[1]});
    }
    return found;
}

TEST(Detectors, FindTheSameInManyThreadsAtOnce) {
    std::mt19937 random(1);
    Grey const frames[] = {test::randomFrame<unsigned char>(40, 50, random),
                           test::randomFrame<unsigned char>(70, 30, random)};
    std::vector<std::vector<int>> found(16); // the first calls of all are made in threads
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 0; i < found.size(); i++)
            threads.emplace_back([&, i] {
                for (int round = 0; round < 5; round++) found[i] = search(frames[i % 2]);
            });
    }
    for (std::size_t i = 0; i < found.size(); i++) EXPECT_EQ(found[i], search(frames[i % 2])) << i;
}

} // namespace
} // namespace zun
