#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>
#include <random>
#include <span>
#include <stdexcept>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Arithmetic.h"
#include "imgproc/kernels/Equalise.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Floats = Mat<Vec3f, 2>;
using Bytes = std::vector<unsigned char>;
using Counts = std::array<std::uint32_t, 256>;

/// The byte for a value as it is defined, from a whole histogram.
unsigned char literalByte(Counts const &counts, unsigned char value) {
    std::uint32_t total = 0, below = 0;
    for (std::uint32_t const count : counts) total += count;
    for (std::size_t v = 0; v < value; v++) below += counts[v];
    auto const product = static_cast<std::int32_t>(below * 256u), divisor = static_cast<std::int32_t>(total);
    std::int64_t const quotient = std::int64_t(product) / divisor;
    return static_cast<unsigned char>(quotient >= 255 ? 255 : quotient & 255);
}

Grey normalise(Grey const &frame) {
    return test::held<Grey>(test::ImgprocNode("NormalizeGreyImage").output({{"input", test::valueOf(frame)}}));
}

TEST(NormalizeGrey, MapsEachToneToTheShareOfDarkerPixels) {
    struct {
        Bytes in, out;
    } const cases[] = {
        {{77, 77, 77, 77}, {0, 0, 0, 0}},
        {{10, 200, 200, 10}, {0, 128, 128, 0}},
        {{255, 0, 3}, {170, 0, 85}},
    };
    for (auto const &[in, out] : cases) {
        Grey const frame({1, static_cast<std::uint32_t>(in.size())});
        std::copy(in.begin(), in.end(), frame.first());
        EXPECT_EQ(test::elements(normalise(frame)), out);
    }
    Grey bright({16, 32}, 9); // all but one are below
    bright.first()[40] = 10;
    EXPECT_EQ(normalise(bright).first()[40], 255);

    std::mt19937 random(1);
    Grey const frame = test::randomFrame<unsigned char>(37, 23, random), result = normalise(frame);
    Counts counts{};
    for (unsigned char const value : test::elements(frame)) counts[value]++;
    EXPECT_EQ(result.shape, frame.shape);
    for (std::uint32_t i = 0; i < frame.count; i++) ASSERT_EQ(result.first()[i], literalByte(counts, frame.first()[i]));
}

TEST(Equalised, WrapsIn32Bits) {
    struct {
        std::uint32_t below, total;
        int byte;
    } const cases[] = {
        {0, 1, 0},
        {1, 3, 85},
        {254, 255, 254},
        {255, 256, 255},
        {0x7fffff, 0x800000, 255},
        {0x800000, 0x1000000, 128},   // -2^31 / 2^24 = -128
        {0x800001, 0x1000000, 129},   // -127.99 toward zero
        {0x1000001, 0x2000000, 0},    // 2^32 + 256 is 256
        {0x2000005, 0x2000006, 0},    // 1280 / 33554438
        {0xffffff, 0xfffffff0, 16},   // -256 / -16
        {0x123, 0xffffff00, 0xdd},    // 74496 / -256 = -291
        {0x800000, 0xffffffff, 0},    // -2^31 / -1 wraps to -2^31
        {0x800000, 0xfffffffe, 255},  // 2^30
        {0x7fffff, 0x80000000, 0},    // 2147483392 / -2^31
        {0x800000, 0x80000000, 1},    // -2^31 / -2^31
        {0xffffffff, 0xffffffff, 255} // -256 / -1
    };
    for (auto const &[below, total, byte] : cases)
        EXPECT_EQ(int(kernels::equalised(below, total)), byte) << below << " of " << total;
}

Floats normalise(Floats const &frame, int bins) {
    test::ImgprocNode node("NormalizeYCbCrImage", {{"histogramSize", OptionNode::ofInt(bins)}});
    return test::held<Floats>(node.output({{"input", test::valueOf(frame)}}));
}

