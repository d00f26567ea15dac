#include <bit>
#include <cstring>
#include <numeric>
#include <span>

#include "ImgprocNode.h"
#include "imgproc/kernels/Equalise.h"

namespace zun::test {
namespace {

template <class T>
Mat<T, 2> blur(Mat<T, 2> const &frame, int width, int height) {
    return filtered(sizeof(T) == 1 ? "GreyBoxBlur" : "RGBBoxBlur", {{"kernelSizeX", width}, {"kernelSizeY", height}},
                    frame);
}

TEST(BoxBlur, TruncatesTheMeanOfTheBox) {
    using Row = std::tuple<Bytes, int, Bytes>;
    for (auto const &[in, size, out] : {
             Row{{5, 0, 255, 7}, 1, {5, 0, 255, 7}},
             {{0, 0, 0, 0, 100, 0, 0, 0}, 4, {0, 0, 0, 25, 25, 25, 25, 0}}, // two before, one after
             {{0, 0, 0, 0, 90, 0, 0, 0}, 3, {0, 0, 0, 30, 30, 30, 0, 0}},
             {{100, 0, 0, 200}, 2, {100, 50, 0, 100}},
             {{8, 0}, 8, {5, 4}}, // four, then three pixels on the left beyond the edge
             {Bytes(5, 255), 7, Bytes(5, 255)},
             {Bytes(5, 255), 9, Bytes(5, 254)}, // nine rounded ninths fall short of one
             {{90, 200, 30}, 7, {88, 79, 71}},  // 80 but for what the running sum lost
             {{90, 200, 30}, 0, {0, 0, 0}},     // infinities that cancel out
         }) {
        auto const length = static_cast<std::uint32_t>(in.size());
        EXPECT_EQ(elements(blur(frameOf({1, length}, in), size, 1)), out) << size;
        EXPECT_EQ(elements(blur(frameOf({length, 1}, in), 1, size)), out) << size;
        Frame const colour = grey({1, length}, in), before = colour.clone();
        EXPECT_EQ(elements(blur(colour, size, 1)), elements(grey({1, length}, out))) << size;
        EXPECT_EQ(elements(colour), elements(before)) << "the input is not changed";
    }
}

TEST(BoxBlur, PassesAnEmptyFrameOnWhateverTheBox) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 4}, Shape<2>{4, 0}}) {
        for (int const size : {3, 0, -5}) EXPECT_EQ(blur(Grey(shape), size, 3).shape, shape);
        EXPECT_EQ(blur(Frame(shape), 3, -5).shape, shape);
    }
}

Grey normalise(Grey const &frame) { return filtered("NormalizeGreyImage", {}, frame); }

TEST(NormalizeGrey, MapsEachToneToTheShareOfDarkerPixels) {
    using Row = std::tuple<Bytes, Bytes>;
    for (auto const &[in, out] : {Row{{77, 77, 77, 77}, {0, 0, 0, 0}},
                                  {{10, 200, 200, 10}, {0, 128, 128, 0}},
                                  {{255, 0, 3}, {170, 0, 85}},
                                  {{255, 0, 3, 3, 4, 200}, {213, 0, 42, 42, 128, 170}}})
        EXPECT_EQ(elements(normalise(frameOf({1, std::uint32_t(in.size())}, in))), out);
    Grey bright({16, 32}, 9); // all but one are below
    bright.first()[40] = 10;
    EXPECT_EQ(normalise(bright).first()[40], 255);
}

TEST(Equalised, WrapsIn32Bits) {
    using Row = std::tuple<std::uint32_t, std::uint32_t, int>;
    for (auto const &[below, total, byte] : {
             Row(0, 1, 0), Row(1, 3, 85), Row(254, 255, 254), Row(255, 256, 255), Row(0x7fffff, 0x800000, 255),
             Row(0x800000, 0x1000000, 128),   // -2^31 / 2^24 = -128
             Row(0x800001, 0x1000000, 129),   // -127.99 toward zero
             Row(0x1000001, 0x2000000, 0),    // 2^32 + 256 is 256
             Row(0x2000005, 0x2000006, 0),    // 1280 / 33554438
             Row(0xffffff, 0xfffffff0, 16),   // -256 / -16
             Row(0x123, 0xffffff00, 0xdd),    // 74496 / -256 = -291
             Row(0x800000, 0xffffffff, 0),    // -2^31 / -1 wraps to -2^31
             Row(0x800000, 0xfffffffe, 255),  // 2^30
             Row(0x7fffff, 0x80000000, 0),    // 2147483392 / -2^31
             Row(0x800000, 0x80000000, 1),    // -2^31 / -2^31
             Row(0xffffffff, 0xffffffff, 255) // -256 / -1
         })
        EXPECT_EQ(int(kernels::equalised(below, total)), byte) << below << " of " << total;
}

Floats normalise(Floats const &frame, int bins) {
    return filtered("NormalizeYCbCrImage", {{"histogramSize", bins}}, frame);
}

