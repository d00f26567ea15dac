#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Mat.h"
#include "support/Failures.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Frame = Mat<unsigned char, 2>;
using Bytes = std::vector<unsigned char>;
using Options = std::map<std::string, OptionNode>;

constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();

OptionNode number(int value) { return OptionNode::ofInt(value); }
OptionNode flag(bool value) { return OptionNode::ofBool(value); }
OptionNode fraction(float value) { return OptionNode::ofFloat(value); }

Frame frameOf(std::uint32_t columns, Bytes const &bytes) {
    Frame const frame({std::uint32_t(bytes.size()) / columns, columns});
    std::copy(bytes.begin(), bytes.end(), frame.first());
    return frame;
}

/// Mostly 0 and 1 in stretches, some pixels of other values.
Frame randomBinary(std::uint32_t rows, std::uint32_t columns, std::mt19937 &random) {
    Frame const frame({rows, columns});
    unsigned const rarity = 2 + unsigned(random() % 12);
    unsigned char const usual = random() % 2;
    for (std::uint32_t i = 0; i < frame.count; i++)
        frame.first()[i] = static_cast<unsigned char>(random() % rarity != 0 ? usual
                                                      : random() % 8 != 0    ? 1 - usual
                                                                             : 2 + random() % 254);
    return frame;
}

template <class Result = Frame>
Result run(std::string const &type, Frame const &frame, Options const &options) {
    test::ImgprocNode node(type, options);
    return test::held<Result>(node.output({{"input", test::valueOf(frame)}}));
}

std::vector<Frame> levels(Frame const &frame, int count, int least, int most, bool inverted, bool noninverted) {
    return run<std::vector<Frame>>("Grey2BinarySequence", frame,
                                   {{"binThresholdCount", number(count)},
                                    {"binThresholdMin", number(least)},
                                    {"binThresholdMax", number(most)},
                                    {"inverted", flag(inverted)},
                                    {"noninverted", flag(noninverted)}});
}

TEST(Grey2BinarySequence, SpacesItsThresholdsInInts) {
    constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();
    struct {
        int count, least, most;
        std::vector<int> series;
    } const cases[] = {
        {5, 10, 200, {10, 57, 105, 152, 200}},
        {4, 10, 0, {10, 7, 4, 0}},
        {1, 7, 99, {7}},
        {2, -5, 300, {-5, 300}},
        {3, largest, smallest, {largest, largest, smallest}}, // the difference wraps to 1, the last sum around
        {4, 0, largest, {0, 715827882, 0, 715827881}},        // products wrap to -2 and 2147483645
        {0, 1, 2, {}},
    };
    Frame const all({1, 256});
    std::iota(all.first(), all.first() + 256, static_cast<unsigned char>(0));
    for (auto const &[count, least, most, series] : cases) {
        auto const both = levels(all, count, least, most, true, true);
        ASSERT_EQ(both.size(), 2 * series.size());
        for (std::size_t i = 0; i < series.size(); i++)
            for (int pixel = 0; pixel < 256; pixel++) {
                ASSERT_EQ(both[2 * i].first()[pixel], series[i] <= pixel) << count << ", " << i << ", " << pixel;
                ASSERT_EQ(both[2 * i + 1].first()[pixel], series[i] > pixel) << count << ", " << i << ", " << pixel;
            }
        if (!series.empty()) {
            EXPECT_EQ(test::elements(levels(all, count, least, most, true, false)[0]), test::elements(both[1]));
        }
    }
    EXPECT_EQ(levels(Frame({0, 4}), 3, 0, 9, true, true).at(5).shape, (Shape<2>{0, 4}));
}

TEST(Grey2BinarySequence, FailsAsAListOnANegativeLength) {
    for (int const count : {-1, 1 << 30, (1 << 30) + 5}) {
        try {
            levels(Frame({1, 1}, 0), count, 0, 9, true, true);
            ADD_FAILURE() << count;
        } catch (std::length_error const &failure) {
            EXPECT_STREQ(failure.what(), "vector<T> too long");
        }
    }
    EXPECT_TRUE(levels(Frame({1, 1}, 0), std::numeric_limits<int>::min(), 0, 9, true, true).empty()) << "wraps to 0";
    EXPECT_TRUE(levels(Frame({1, 1}, 0), -1, 0, 9, false, false).empty());
}

struct Element {
    int columns, rows, originColumn, originRow;
};

Frame match(Frame const &frame, Element const &element, int value, bool invert) {
    return run("ApplyHomogenousMorphology", frame,
               {{"elementSizeX", number(element.columns)},
                {"elementSizeY", number(element.rows)},
                {"originX", number(element.originColumn)},
                {"originY", number(element.originRow)},
                {"elementValue", number(value)},
                {"invert", flag(invert)}});
}

