#include "ImgprocNode.h"

namespace zun::test {
namespace {

/// The crop with replicated edges in its five steps, one cell at a time: the result's cells, or nothing as soon as a
/// step touches a cell outside of the source or outside of its row of the result.
template <class T>
std::optional<std::vector<T>> literalCrop(Mat<T, 2> const &source, Rect<int> const &rect) {
    int const R = int(source.shape[0]), C = int(source.shape[1]);
    int const x = rect.x, y = rect.y, width = rect.width, height = rect.height;
    if (width < 0 || height < 0) return std::nullopt;
    std::vector<T> result(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    bool inside = true;
    // Fills the columns from `begin` to `end` of the source's frame, on the rows where it overlaps.
    auto const fill = [&](int begin, int end, auto columnFor) {
        for (int r = std::max(y, 0); r < std::min(y + height, R); r++)
            for (int c = begin; c < end; c++) {
                int const from = columnFor(c);
                inside &= r >= y && c >= x && c < x + width && from >= 0 && from < C;
                if (inside)
                    result[std::size_t(r - y) * std::size_t(width) + std::size_t(c - x)] = source.first()[r * C + from];
            }
    };
    auto const copyRow = [&](int from, int to) {
        inside &= from >= 0 && from < height && to >= 0 && to < height;
        if (inside) std::copy_n(result.begin() + from * width, width, result.begin() + to * width);
    };
    fill(std::max(x, 0), std::min(x + width, C), [](int c) { return c; });
    if (x < 0) fill(x, 0, [](int) { return 0; });
    if (x + width > C) fill(C, x + width, [=](int) { return C - 1; });
    if (y <= 0 && height > -y)
        for (int r = y; r < std::min(y + height, 0); r++) copyRow(-y, r - y);
    if (int const last = R - 1 - y; last >= 0 && last < height)
        for (int r = std::max(R, y); r < y + height; r++) copyRow(last, r - y);
    return inside ? std::optional(result) : std::nullopt;
}

Values inputs(std::shared_ptr<Variant> const &image, Box const &box) {
    return {{"image", image}, {"box", valueOf(box)}};
}

/// Of a frame of 4 rows and 6 columns.
template <class T>
void expectCuts(std::string const &type) {
    // A box, clamp, and the rectangle that is cut, edges repeated.
    using Row = std::tuple<Box, bool, Rect<int>>;
    std::mt19937 random(3);
    auto const frame = randomFrame<T>(4, 6, random), before = frame.clone();
    for (auto const &[box, clamp, where] : {
             Row({0, 0, 6, 4}, false, {0, 0, 6, 4}), Row({1, 1, 3, 2}, false, {1, 1, 3, 2}),
             Row({-1, -1, 4, 3}, false, {-1, -1, 4, 3}), Row({-1, -1, 4, 3}, true, {0, 0, 3, 2}),
             Row({4, 2, 9, 9}, true, {4, 2, 2, 2}), Row({-3, -3, 20, 20}, false, {-3, -3, 20, 20}),
             Row({0.4f, 0, 2.2f, 1}, false, {0, 0, 2, 1}), // width 2, though the right edge is at 2.6
             Row({10, 0, 3, 2}, true, {0, 0, 0, 0}), Row({2, 2, -3, 2}, true, {0, 0, 0, 0}),
             Row({nan, nan, nan, nan}, true, {0, 0, 0, 0}), Row({2, 1, 0, 2}, false, {2, 1, 0, 2}),
             Row({0, -5, 3, 5}, false, {0, -5, 3, 5}),
             Row({-9, 4, 3, 2}, false, {-9, 4, 3, 2}), // no row overlaps: zeros
         }) {
        SCOPED_TRACE(type + " " + std::to_string(box.x) + ", " + std::to_string(box.y));
        auto const result = run<Mat<T, 2>>(type, {{"clamp", clamp}}, inputs(valueOf(frame), box));
        EXPECT_EQ(result.shape, (Shape<2>{std::uint32_t(where.height), std::uint32_t(where.width)}));
        EXPECT_EQ(result.strides, (Shape<2>{std::uint32_t(where.width), 1}));
        EXPECT_EQ(elements(result), literalCrop(before, where));
        EXPECT_NE(result.first(), frame.first());
    }
    EXPECT_EQ(elements(frame), elements(before));
}

TEST(Crop, CutsOrPadsAsAsked) {
    expectCuts<Vec3b>("Crop<Vec3b>");
    expectCuts<Vec3f>("Crop<Vec3f>");
    expectCuts<Vec3b>("CropAny");
    expectCuts<Vec3f>("CropAny");
}

TEST(CropAny, TakesEitherPixelFromTickToTickButNoOther) {
    OneNode node = nodeOf("CropAny");
    auto const cut = [&](std::shared_ptr<Variant> const &image) {
        return node.run(inputs(image, {0, 0, 1, 1})).at("out.output");
    };
    EXPECT_EQ(elements(held<Frame>(cut(valueOf(Frame({2, 2}, {1, 2, 3}))))), (std::vector<Vec3b>{{1, 2, 3}}));
    EXPECT_EQ(elements(held<Floats>(cut(valueOf(Floats({2, 2}, {.5f, 2, 3}))))), (std::vector<Vec3f>{{.5f, 2, 3}}));
    for (auto const &image : {valueOf(Grey({2, 2}, 0)), valueOf(Mat<Vec4b, 2>({2, 2})),
                              valueOf(Mat<float, 2>({2, 2}, 0)), std::shared_ptr<Variant>()})
        expectFailureAt([&] { cut(image); }, "CropAny: image input is neither float or byte image",
                        "imgproc/CropAny:", "byteImage || floatImage");
}

using Matrix = std::vector<float>;

TEST(ResizeImage, GivesTheSizeOfReducedRatiosOrTheFrameItself) {
    enum Passing { fresh, shared };
    using Row = std::tuple<Shape<2>, Options, Shape<2>, Passing>;
    std::mt19937 random(1);
    for (auto const &[shape, options, result, passing] :
         {Row({4, 6}, {}, {4, 6}, shared), Row({4, 6}, {{"height", 2}}, {2, 3}, fresh),
          Row({4, 6}, {{"width", 9}}, {6, 9}, fresh),
          Row({4, 6}, {{"width", 9}, {"height", 1}, {"allowDownscale", false}, {"allowUpscale", false}}, {1, 9},
              fresh), // two sides: nothing holds them back
          Row({4, 6}, {{"largestSize", 3}, {"width", 60}, {"height", 70}}, {2, 3}, fresh),
          Row({6, 4}, {{"largestSize", 3}}, {3, 2}, fresh), Row({4, 4}, {{"largestSize", 8}}, {8, 8}, fresh),
          Row({4, 6}, {{"height", 4}}, {4, 6}, fresh), // a copy
          Row({4, 6}, {{"height", 4}, {"allowUpscale", false}}, {4, 6}, shared),
          Row({4, 6}, {{"height", 2}, {"allowDownscale", false}}, {4, 6}, shared),
          Row({4, 6}, {{"height", 2}, {"allowUpscale", false}}, {2, 3}, fresh),
          Row({4, 6}, {{"width", 9}, {"allowUpscale", false}}, {4, 6}, shared),
          Row({3, 4}, {{"width", 2}}, {2, 2}, fresh),                        // halves away from zero
          Row({1, 30001}, {{"width", 20000}}, {1, 20001}, fresh),            // 2 / 3
          Row({1, 1}, {{"height", 1}, {"width", 16384}}, {1, 16383}, fresh), // the largest ratio there is
          Row({0, 0}, {{"width", 5}}, {0, 0}, fresh), Row({0, 5}, {{"width", 5}}, {0, 5}, fresh)}) {
        Frame const frame = randomFrame<Vec3b>(shape[0], shape[1], random);
        Frame const resized = filtered("ResizeImage", options, frame);
        EXPECT_EQ(resized.shape, result) << shape[0] << " x " << shape[1];
        EXPECT_EQ(resized.first() == frame.first(), passing == shared);
        EXPECT_TRUE(shape != result || elements(resized) == elements(frame));
    }
}

TEST(ResizeImage, ChecksItsAlgorithmWhenItScales) {
    Frame const frame({4, 4}, {1, 2, 3});
    for (int const algorithm : {-1, 3}) {
        auto const resize = [&](int width) {
            return filtered("ResizeImage", {{"algorithm", algorithm}, {"width", width}}, frame);
        };
        expectFailureWithoutLocation([&] { resize(2); }, "Invalid setting for ResizeImage algorithm option");
        EXPECT_EQ(resize(0).first(), frame.first());
    }
}

TEST(ResizeImage, ScalesByTheMethodForItsRatios) {
    Bytes const wide{9, 90, 0, 27, /**/ 180, 18, 36, 99, /**/ 45, 0, 255, 63};
    Bytes const small{0, 40, 80, 120, /**/ 200, 160, 120, 80};
    Bytes const nearest{9, 90, 0, /**/ 9, 90, 0, /**/ 180, 18, 36, /**/ 180, 18, 36, /**/ 45, 0, 255};
    using Row = std::tuple<int, Shape<2>, Shape<2>, Bytes, Bytes>;
    for (auto const &[algorithm, from, to, in, out] : {
             Row{0, {3, 4}, {5, 3}, wide, nearest},
             {0, {3, 4}, {1, 2}, wide, {9, 0}},
             {1, {3, 4}, {1, 2}, wide, {57, 80}}, // means of blocks: 342 / 6, 480 / 6
             {2, {3, 4}, {3, 2}, wide, {49, 13, 99, 67, 22, 159}},
             {1, {2, 2}, {2, 4}, {1, 2, 3, 4}, {1, 1, 2, 2, 3, 3, 4, 4}}, // pixels repeated
             {2, {2, 2}, {4, 2}, {8, 16, 24, 32}, {8, 0, 16, 0, 0, 0, 0, 0}},
             {1, {3, 4}, {2, 3}, wide, {9, 59, 18, 112, 54, 102}},
             {1, {2, 2}, {3, 3}, {8, 16, 24, 32}, {8, 13, 0, 18, 24, 0, 0, 0, 0}}, // an axis that grows ends black
             {2, {2, 4}, {3, 3}, small, {0, 53, 106, 133, 115, 97, 0, 0, 0}},      // only one shrinks
             {2, {3, 3}, {2, 2}, {10, 20, 30, 40, 50, 60, 70, 80, 90}, {23, 36, 63, 76}},
             {2, {3, 4}, {2, 3}, wide, {66, 39, 41, 69, 94, 101}},
             {2, {7, 7}, {1, 3}, Bytes(49, 255), {254, 254, 254}}, // sevenths and thirds don't add up to one
         }) {
        Options const options{{"algorithm", algorithm}, {"height", int(to[0])}, {"width", int(to[1])}};
        Frame const resized = filtered("ResizeImage", options, grey(from, in));
        EXPECT_EQ(resized.shape, to);
        EXPECT_EQ(elements(resized), elements(grey(to, out))) << algorithm << ", " << testing::PrintToString(out);
    }
}

TEST(ResizeImage, WrapsThePositionsOfNearestPixels) {
    Frame const frame({70000, 1}); // 69999 * 70000 is more than 32 bits hold
    for (std::uint32_t i = 0; i < frame.count; i++) frame.first()[i] = {static_cast<unsigned char>(i / 300), 0, 0};
    Frame const resized = filtered("ResizeImage", {{"algorithm", 0}, {"height", 70000}, {"width", 2}}, frame);
    for (std::uint32_t i : {0u, 61356u, 61357u, 69999u})
        EXPECT_EQ(resized.first()[i * 2 + 1][0], i * 70000u / 70000u / 300) << i;
}

Frame warp(Frame const &frame, Matrix const &matrix, Vec2i size, bool inverted, char const *border) {
    return run<Frame>("WarpAffine", {{"size", size}, {"inverted", inverted}, {"borderColour", border}},
                      {{"image", valueOf(frame)}, {"transform", valueOf(frameOf({2, 3}, matrix))}});
}

TEST(WarpAffine, SamplesThroughTheMatrixOrItsInverse) {
    Frame const frame = grey({2, 3}, {10, 20, 31, 40, 50, 60});
    using Row = std::tuple<Matrix, Vec2i, bool, Bytes>;
    for (auto const &[matrix, size, inverted, cells] :
         {Row({1, 0, 0, 0, 1, 0}, {2, 3}, false, {10, 20, 31, 40, 50, 60}),
          Row({1, 0, .5f, 0, 1, 0}, {2, 3}, true, {15, 25, 65, 45, 55, 80}), // half of it border
          Row({1, 0, 1, 0, 1, 0}, {2, 3}, false, {100, 10, 20, 100, 40, 50}),
          Row({0, 1, 0, 1, 0, 0}, {3, 2}, false, {10, 40, 20, 50, 31, 60}),
          Row({0, 1, 0, -2, 0, 4}, {5, 2}, false, {31, 60, 25, 55, 20, 50, 15, 45, 10, 40}), // turned and stretched
          Row({0, 1, 0, -1, 0, 2}, {3, 3}, true, {100, 40, 10, 100, 50, 20, 100, 60, 31}),
          Row({2, 0, 0, 0, 2, 0}, {2, 3}, false, {10, 15, 20, 25, 30, 35}),
          Row({1, 2, 5, 2, 4, 6}, {1, 2}, false, {10, 10}), // singular: all of it is the first pixel
          Row({1, 0, nan, 0, 1, 0}, {1, 2}, false, {0, 0}),
          Row({1, 0, 3e9f, 0, 1, 0}, {1, 2}, true,
              {0, 0}), // what no int holds is the smallest, and far from it the weight
          Row({1, 0, 0, 0, 1, 0}, {0, 4}, false, {}), Row({1, 0, 0, 0, 1, 0}, {4, 0}, true, {}),
          Row({1, 0, 0, 0, 1, 0}, {-65536, 65536}, true, {}), // no loop runs
          Row({1, 0, 0, 0, 1, 0}, {smallest, 2}, true, {})}) {
        Frame const warped = warp(frame, matrix, size, inverted, "0x646464");
        Frame const expected = grey({std::uint32_t(size[0]), std::uint32_t(size[1])}, cells);
        EXPECT_EQ(warped.shape, expected.shape);
        EXPECT_EQ(elements(warped), elements(expected)) << testing::PrintToString(matrix) << inverted;
        EXPECT_NE(warped.first(), frame.first());
    }
    EXPECT_EQ(warp(frame, {1, 0, 0, 0, 1, 0}, {-1, -2}, true, "000000").count, 2u);
    EXPECT_EQ(elements(warp(Frame(), {1, 0, 0, 0, 1, 0}, {1, 1}, false, "#FF8001")),
              (std::vector<Vec3b>{{255, 128, 1}}));
    expectFailureWithoutLocation(
        [&] {
            warp(frame, {1, 0, 0, 0, 1, 0}, {1, 1}, false, "red");
        },
        "Invalid fill colour value: red");
}

template <class T>
Guarded cropped(Mat<T, 2> const &frame, Box const &box, bool clamp, char const *message) {
    return {{{"clamp", clamp}}, inputs(valueOf(frame), box), "box", message};
}

TEST(Crop, GuardsAgainstBoxesThatLeadOutOfMemory) {
    constexpr float nearlyLargest = 2147483520.0f; // the largest float that is an int
    struct {
        Box box; // on a frame of 4 rows and 6 columns
        char const *message, *messageClamped = "";
    } const rows[] = {{{-3, -3, 20, 20}, ""},
                      {{-100, 4, 9, 9}, ""}, // wholly below: zeros, wherever its columns are
                      {{-5, 0, 5, 4}, ""},   // touching the frame from outside repeats its edge
                      {{-6, 0, 5, 4}, "lies wholly left of the frame (4 rows, 6 columns)"},
                      {{-6, 0, 5, 5}, ""}, // writes into the cut's next row
                      {{7, 0, 5, 4}, "wholly right"},
                      {{7, -1, 5, 4}, ""},              // writes into the row before
                      {{0, 0, -1, 4}, "negative size"}, // 2^32 - 4 pixels
                      {{0, 9, 4, -1}, "negative size"},
                      {{2, 2, -3, -2}, ""}, // 6 pixels
                      {{-2, -2, -3, -2}, ""},
                      {{0, 0, -40000, 80000}, "negative size"}, // copies the last row
                      {{0, 9, -40000, 80000}, ""},              // 1 094 967 296 pixels of zero
                      {{-2, 1, 0, 9}, ""},
                      {{nan, 0, 3, 3}, "wholly left"},
                      {{0, nan, 3, 3}, "32-bit"},
                      {{-1, -1, 40000, 40000}, "larger than any"},
                      {{-1, -1, 1, nearlyLargest}, "larger than any"},
                      {{9, 9, 65536, 65536}, ""}, // 2^32 zeros are none
                      {{nearlyLargest, 0, 200, 1}, "32-bit", "32-bit"},
                      {{0, nearlyLargest, 1, 200}, "32-bit", "32-bit"},
                      // The sum wraps so that the clipped box equals the box: as if it lay inside.
                      {{128, 0, nearlyLargest, 4}, "32-bit", "32-bit"},
                      {{0, 128, 6, nearlyLargest}, "32-bit", "32-bit"}};
    std::vector<Guarded> onBytes;
    for (auto const &[box, message, messageClamped] : rows) {
        onBytes.push_back(cropped(blank<Vec3b>(4, 6), box, false, message));
        onBytes.push_back(cropped(blank<Vec3b>(4, 6), box, true, messageClamped));
    }
    expectGuarded("Crop<Vec3b>", onBytes);
    expectGuarded("CropAny", onBytes);
    expectGuarded("Crop<Vec3f>", {cropped(blank<Vec3f>(4, 6), {-9, -9, 17000, 17000}, false, ""),
                                  cropped(blank<Vec3f>(4, 6), {-9, -9, 20000, 20000}, false, "larger than any")});
    expectGuarded("CropAny", {cropped(blank<Vec3f>(4, 6), {-9, -9, 20000, 20000}, false, "larger than any"),
                              cropped(blank<Vec3b>(4, 0), {-1, 0, 3, 3}, false, "a frame that has no column"),
                              cropped(blank<Vec3b>(4, 0), {0, 0, 3, 3}, false, "a frame that has no column"),
                              cropped(blank<Vec3b>(0, 4), {-1, -1, 9, 9}, false, ""), // no row overlaps: zeros
                              cropped(blank<float>(1, 1), {}, false, "")});           // the node's own to refuse
}

/// Boxes that pass are cut, where a sanitizer sees them leave their memory. Only those may be refused that touch a cell
/// outside of its row; those that pass all the same miss the frame's columns where they share its rows.
TEST(Crop, GuardsPassWhatIsDefined) {
    std::mt19937 random(2);
    auto const number = [&](int low, int high) {
        return static_cast<float>(low * 4 + static_cast<int>(random() % unsigned((high - low) * 4 + 1))) / 4;
    };
    OneNode node = nodeOf("CropAny");
    int passed = 0;
    for (int round = 0; round < 10000; round++) {
        auto const frame = randomFrame<Vec3b>(unsigned(random() % 7), unsigned(random() % 7), random);
        Box const box{number(-8, 8), number(-8, 8), number(-3, 14), number(-3, 14)};
        Rect<int> const rect = roundToInt(box);
        auto const [x, y, width, height] = rect;
        int const rows = int(frame.shape[0]), columns = int(frame.shape[1]);
        auto const cut = literalCrop(frame, rect);
        bool const missesColumns = y + height > 0 && y < rows && (x + width < 0 || x > columns);
        SCOPED_TRACE(testing::Message() << rows << " x " << columns << " at " << x << ", " << y << ", " << width << ", "
                                        << height);
        if (auto const refused = refusal(node, inputs(valueOf(frame), box))) {
            ASSERT_FALSE(cut) << refused->message;
            continue;
        }
        passed++;
        auto const result = held<Frame>(node.run(inputs(valueOf(frame), box)).at("out.output"));
        bool const negative = width < 0 && height < 0;
        ASSERT_TRUE(!negative || result.count == unsigned(width * height));
        ASSERT_TRUE(negative || result.count == 0 || (cut ? elements(result) == cut : missesColumns));
    }
    EXPECT_GT(passed, 2000);
    EXPECT_LT(passed, 9000);
}

TEST(ResizeImage, GuardsAgainstResultsWithoutPixelsOrWithTooMany) {
    auto const resized = [](Shape<2> const &frame, Options const &options, char const *message) {
        return guarded<Vec3b>(options, frame, message);
    };
    expectGuarded(
        "ResizeImage",
        {resized({1, 1000}, {}, ""), resized({1, 1000}, {{"width", 500}}, ""), // half a row is one
         resized({1, 1000}, {{"width", 499}}, "1 rows and 1000 columns would become one of 0 rows and 499 columns"),
         resized({1, 1000}, {{"width", 100}, {"algorithm", 3}}, ""), // the node's own to refuse
         resized({1, 40000}, {{"width", 1}, {"height", 1}}, "0 columns, and both have to be at least 1"),
         resized({4, 4}, {{"width", -2}}, "-2 rows and -2 columns"),
         resized({4, 4}, {{"width", -2}, {"allowDownscale", false}}, ""), // stays
         resized({4, 4}, {{"largestSize", smallest}}, "65532 rows"),
         resized({4, 4}, {{"largestSize", largest}}, "65532 rows and 65532 columns, which is larger than any frame"),
         resized({4, 4}, {{"height", -4}, {"width", 4}}, "-4 rows and 4 columns"),
         resized({0, 5}, {{"width", 10}}, "0 rows and 10 columns"), resized({0, 5}, {{"width", 5}}, ""),
         resized({0, 0}, {{"height", smallest}}, ""),
         resized({100, 100}, {{"width", 40000}, {"height", 35700}}, ""), // a little less than 4 GiB
         resized({100, 100}, {{"width", 40000}, {"height", 35800}}, "35800 rows and 40000 columns, which is larger")});
}

TEST(WarpAffine, GuardsAgainstSmallTransformsAndImpossibleSizes) {
    auto const warped = [](Shape<2> const &matrix, Vec2i size, char const *port, char const *message) -> Guarded {
        Values const values{{"image", valueOf(blank<Vec3b>(2, 2))}, {"transform", valueOf(Mat<float, 2>(matrix, nan))}};
        return {{{"size", size}}, values, port, message};
    };
    expectGuarded("WarpAffine",
                  {warped({2, 3}, {4, 5}, "", ""), warped({2, 4}, {largest, 0}, "", ""),
                   warped({3, 2}, {4, 5}, "", ""), // its six numbers are there
                   warped({1, 6}, {4, 5}, "transform", "1 rows and 6 columns"),
                   warped({2, 2}, {4, 5}, "transform", "2 rows and 2 columns"),
                   warped({0, 0}, {4, 5}, "transform", "0 rows and 0 columns"),
                   warped({2, 3}, {-1, 5}, "image", "(-1, 5), which is larger than any frame may be, as its product"),
                   warped({2, 3}, {-1, -1}, "", ""), warped({2, 3}, {-65536, 65536}, "", ""),
                   warped({2, 3}, {smallest, 2}, "", ""), warped({2, 3}, {40000, 35791}, "", ""),
                   warped({2, 3}, {40000, 35792}, "image", "larger than any frame"),
                   warped({2, 3}, {65536, 65536}, "image", "larger than any frame")});
}

} // namespace
} // namespace zun::test