TEST(NormalizeYCbCr, MapsEachBinToTheShareOfLowerPixels) {
    using Row = std::tuple<int, std::vector<float>, std::vector<float>>;
    for (auto const &[bins, in, out] : {
             Row{256, {0.3f, 0.3f, 0.3f}, {0, 0, 0}},
             {256, {0.25f, 0.75f, 0.75f, 0.25f}, {0, 0.5f, 0.5f, 0}},
             {4, {0.9f, 1, 7, -3, 0.2f, 0.25f}, {0.5f, 0.5f, 0.5f, 0, 0, 2.0f / 6}},
             {4, {0.5f, nan, infinity, -infinity, 1e9f}, {4.0f / 5, 0, 0, 0, 0}}, // what no int holds is the smallest
             {1, {0.1f, 5, -5}, {0, 0, 0}},
             {2147483647, {0.5f, 0.25f, 1, 0.25f}, {3.0f / 4, 1.0f / 4, 0, 1.0f / 4}}, // 1 falls on 2^31
         }) {
        std::vector<Vec3f> pixels, expected;
        for (std::size_t i = 0; i < in.size(); i++) {
            pixels.push_back({in[i], -0.0f, std::bit_cast<float>(0x7fa12345)});
            expected.push_back({out[i], -0.0f, std::bit_cast<float>(0x7fa12345)});
        }
        Floats const result = normalise(frameOf({std::uint32_t(in.size()), 1}, pixels), bins);
        EXPECT_EQ(std::memcmp(result.first(), expected.data(), result.bytes()), 0) << bins << " bins";
    }
}

TEST(NormalizeYCbCr, CountsManyBinsLikeFew) {
    std::mt19937 random(1);
    Floats const frame({1000, 1}, {0, 0, 0});
    for (Vec3f &pixel : std::span(frame.first(), frame.count)) pixel[0] = static_cast<float>(random() % 128) / 128;
    auto const expected = elements(normalise(frame, 128));
    for (int const bins : {256, 1 << 20, 1 << 21, 1 << 30}) EXPECT_EQ(elements(normalise(frame, bins)), expected);
}

TEST(NormalizeYCbCr, FailsOnANegativeNumberOfBins) {
    EXPECT_EQ(normalise(Floats({0, 3}), 0).shape, (Shape<2>{0, 3}));
    for (std::uint32_t const rows : {0u, 1u})
        EXPECT_EQ(messageOf([=] { normalise(Floats({rows, 1}, {0, 0, 0}), -1); }), "vector<T> too long");
}

struct Windows {
    int stepX, stepY, width, height;
};

Options optionsOf(Windows const &windows) {
    return {{"stepX", windows.stepX},
            {"stepY", windows.stepY},
            {"windowWidth", windows.width},
            {"windowHeight", windows.height}};
}

Grey normalise(Grey const &frame, Windows const &windows) {
    return filtered("SlidingWindowNormalizeGreyImage", optionsOf(windows), frame);
}

/// For each place on an axis, how many of the windows that cover `at` cover it as well.
std::vector<std::uint32_t> weights(std::uint32_t extent, int step, int length, std::uint32_t at) {
    std::vector<std::uint32_t> result(extent + 1);
    for (std::int64_t begin = 0; begin <= at; begin += step) {
        std::int64_t const end = std::min<std::int64_t>(begin + length, extent);
        if (at >= end) continue;
        result[static_cast<std::size_t>(begin)]++;
        result[static_cast<std::size_t>(end)]--;
    }
    std::partial_sum(result.begin(), result.end(), result.begin());
    return result;
}

/// Compares one pixel with all others, each counted as often as a window covers both: for windows so many and large
/// that counting each takes too long.
unsigned char expectedByte(Grey const &frame, Windows const &windows, std::uint32_t pixel) {
    std::uint32_t const columns = frame.shape[1];
    auto const down = weights(frame.shape[0], windows.stepY, windows.height, pixel / columns);
    auto const along = weights(columns, windows.stepX, windows.width, pixel % columns);
    std::uint32_t below = 0, total = 0;
    for (std::uint32_t i = 0; i < frame.count; i++) {
        std::uint32_t const times = down[i / columns] * along[i % columns];
        total += times;
        if (frame.first()[i] < frame.first()[pixel]) below += times;
    }
    return kernels::equalised(below, total);
}

