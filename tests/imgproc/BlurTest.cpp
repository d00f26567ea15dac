#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Arithmetic.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Colour = Mat<Vec3b, 2>;

template <class T>
Mat<T, 2> blur(Mat<T, 2> const &frame, int width, int height) {
    test::ImgprocNode node(sizeof(T) == 1 ? "GreyBoxBlur" : "RGBBoxBlur",
                           {{"kernelSizeX", OptionNode::ofInt(width)}, {"kernelSizeY", OptionNode::ofInt(height)}});
    return test::held<Mat<T, 2>>(node.output({{"input", test::valueOf(frame)}}));
}

/// The mean along a line of bytes, `pitch` apart, of a padded frame as it is defined, step by step.
void meanOfLine(unsigned char const *in, unsigned char *out, std::size_t pitch, int length, int k) {
    float const scale = 1.0f / static_cast<float>(k);
    int const start = k / 2;
    auto const at = [&](int i) { return static_cast<std::size_t>(i) * pitch; };
    auto const term = [&](int i) -> float { return static_cast<float>(in[at(i)]) * scale; };
    float sum = 0;
    for (int i = 0; i < k; i++) sum += term(start + i - k / 2);
    out[at(start)] = static_cast<unsigned char>(truncateToInt(sum));
    for (int c = start + 1; c < start + length; c++) {
        sum -= term(c - k / 2 - 1);
        sum += term(c + k - k / 2 - 1);
        out[at(c)] = static_cast<unsigned char>(truncateToInt(sum));
    }
}

template <class T>
Mat<T, 2> literalBlur(Mat<T, 2> const &frame, int width, int height) {
    int const rows = static_cast<int>(frame.shape[0]), columns = static_cast<int>(frame.shape[1]);
    Mat<T, 2> const padded = cropReplicate(frame, -(width / 2), -(height / 2), columns + width, rows + height);
    Mat<T, 2> const across = padded.clone(), down = padded.clone();
    auto const bytes = [](Mat<T, 2> const &mat) { return reinterpret_cast<unsigned char *>(mat.first()); };
    std::size_t const pitch = padded.shape[1] * sizeof(T);
    for (std::size_t at = 0; at < padded.bytes(); at += at % pitch == sizeof(T) - 1 ? pitch - sizeof(T) + 1 : 1)
        meanOfLine(bytes(padded) + at, bytes(across) + at, sizeof(T), columns, width);
    for (std::size_t at = 0; at < pitch; at++) meanOfLine(bytes(across) + at, bytes(down) + at, pitch, rows, height);
    return cropReplicate(down, width / 2, height / 2, columns, rows);
}

TEST(BoxBlur, TruncatesTheMeanOfTheBox) {
    using Row = std::vector<unsigned char>;
    struct {
        Row in;
        int size;
        Row out;
    } const cases[] = {
        {{5, 0, 255, 7}, 1, {5, 0, 255, 7}},
        {{0, 0, 0, 0, 100, 0, 0, 0}, 4, {0, 0, 0, 25, 25, 25, 25, 0}}, // two before, one behind
        {{0, 0, 0, 0, 90, 0, 0, 0}, 3, {0, 0, 0, 30, 30, 30, 0, 0}},
        {{100, 0, 0, 200}, 2, {100, 50, 0, 100}},
        {{8, 0}, 8, {5, 4}}, // four, then three pixels on the left beyond the edge
        {Row(5, 255), 7, Row(5, 255)},
        {Row(5, 255), 9, Row(5, 254)}, // nine rounded ninths fall short of one
    };
    for (auto const &[in, size, out] : cases) {
        auto const length = static_cast<std::uint32_t>(in.size());
        Grey const row({1, length}), column = row.reshape({length, 1});
        std::copy(in.begin(), in.end(), row.first());
        EXPECT_EQ(test::elements(blur(row, size, 1)), out) << size;
        EXPECT_EQ(test::elements(blur(column, 1, size)), out) << size;
    }
}

template <class T>
void expectLiteralBlur(std::uint32_t rows, std::uint32_t columns, int width, int height, std::mt19937 &random) {
    SCOPED_TRACE(testing::Message() << rows << " x " << columns << " by " << width << " x " << height);
    auto const frame = test::randomFrame<T>(rows, columns, random), before = frame.clone();
    auto const result = blur(frame, width, height);
    EXPECT_EQ(result.shape, frame.shape);
    EXPECT_NE(result.first(), frame.first());
    ASSERT_EQ(test::elements(result), test::elements(literalBlur(frame, width, height)));
    EXPECT_EQ(test::elements(frame), test::elements(before)) << "the input is not changed";
}

TEST(BoxBlur, RoundsTheRunningSumsAsDefined) {
    std::mt19937 random(1);
    auto const below = [&](unsigned end) { return 1 + static_cast<int>(random() % end); };
    for (int round = 0; round < 150; round++) {
        auto const rows = unsigned(below(40)), columns = unsigned(below(40));
        expectLiteralBlur<unsigned char>(rows, columns, below(15), below(15), random);
        expectLiteralBlur<Vec3b>(rows, columns, below(100), below(100), random);
    }
    expectLiteralBlur<unsigned char>(3, 30000, 7, 3, random); // long enough to drift
    expectLiteralBlur<Vec3b>(30000, 2, 3, 11, random);
}

TEST(BoxBlur, PassesAnEmptyFrameOnWhateverTheBox) {
    for (Shape<2> const shape : {Shape<2>{0, 0}, Shape<2>{0, 4}, Shape<2>{4, 0}})
        for (int const size : {3, 0, -5}) {
            EXPECT_EQ(blur(Grey(shape), size, 3).shape, shape);
            EXPECT_EQ(blur(Colour(shape), 3, size).shape, shape);
        }
    EXPECT_EQ(blur(Grey(), 3, 3).count, 0u);
}

} // namespace
} // namespace zun
