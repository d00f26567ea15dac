#include "Guarded.h"
#include "support/LiteralCrop.h"

namespace zun::test {
namespace {

constexpr float nearlyLargest = 2147483520.0f; // the largest float that is an int

template <class T>
Verdict verdict(Mat<T, 2> const &frame, Box const &box, bool clamp, char const *reason) {
    return {{{"clamp", clamp}}, {{"image", valueOf(frame)}, {"box", valueOf(box)}}, "box", reason};
}

TEST(CropGuard, RefusesBoxesThatTheNodeWouldFollowOutOfMemory) {
    struct {
        Box box; // on a frame of 4 rows and 6 columns
        char const *reason, *reasonClamped;
    } const cases[] = {
        {{0, 0, 6, 4}, "", ""},
        {{-3, -3, 20, 20}, "", ""},
        {{5, 3, 9, 9}, "", ""},
        {{-100, 4, 9, 9}, "", ""}, // wholly below: zeros, wherever its columns are
        {{100, -9, 9, 9}, "", ""}, // wholly above
        {{-5, 0, 5, 4}, "", ""},   // touching the frame from outside repeats its edge
        {{5.5f, 3, 1, 1}, "", ""},
        {{-6, 0, 5, 4}, "lies wholly left of the frame (4 rows, 6 columns)", ""},
        {{-6.4f, 0, 5.4f, 4}, "wholly left", ""},
        {{-6, -9, 5, 10}, "wholly left", ""},
        {{7, 0, 5, 4}, "wholly right", ""},
        {{6.5f, 3, 1, 1}, "wholly right", ""},
        {{90, 3, 5, 40}, "wholly right", ""},
        {{0, 0, -1, 4}, "negative size", ""},
        {{0, 9, 4, -1}, "negative size", ""},
        {{2, -1, 0, 9}, "", ""},
        {{-2, 1, 0, 9}, "", ""},
        {{2, 1, -0.4f, 2}, "", ""},
        {{nan, 0, 3, 3}, "wholly left", ""},
        {{0, nan, 3, 3}, "32-bit", ""},
        {{0, -infinity, 3, 3}, "32-bit", ""},
        {{0, 0, infinity, 3}, "negative size", ""},
        {{0, 0, 3, nan}, "negative size", ""},
        {{-1, -1, 40000, 40000}, "larger than any", ""},
        {{-1, -1, 1, nearlyLargest}, "larger than any", ""},
        {{nearlyLargest, 0, 200, 1}, "32-bit", "32-bit"},
        {{0, nearlyLargest, 1, 200}, "32-bit", "32-bit"},
        // The sum wraps so that the clipped box equals the box: as if it lay inside.
        {{128, 0, nearlyLargest, 4}, "32-bit", "32-bit"},
        {{0, 128, 6, nearlyLargest}, "32-bit", "32-bit"},
    };
    std::vector<Verdict> onBytes, onFloats;
    for (auto const &[box, reason, reasonClamped] : cases)
        for (bool const clamp : {false, true}) {
            onBytes.push_back(verdict(blank<Vec3b>(4, 6), box, clamp, clamp ? reasonClamped : reason));
            onFloats.push_back(verdict(blank<Vec3f>(4, 6), box, clamp, clamp ? reasonClamped : reason));
        }
    expectVerdicts("Crop<Vec3b>", onBytes);
    expectVerdicts("Crop<Vec3f>", onFloats);
    expectVerdicts("CropAny", onBytes);
    expectVerdicts("CropAny", onFloats);
}

TEST(CropGuard, KnowsFramesWithoutAnEdge) {
    expectVerdicts("CropAny", {verdict(blank<Vec3b>(4, 0), {-1, 0, 3, 3}, false, "a frame that has no column"),
                               verdict(blank<Vec3b>(4, 0), {0, 0, 3, 3}, false, "a frame that has no column"),
                               verdict(blank<Vec3b>(0, 4), {-1, -1, 9, 9}, false, ""), // no row overlaps: zeros
                               verdict(blank<Vec3b>(0, 0), {-1, -1, 9, 9}, false, ""),
                               verdict(blank<float>(1, 1), {}, false, "")}); // the node's own to refuse
}

/// Boxes without a fault are run, where a sanitizer sees them leave their memory. Only those may be refused that touch
/// a cell outside, or that miss the frame's columns where they share its rows.
TEST(CropGuard, PassesExactlyWhatIsDefined) {
    std::mt19937 random(2);
    auto const number = [&](int low, int high) {
        return static_cast<float>(low * 4 + static_cast<int>(random() % unsigned((high - low) * 4 + 1))) / 4;
    };
    OneNode node = nodeOf("CropAny");
    int passed = 0;
    for (int round = 0; round < 10000; round++) {
        auto const frame = randomFrame<Vec3b>(unsigned(random() % 7), unsigned(random() % 7), random);
        Box const box{number(-8, 8), number(-8, 8), number(-1, 14), number(-1, 14)};
        auto const [x, y, width, height] = roundToInt(box);
        int const rows = int(frame.shape[0]), columns = int(frame.shape[1]);
        auto const cut = literalCrop(elements(frame), rows, columns, x, y, width, height);
        bool const missesColumns = y + height > 0 && y < rows && (x + width < 0 || x > columns);
        SCOPED_TRACE(testing::Message() << rows << " x " << columns << " at " << x << ", " << y << ", " << width << ", "
                                        << height);
        Values const inputs{{"image", valueOf(frame)}, {"box", valueOf(box)}};
        if (auto const refused = refusal(node, inputs)) {
            ASSERT_TRUE(!cut || missesColumns) << refused->reason;
            continue;
        }
        passed++;
        auto const result = held<Frame>(node.run(inputs).at("out.output"));
        ASSERT_TRUE(result.count == 0 || elements(result) == cut);
    }
    EXPECT_GT(passed, 2000);
    EXPECT_LT(passed, 8000);
}

TEST(ResizeImageGuard, RefusesResultsWithoutPixelsOrWithTooMany) {
    auto const verdict = [](Shape<2> const &frame, Options const &options, char const *reason) {
        return onInput(options, blank<Vec3b>(frame[0], frame[1]), reason);
    };
    expectVerdicts(
        "ResizeImage",
        {verdict({1, 1000}, {}, ""), verdict({1, 1000}, {{"width", 500}}, ""), // half a row is one
         verdict({1, 1000}, {{"width", 499}}, "1 rows and 1000 columns would become one of 0 rows and 499 columns"),
         verdict({1, 1000}, {{"width", 100}, {"algorithm", 0}},
                 "0 rows and 100 columns, and both have to be at least 1"),
         verdict({1, 1000}, {{"width", 100}, {"algorithm", 3}}, ""), // the node's own to refuse
         verdict({1, 1000}, {{"width", 100}, {"height", 1}}, ""),
         verdict({1, 40000}, {{"width", 1}, {"height", 1}}, "0 columns"),
         verdict({4, 4}, {{"width", -2}}, "-2 rows and -2 columns"),
         verdict({4, 4}, {{"width", -2}, {"allowDownscale", false}}, ""), // stays
         verdict({4, 4}, {{"largestSize", smallest}}, "65532 rows"),
         verdict({4, 4}, {{"largestSize", largest}}, "65532 rows and 65532 columns, which is larger than any frame"),
         verdict({4, 4}, {{"height", -4}, {"width", 4}}, "-4 rows and 4 columns"),
         verdict({0, 5}, {{"width", 10}}, "0 rows and 10 columns"), verdict({0, 5}, {{"width", 5}}, ""),
         verdict({0, 0}, {{"width", 10}}, ""), verdict({0, 0}, {{"height", smallest}}, ""),
         verdict({100, 100}, {{"width", 40000}, {"height", 35700}}, ""), // a little less than 4 GiB
         verdict({100, 100}, {{"width", 40000}, {"height", 35800}},
                 "35800 rows and 40000 columns, which is larger than any frame")});
}

TEST(WarpAffineGuard, RefusesSmallTransformsAndImpossibleSizes) {
    auto const verdict = [](Shape<2> const &transform, Vec2i size, char const *port, char const *reason) -> Verdict {
        return {{{"size", size}},
                {{"image", valueOf(blank<Vec3b>(2, 2))}, {"transform", valueOf(Mat<float, 2>(transform, nan))}},
                port,
                reason};
    };
    expectVerdicts("WarpAffine",
                   {verdict({2, 3}, {4, 5}, "", ""), verdict({3, 3}, {0, 5}, "", ""),
                    verdict({2, 4}, {largest, 0}, "", ""), verdict({1, 6}, {4, 5}, "transform", "1 rows and 6 columns"),
                    verdict({3, 2}, {4, 5}, "transform", "3 rows and 2 columns"),
                    verdict({0, 0}, {4, 5}, "transform", "0 rows and 0 columns"),
                    verdict({2, 3}, {-1, 5}, "image", "(-1, 5), which holds a negative number"),
                    verdict({2, 3}, {4, -5}, "image", "(4, -5)"), verdict({2, 3}, {40000, 35791}, "", ""),
                    verdict({2, 3}, {40000, 35792}, "image", "larger than any frame"),
                    verdict({2, 3}, {largest, largest}, "image", "larger than any frame")});
}

} // namespace
} // namespace zun::test