TEST(SlidingWindowNormalize, CountsAllWindowsOverAPixelAndWraps) {
    using Row = std::tuple<std::uint32_t, std::uint32_t, Windows>;
    std::mt19937 random(1);
    for (auto const &[rows, columns, windows] : {Row{13, 17, {2, 3, 5, 4}},
                                                 {120, 130, {1, 1, 64, 64}},   // products wrap from 2^23 counts on
                                                 {400, 420, {1, 1, 400, 420}}, // totals pass 2^31 and 2^32
                                                 {100, 101, {2, 1, 99, 2147483647}}, // ends that 32 bits don't hold
                                                 {3, 70000, {1000, 1, 9000, 2}},     // counts pass 16 bits
                                                 {66000, 2, {1, 1, 2, 66000}},       // so do those of a column
                                                 {70000, 1, {1, 1, 1, 70000}}}) {
        Grey const frame = randomFrame<unsigned char>(rows, columns, random);
        for (std::uint32_t i = 0; rows > 60000 && i < frame.count; i++) // nearly all of one value
            if (i % 100 != 0) frame.first()[i] = 240;
        Grey const result = normalise(frame, windows);
        for (int sample = 0; sample < 40; sample++) {
            std::uint32_t const pixel = sample == 0 ? frame.count - 1 : unsigned(random() % frame.count);
            ASSERT_EQ(result.first()[pixel], expectedByte(frame, windows, pixel)) << rows << " rows, " << pixel;
        }
    }
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 4}, Shape<2>{4, 0}})
        EXPECT_EQ(normalise(Grey(shape), {1, 1, 3, 3}).shape, shape);
}

TEST(BoxBlur, GuardsAgainstBoxesOfANegativeSizeOrTooLargeToCount) {
    auto const box = []<class T>(T, int width, int height, Shape<2> const &frame, char const *message) {
        return guarded<T>({{"kernelSizeX", width}, {"kernelSizeY", height}}, frame, message);
    };
    using Byte = unsigned char;
    expectGuarded("GreyBoxBlur", {box(Byte(), 0, 100, {4, 6}, ""), box(Byte(), 3, -2, {4, 6}, "kernelSizeY is -2"),
                                  box(Byte(), -5, -1, {0, 6}, ""), box(Byte(), 65000, 65000, {4, 6}, ""),
                                  box(Byte(), largest - 1, 1, {1, 1}, ""),
                                  box(Byte(), largest, 1, {1, 1}, "larger than any")}); // a sum past 32 bits
    expectGuarded("RGBBoxBlur", {box(Vec3b(), 3, 0, {4, 6}, ""), box(Vec3b(), -1, largest, {4, 0}, ""),
                                 box(Vec3b(), -1, 3, {4, 6}, "kernelSizeX is -1; set it to 1 or more"),
                                 box(Vec3b(), 66000, 66000, {4, 6}, "4 rows and 6 columns, with kernelSizeX 66000")});
}

TEST(Normalize, GuardsAgainstDivisionsByZero) {
    auto const bins = [](int count, Shape<2> const &frame, char const *message) {
        return guarded<Vec3f>({{"histogramSize", count}}, frame, message);
    };
    expectGuarded("NormalizeGreyImage", {guarded<unsigned char>({}, {1, 1}, ""),
                                         guarded<unsigned char>({}, {0, 7}, "frame of 0 rows and 7 columns is empty")});
    expectGuarded("NormalizeYCbCrImage",
                  {bins(largest, {1, 1}, ""), bins(0, {1, 1}, "histogramSize is 0; set it to 1 or more"),
                   bins(smallest, {1, 1}, ""), bins(0, {7, 0}, "")}); // the node fails by itself for a negative number
}

TEST(SlidingWindowNormalize, GuardsAgainstWindowsWithoutAnEndOrATotal) {
    auto const under = [](Windows const &windows, Shape<2> const &frame, char const *message) {
        return guarded<unsigned char>(optionsOf(windows), frame, message);
    };
    expectGuarded("SlidingWindowNormalizeGreyImage",
                  {under({3, 4, 3, 4}, {9, 9}, ""), under({largest, largest, largest, largest}, {9, 9}, ""),
                   under({12, 10, 9, 9}, {9, 9}, ""), // the first window covers all
                   under({0, 1, 3, 3}, {9, 9}, "stepX is 0; set it to 1 or more"),
                   under({1, -1, 3, 3}, {9, 9}, "stepY is -1"), under({1, 1, 0, 3}, {9, 9}, "windowWidth is 0"),
                   under({1, 1, 3, -3}, {9, 9}, "windowHeight is -3"),
                   under({4, 1, 3, 3}, {9, 9}, "column 3 lies under no window, with stepX 4 and windowWidth 3"),
                   under({1, 5, 3, 4}, {9, 9}, "row 4 lies under no window, with stepY 5 and windowHeight 4"),
                   under({0, 0, 0, 0}, {0, 9}, ""), // no row to move over
                   under({0, 1, 0, 0}, {9, 0}, ""), under({1, 0, 3, 3}, {9, 0}, "stepY is 0"),
                   under({1, 1, 256, 256}, {511, 511}, "row 255, column 255 hold a multiple of 2^32 pixels"),
                   under({1, 1, 256, 255}, {511, 511}, ""),
                   under({4, 1, 256, 512}, {1023, 508}, "row 511, column 252 hold a multiple"), // 2^18 by 2^14
                   under({4, 1, 256, 512}, {1022, 508}, ""), // the last window over the row is cut off
                   under({4, 1, 256, 512}, {1023, 507}, ""), under({8, 1, 256, 512}, {1023, 508}, "")});
}
} // namespace
} // namespace zun::test