TEST(ApplyHomogenousMorphology, ComparesWhatTheElementCoversOfTheFrame) {
    std::mt19937 random(1);
    for (int round = 0; round < 3000; round++) {
        int const rows = 1 + int(random() % 12), columns = 1 + int(random() % 40);
        auto const size = [&](int extent) { return 1 + int(random() % unsigned(extent + 1)); };
        Element element{size(columns), size(rows), 0, 0};
        if (round % 2 == 0) element.columns = element.rows = std::min(element.columns, element.rows);
        element.originColumn = int(random() % unsigned(element.columns));
        element.originRow = int(random() % unsigned(element.rows));
        Frame const frame = randomBinary(unsigned(rows), unsigned(columns), random);
        int const value = int(random() % 2);
        bool const invert = random() % 2 == 0;
        Frame const result = match(frame, element, value, invert);
        for (int y = 0; y < rows; y++)
            for (int x = 0; x < columns; x++) {
                bool hit = true;
                for (int r = y - element.originRow; r < y - element.originRow + element.rows; r++)
                    for (int c = x - element.originColumn; c < x - element.originColumn + element.columns; c++)
                        if (r >= 0 && r < rows && c >= 0 && c < columns && frame.first()[r * columns + c] != value)
                            hit = false;
                ASSERT_EQ(result.first()[y * columns + x], hit != invert)
                    << rows << " x " << columns << ", element " << element.rows << " x " << element.columns << ", at "
                    << y << ", " << x;
            }
    }
}

TEST(ApplyHomogenousMorphology, RefusesOtherValuesAtTheTick) {
    for (int const value : {2, -1, 256})
        for (Frame const &frame : {Frame({2, 2}, 0), Frame()})
            test::expectFailureWithoutLocation(
                [&] {
                    match(frame, {3, 3, 1, 1}, value, false);
                },
                "ApplyHomogenousMorphology elementValue must be either 0 or 1");
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 4}, Shape<2>{4, 0}})
        EXPECT_EQ(match(Frame(shape), {0, -3, 7, 9}, 1, false).shape, shape) << "no element matters";
    EXPECT_EQ(test::elements(run("ApplyHomogenousMorphology", frameOf(3, {1, 1, 1, 1, 1, 1, 1, 1, 0}),
                                 {{"elementValue", number(1)}, {"invert", flag(false)}})),
              (Bytes{1, 1, 1, 1, 0, 0, 1, 0, 0}))
        << "3 x 3 about its middle if not told otherwise";
}

TEST(BinaryDominatedRowColRemover, OverwritesLinesByTheirFractionOfForeground) {
    struct {
        Bytes line;
        float threshold;
        bool inverted;
        Bytes result;
    } const cases[] = {
        {{1, 1, 1, 0}, .75f, false, {0, 0, 0, 0}},
        {{1, 1, 1, 0}, .76f, false, {1, 1, 1, 0}},
        {{0, 0, 0, 1}, .75f, true, {1, 1, 1, 1}},
        {{0, 0, 1, 1}, .75f, true, {0, 0, 1, 1}},
        {{0, 0, 0, 0}, 0, false, {0, 0, 0, 0}},
        {{0, 1, 0, 0}, -1, true, {1, 1, 1, 1}},
        {{1, 1, 1, 1}, 1.1f, false, {1, 1, 1, 1}},
        {{1, 0, 0, 0}, nan, false, {0, 0, 0, 0}},
        {{255, 0, 0, 0}, 60, false, {0, 0, 0, 0}},
        {{255, 0, 0, 0}, -62.7f, true, {255, 0, 0, 0}}, // (4 - 255) / 4 is -62.75
        {{255, 0, 0, 0}, -62.8f, true, {1, 1, 1, 1}},
        {{1, 0, 1, 0}, infinity, false, {1, 0, 1, 0}},
    };
    std::mt19937 random(2);
    for (auto const &[line, threshold, inverted, result] : cases)
        for (std::uint32_t const lines : {1u, 3u, 64u, 130u}) {
            // One line of the case among random ones, as a row and as a column.
            Frame const rows = randomBinary(lines, 4, random), columns({4, lines});
            auto const at = std::uint32_t(random() % lines);
            std::copy(line.begin(), line.end(), rows.first() + at * 4);
            for (std::uint32_t i = 0; i < rows.count; i++) columns.first()[i % 4 * lines + i / 4] = rows.first()[i];
            Options options{{"threshold", fraction(threshold)}, {"inverted", flag(inverted)}};
            Frame const byRows = run("BinaryDominatedRowColRemover", rows, options);
            options["horizontal"] = flag(false);
            Frame const byColumns = run("BinaryDominatedRowColRemover", columns, options);
            EXPECT_EQ(Bytes(byRows.first() + at * 4, byRows.first() + at * 4 + 4), result) << threshold;
            for (std::uint32_t i = 0; i < rows.count; i++)
                ASSERT_EQ(byColumns.first()[i % 4 * lines + i / 4], byRows.first()[i]) << lines << ", " << i;
        }
    for (bool const horizontal : {true, false})
        EXPECT_EQ(run("BinaryDominatedRowColRemover", Frame({4, 0}),
                      {{"threshold", fraction(0)}, {"horizontal", flag(horizontal)}})
                      .shape,
                  (Shape<2>{4, 0}));
}