TEST(NormalizeYCbCr, MapsEachBinToTheShareOfLowerPixels) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    struct {
        int bins;
        std::vector<float> in, out;
    } const cases[] = {
        {256, {0.3f, 0.3f, 0.3f}, {0, 0, 0}},
        {256, {0.25f, 0.75f, 0.75f, 0.25f}, {0, 0.5f, 0.5f, 0}},
        {4, {0.9f, 1, 7, -3, 0.2f, 0.25f}, {0.5f, 0.5f, 0.5f, 0, 0, 2.0f / 6}},
        {4, {0.5f, nan, infinity, -infinity, 1e9f}, {4.0f / 5, 0, 0, 0, 0}}, // what no int holds is the smallest
        {1, {0.1f, 5, -5}, {0, 0, 0}},
        {2147483647, {0.5f, 0.25f, 1, 0.25f}, {3.0f / 4, 1.0f / 4, 0, 1.0f / 4}}, // 1 falls on 2^31
    };
    for (auto const &[bins, in, out] : cases) {
        Floats const frame({static_cast<std::uint32_t>(in.size()), 1}, {0, -0.0f, std::bit_cast<float>(0x7fa12345)});
        for (std::size_t i = 0; i < in.size(); i++) frame.first()[i][0] = in[i];
        Floats const result = normalise(frame, bins);
        for (std::size_t i = 0; i < in.size(); i++) {
            EXPECT_EQ(result.first()[i][0], out[i]) << bins << " bins, " << i;
            for (int k = 1; k < 3; k++)
                EXPECT_EQ(std::bit_cast<std::uint32_t>(result.first()[i][k]),
                          std::bit_cast<std::uint32_t>(frame.first()[i][k]));
        }
    }
}

TEST(NormalizeYCbCr, CountsManyBinsLikeFew) {
    std::mt19937 random(1);
    Floats const frame({1000, 1}, {0, 0, 0});
    for (Vec3f &pixel : std::span(frame.first(), frame.count)) pixel[0] = static_cast<float>(random() % 128) / 128;
    auto const expected = test::elements(normalise(frame, 128));
    for (int const bins : {256, 1 << 20, 1 << 21, 1 << 30}) EXPECT_EQ(test::elements(normalise(frame, bins)), expected);
}

TEST(NormalizeYCbCr, FailsOnANegativeNumberOfBinsUnlessThereIsNothingToCount) {
    EXPECT_EQ(normalise(Floats({0, 3}), -1).shape, (Shape<2>{0, 3}));
    EXPECT_EQ(normalise(Floats(), 0).count, 0u);
    try {
        normalise(Floats({1, 1}, {0, 0, 0}), -1);
        FAIL();
    } catch (std::length_error const &error) {
        EXPECT_STREQ(error.what(), "vector<T> too long");
    }
}

struct Windows {
    int stepX, stepY, width, height;
};

Grey normalise(Grey const &frame, Windows const &windows) {
    test::ImgprocNode node("SlidingWindowNormalizeGreyImage", {{"stepX", OptionNode::ofInt(windows.stepX)},
                                                               {"stepY", OptionNode::ofInt(windows.stepY)},
                                                               {"windowWidth", OptionNode::ofInt(windows.width)},
                                                               {"windowHeight", OptionNode::ofInt(windows.height)}});
    return test::held<Grey>(node.output({{"input", test::valueOf(frame)}}));
}

/// The spans of windows along an axis, clipped to it.
std::vector<std::pair<int, int>> spans(int extent, int step, int length) {
    std::vector<std::pair<int, int>> result;
    for (std::int64_t begin = 0; begin < extent; begin += step)
        result.push_back({int(begin), int(std::min<std::int64_t>(begin + length, extent))});
    return result;
}

/// A histogram for each pixel, to which every window over it adds its own: the definition.
Bytes literalWindows(Grey const &frame, Windows const &windows) {
    std::vector<Counts> histograms(frame.count, Counts{});
    for (auto const &[top, bottom] : spans(int(frame.shape[0]), windows.stepY, windows.height))
        for (auto const &[left, right] : spans(int(frame.shape[1]), windows.stepX, windows.width)) {
            Counts counts{};
            std::vector<std::size_t> pixels;
            for (int y = top; y < bottom; y++)
                for (int x = left; x < right; x++) pixels.push_back(std::size_t(y) * frame.shape[1] + std::size_t(x));
            for (std::size_t const i : pixels) counts[frame.first()[i]]++;
            for (std::size_t const i : pixels)
                for (std::size_t v = 0; v < 256; v++) histograms[i][v] += counts[v];
        }
    Bytes result;
    for (std::size_t i = 0; i < frame.count; i++) result.push_back(literalByte(histograms[i], frame.first()[i]));
    return result;
}

TEST(SlidingWindowNormalize, SumsTheHistogramsOfAllWindowsOverAPixel) {
    std::mt19937 random(1);
    auto const upTo = [&](int end) { return 1 + static_cast<int>(random() % unsigned(end)); };
    for (int round = 0; round < 300; round++) {
        auto const rows = upTo(14), columns = upTo(14);
        Windows windows{1, 1, upTo(columns + 4), upTo(rows + 4)};
        if (round % 3 != 0) windows.stepX = upTo(windows.width >= columns ? 40 : windows.width);
        if (round % 3 != 1) windows.stepY = upTo(windows.height >= rows ? 40 : windows.height);
        if (round % 20 == 0) windows.width = 2147483647 - upTo(8);
        if (round % 20 == 1) windows.height = 2147483647;
        Grey const frame = test::randomFrame<unsigned char>(unsigned(rows), unsigned(columns), random);
        Grey const result = normalise(frame, windows);
        EXPECT_EQ(result.shape, frame.shape);
        ASSERT_EQ(test::elements(result), literalWindows(frame, windows))
            << rows << " x " << columns << " under " << windows.height << " x " << windows.width;
    }
}

/// For each place on an axis, how many of the windows that cover `at` cover it as well.
std::vector<std::uint32_t> weights(int extent, int step, int length, int at) {
    std::vector<std::uint32_t> result(static_cast<std::size_t>(extent) + 1);
    for (auto const &[begin, end] : spans(extent, step, length))
        if (begin <= at && at < end) {
            result[static_cast<std::size_t>(begin)]++;
            result[static_cast<std::size_t>(end)]--;
        }
    std::partial_sum(result.begin(), result.end(), result.begin());
    return result;
}

TEST(SlidingWindowNormalize, WrapsCountsTotalsAndProducts) {
    struct {
        std::uint32_t rows, columns;
        Windows windows;
    } const cases[] = {
        {120, 130, {1, 1, 64, 64}},         // products wrap from 2^23 counts on
        {400, 420, {1, 1, 400, 420}},       // totals pass 2^31 and 2^32
        {100, 101, {2, 1, 99, 2147483647}}, // ends that 32 bits don't hold
        {3, 70000, {1000, 1, 9000, 2}},     // counts pass 16 bits
        {66000, 2, {1, 1, 2, 66000}},       // so do those of a column
        {70000, 1, {1, 1, 1, 70000}},
    };
    std::mt19937 random(1);
    for (auto const &[rows, columns, windows] : cases) {
        Grey frame = test::randomFrame<unsigned char>(rows, columns, random);
        if (rows > 60000) // nearly all of one value
            for (std::uint32_t i = 0; i < frame.count; i++)
                if (i % 100 != 0) frame.first()[i] = 240;
        Grey const result = normalise(frame, windows);
        for (int sample = 0; sample < 8; sample++) {
            std::uint32_t const pixel = sample == 0 ? frame.count - 1 : unsigned(random() % frame.count);
            auto const down = weights(int(rows), windows.stepY, windows.height, int(pixel / columns));
            auto const along = weights(int(columns), windows.stepX, windows.width, int(pixel % columns));
            Counts counts{};
            for (std::uint32_t i = 0; i < frame.count; i++)
                counts[frame.first()[i]] += down[i / columns] * along[i % columns];
            ASSERT_EQ(result.first()[pixel], literalByte(counts, frame.first()[pixel])) << rows << " rows, " << pixel;
        }
    }
}

TEST(SlidingWindowNormalize, MeetsTheWholeFrameInOneWindowAndPassesAnEmptyOneOn) {
    std::mt19937 random(1);
    Grey const frame = test::randomFrame<unsigned char>(40, 50, random);
    EXPECT_EQ(test::elements(normalise(frame, {50, 40, 50, 40})), test::elements(normalise(frame)));
    EXPECT_EQ(test::elements(normalise(frame, {999, 999, 999, 999})), test::elements(normalise(frame)));
    EXPECT_EQ(test::elements(normalise(Grey({9, 9}, 200), {2, 3, 4, 5})), Bytes(81, 0));
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 4}, Shape<2>{4, 0}})
        EXPECT_EQ(normalise(Grey(shape), {1, 1, 3, 3}).shape, shape);
}

} // namespace
} // namespace zun