/// The sweep along a line as it is defined: step by step, writing what may have been written before.
void sweep(Bytes const &in, unsigned char *out, std::size_t step, float threshold, bool inverted) {
    float const product = float(in.size()) * threshold;
    int const least = product < 2147483648.0f ? int(product) : std::numeric_limits<int>::min();
    int runLength = 0;
    std::size_t runStart = 0;
    auto const write = [&](std::size_t end) {
        for (std::size_t i = runStart; i < end; i++) out[i * step] = inverted;
    };
    for (std::size_t p = 0; p < in.size(); p++) {
        if (in[p] == (inverted ? 0 : 1)) {
            if (runLength == 0) runStart = p;
            runLength++;
        } else {
            if (runLength >= least && runStart != p) write(p);
            runLength = 0;
        }
    }
    if (runLength >= least) write(in.size());
}

TEST(BinaryLongLineRemover, ErasesTheRunsThatTheSweepErases) {
    std::mt19937 random(3);
    float const thresholds[] = {0, -1, nan, infinity, 1e30f, 1e-30f, .01f, .1f, .25f, .35f, .5f, 1, 1.01f};
    for (int round = 0; round < 4000; round++) {
        auto const rows = std::uint32_t(random() % 12), columns = std::uint32_t(random() % 80);
        Frame const frame = randomBinary(rows, columns, random), expected = frame.clone();
        float const x = thresholds[random() % std::size(thresholds)], y = thresholds[random() % std::size(thresholds)];
        bool const inverted = random() % 2 == 0;
        for (std::uint32_t row = 0; x > 0 && columns > 0 && row < rows; row++)
            sweep(Bytes(frame.first() + row * columns, frame.first() + (row + 1) * columns),
                  expected.first() + row * columns, 1, x, inverted);
        for (std::uint32_t column = 0; y > 0 && rows > 0 && column < columns; column++) {
            Bytes line(rows);
            for (std::uint32_t row = 0; row < rows; row++) line[row] = frame.first()[row * columns + column];
            sweep(line, expected.first() + column, columns, y, inverted);
        }
        auto const result =
            run("BinaryLongLineRemover", frame,
                {{"thresholdX", fraction(x)}, {"thresholdY", fraction(y)}, {"inverted", flag(inverted)}});
        ASSERT_EQ(test::elements(result), test::elements(expected))
            << rows << " x " << columns << ", " << x << ", " << y << ", " << inverted;
    }
}

TEST(BinaryLongLineRemover, CountsTheRunsLengthInWholePixels) {
    struct {
        float threshold;
        Bytes in, out;
    } const cases[] = {
        {.25f, {0, 1, 1, 0, 1, 0, 0, 0, 1, 1}, {0, 0, 0, 0, 1, 0, 0, 0, 0, 0}}, // at least 2
        {.35f, {0, 1, 1, 0, 1, 1, 1, 0, 1, 1}, {0, 1, 1, 0, 0, 0, 0, 0, 1, 1}}, // at least 3
        {.05f, {7, 1, 1, 7, 7, 0, 7, 1, 7, 7}, {7, 0, 0, 0, 0, 0, 7, 0, 0, 0}}, // all but what is just before a run
        {0, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1, 1, 1, 1, 1}},
    };
    for (auto const &[threshold, in, out] : cases) {
        EXPECT_EQ(test::elements(run("BinaryLongLineRemover", frameOf(10, in), {{"thresholdX", fraction(threshold)}})),
                  out);
        EXPECT_EQ(test::elements(run("BinaryLongLineRemover", frameOf(1, in), {{"thresholdY", fraction(threshold)}})),
                  out);
    }
}

} // namespace
} // namespace zun
