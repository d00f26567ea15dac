#include <cmath>
#include <limits>
#include <numeric>
#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Arithmetic.h"
#include "support/Failures.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Options = std::map<std::string, OptionNode>;

Options ints(std::map<std::string, int> const &values) {
    Options options;
    for (auto const &[name, value] : values) options[name] = OptionNode::ofInt(value);
    return options;
}

Frame resize(Frame const &frame, Options const &options) {
    return test::held<Frame>(test::ImgprocNode("ResizeImage", options).output({{"input", test::valueOf(frame)}}));
}

/// A frame whose three channels are equal.
Frame grey(Shape<2> const &shape, std::vector<unsigned char> const &cells) {
    Frame frame(shape);
    for (std::uint32_t i = 0; i < frame.count; i++) frame.first()[i] = {cells[i], cells[i], cells[i]};
    return frame;
}

TEST(ResizeImage, GivesTheSizeOfReducedRatiosOrTheFrameItself) {
    enum Passing { fresh, shared };
    struct {
        Shape<2> frame;
        std::map<std::string, int> options;
        bool down, up;
        Shape<2> result;
        Passing passing;
    } const cases[] = {
        {{4, 6}, {}, true, true, {4, 6}, shared},
        {{4, 6}, {{"height", 2}}, true, true, {2, 3}, fresh},
        {{4, 6}, {{"width", 9}}, true, true, {6, 9}, fresh},
        {{4, 6}, {{"width", 9}, {"height", 1}}, false, false, {1, 9}, fresh}, // two sides: nothing holds them back
        {{4, 6}, {{"largestSize", 3}, {"width", 60}, {"height", 70}}, true, true, {2, 3}, fresh},
        {{6, 4}, {{"largestSize", 3}}, true, true, {3, 2}, fresh},
        {{4, 4}, {{"largestSize", 8}}, true, true, {8, 8}, fresh},
        {{4, 6}, {{"height", 4}}, true, true, {4, 6}, fresh}, // a copy
        {{4, 6}, {{"height", 4}}, true, false, {4, 6}, shared},
        {{4, 6}, {{"height", 2}}, false, true, {4, 6}, shared},
        {{4, 6}, {{"height", 2}}, true, false, {2, 3}, fresh},
        {{4, 6}, {{"width", 9}}, true, false, {4, 6}, shared},
        {{3, 4}, {{"width", 2}}, true, true, {2, 2}, fresh},                        // halves away from zero
        {{1, 30001}, {{"width", 20000}}, true, true, {1, 20001}, fresh},            // 2 / 3
        {{1, 1}, {{"height", 1}, {"width", 40000}}, true, true, {1, 16383}, fresh}, // the largest ratio there is
        {{0, 0}, {{"width", 5}}, true, true, {0, 0}, fresh},
        {{0, 5}, {{"width", 5}}, true, true, {0, 5}, fresh},
    };
    std::mt19937 random(1);
    for (auto const &[shape, given, down, up, result, passing] : cases) {
        Frame const frame = test::randomFrame<Vec3b>(shape[0], shape[1], random);
        Options options = ints(given);
        options["allowDownscale"] = OptionNode::ofBool(down);
        options["allowUpscale"] = OptionNode::ofBool(up);
        Frame const resized = resize(frame, options);
        EXPECT_EQ(resized.shape, result) << shape[0] << " x " << shape[1];
        EXPECT_EQ(resized.first() == frame.first(), passing == shared);
        if (shape == result) {
            EXPECT_EQ(test::elements(resized), test::elements(frame));
        }
    }
}

TEST(ResizeImage, ChecksItsAlgorithmWhenItScales) {
    Frame const frame({4, 4}, {1, 2, 3});
    for (int const algorithm : {-1, 3}) {
        test::expectFailureWithoutLocation(
            [&, options = ints({{"algorithm", algorithm}, {"width", 2}})] { resize(frame, options); },
            "Invalid setting for ResizeImage algorithm option");
        EXPECT_EQ(resize(frame, ints({{"algorithm", algorithm}})).first(), frame.first());
    }
}

TEST(ResizeImage, LeavesTheEndsOfAGrowingAxisBlack) {
    Frame const frame = grey({2, 2}, {8, 16, 24, 32});
    EXPECT_EQ(test::elements(resize(frame, ints({{"width", 3}}))),
              test::elements(grey({3, 3}, {8, 13, 0, 18, 24, 0, 0, 0, 0})));
    EXPECT_EQ(test::elements(resize(frame, ints({{"width", 2}, {"height", 4}, {"algorithm", 2}}))),
              test::elements(grey({4, 2}, {8, 0, 16, 0, 0, 0, 0, 0})));
}

/// One channel of one pixel, by the definition.
class LiteralResize {
public:
    LiteralResize(Frame const &frame, Shape<2> const &shape)
        : S(frame), R(int(frame.shape[0])), C(int(frame.shape[1])), r(int(shape[0])), c(int(shape[1])) {}

    int pixel(int algorithm, int i, int j, int k) const {
        bool const exactDown = R % r == 0 && C % c == 0, exactUp = r % R == 0 && c % C == 0;
        if (algorithm == 0 || (algorithm == 1 && exactUp && !exactDown)) return int(at(i * R / r, j * C / c, k));
        if (exactDown) return blockMean(i, j, k);
        return algorithm == 2 && R > r && C > c ? areaMean(i, j, k) : bilinear(i, j, k);
    }

private:
    float at(int row, int column, int k) const { return S.first()[row * C + column][k]; }

    int blockMean(int i, int j, int k) const {
        int const fy = R / r, fx = C / c;
        float sum = 0;
        for (int a = 0; a < fy; a++)
            for (int b = 0; b < fx; b++) sum += at(i * fy + a, j * fx + b, k);
        return int(sum / float(fy * fx));
    }

    int bilinear(int i, int j, int k) const {
        int const gx = std::gcd(C, c), gy = std::gcd(R, r);
        float const xf = float(j) * (float(C / gx) / float(c / gx)), yf = float(i) * (float(R / gy) / float(r / gy));
        int const x = j * C / c, y = int(std::floor(yf));
        int const left = std::min(x, C - 1), right = std::min(x + 1, C - 1);
        int const top = std::min(y, R - 1), bottom = std::min(y + 1, R - 1);
        float const wLeft = float(right) - xf, wRight = xf - float(left);
        float const upper = at(top, left, k) * wLeft + at(top, right, k) * wRight;
        float const lower = at(bottom, left, k) * wLeft + at(bottom, right, k) * wRight;
        return int(std::max(0.0f, std::min(255.0f, upper * (float(bottom) - yf) + lower * (yf - float(top)))));
    }

    int areaMean(int i, int j, int k) const {
        auto const up = [](int a, int b) { return (a + b - 1) / b; };
        int const row0 = i * R / r, rowW = up(i * R, r), rowE = (i + 1) * R / r;
        int const col0 = j * C / c, colW = up(j * C, c), colE = (j + 1) * C / c;
        float const wT = float(rowW * r - i * R) / float(r), wB = float((i + 1) * R - rowE * r) / float(r);
        float const wL = float(colW * c - j * C) / float(c), wR = float((j + 1) * C - colE * c) / float(c);
        float sum = 0;
        if (wT != 0 && wL != 0) sum += at(row0, col0, k) * (wT * wL);
        for (int x = colW; wT != 0 && x < colE; x++) sum += at(row0, x, k) * wT;
        if (wT != 0 && wR != 0) sum += at(row0, colE, k) * (wT * wR);
        for (int y = rowW; wL != 0 && y < rowE; y++) sum += at(y, col0, k) * wL;
        for (int y = rowW; y < rowE; y++)
            for (int x = colW; x < colE; x++) sum += at(y, x, k);
        for (int y = rowW; wR != 0 && y < rowE; y++) sum += at(y, colE, k) * wR;
        if (wB != 0 && wL != 0) sum += at(rowE, col0, k) * (wL * wB);
        for (int x = colW; wB != 0 && x < colE; x++) sum += at(rowE, x, k) * wB;
        if (wB != 0 && wR != 0) sum += at(rowE, colE, k) * (wR * wB);
        return static_cast<unsigned char>(int(sum / (float(R * C) / float(r * c))));
    }

    Frame const &S;
    int R, C, r, c;
};

TEST(ResizeImage, EqualsItsDefinitionPixelByPixel) {
    std::mt19937 random(2);
    auto const side = [&] { return 1 + random() % (random() % 4 == 0 ? 90 : 13); };
    for (int round = 0; round < 600; round++) {
        Shape<2> const shape{unsigned(side()), unsigned(side())};
        Frame frame = test::randomFrame<Vec3b>(unsigned(side()), unsigned(side()), random);
        if (round % 5 == 0) frame = Frame(frame.shape, {255, 254, 253}); // rounding shows at the edges of bytes
        if (shape == frame.shape) continue;
        int const algorithm = round % 3;
        Frame const resized = resize(frame, ints({{"algorithm", algorithm},
                                                  {"height", static_cast<int>(shape[0])},
                                                  {"width", static_cast<int>(shape[1])}}));
        ASSERT_EQ(resized.shape, shape);
        LiteralResize const literal(frame, shape);
        for (std::uint32_t n = 0; n < resized.count; n++)
            for (int k = 0; k < 3; k++)
                ASSERT_EQ(resized.first()[n][k], literal.pixel(algorithm, int(n / shape[1]), int(n % shape[1]), k))
                    << frame.shape[0] << " x " << frame.shape[1] << " to " << shape[0] << " x " << shape[1] << " by "
                    << algorithm << " at " << n;
    }
}

TEST(ResizeImage, WrapsThePositionsOfNearestPixels) {
    Frame frame({70000, 1}); // 69999 * 70000 is more than 32 bits hold
    for (std::uint32_t i = 0; i < frame.count; i++) frame.first()[i] = {static_cast<unsigned char>(i / 300), 0, 0};
    Frame const resized = resize(frame, ints({{"algorithm", 0}, {"height", 70000}, {"width", 2}}));
    for (std::uint32_t i : {0u, 61356u, 61357u, 69999u})
        EXPECT_EQ(resized.first()[i * 2 + 1][0], i * 70000u / 70000u / 300) << i;
}

using Matrix = std::vector<float>;

Frame warp(Frame const &frame, Matrix const &matrix, Vec2i size, bool inverted, std::string const &border = "") {
    Options options{{"size", OptionNode::ofVector({OptionNode::ofInt(size[0]), OptionNode::ofInt(size[1])})},
                    {"inverted", OptionNode::ofBool(inverted)}};
    if (!border.empty()) options["borderColour"] = OptionNode::ofString(border);
    Mat<float, 2> transform({2, 3});
    std::copy(matrix.begin(), matrix.end(), transform.first());
    return test::held<Frame>(test::ImgprocNode("WarpAffine", options)
                                 .output({{"image", test::valueOf(frame)}, {"transform", test::valueOf(transform)}}));
}

TEST(WarpAffine, SamplesThroughTheMatrixOrItsInverse) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    Frame const frame = grey({2, 3}, {10, 20, 31, 40, 50, 60});
    struct {
        Matrix matrix;
        Vec2i size;
        bool inverted;
        Frame result;
    } const cases[] = {
        {{1, 0, 0, 0, 1, 0}, {2, 3}, false, frame},
        {{1, 0, .5f, 0, 1, 0}, {2, 3}, true, grey({2, 3}, {15, 25, 65, 45, 55, 80})}, // half of it border
        {{1, 0, 1, 0, 1, 0}, {2, 3}, false, grey({2, 3}, {100, 10, 20, 100, 40, 50})},
        {{0, 1, 0, 1, 0, 0}, {3, 2}, false, grey({3, 2}, {10, 40, 20, 50, 31, 60})},
        {{2, 0, 0, 0, 2, 0}, {2, 3}, false, grey({2, 3}, {10, 15, 20, 25, 30, 35})},
        {{1, 2, 5, 2, 4, 6}, {1, 2}, false, grey({1, 2}, {10, 10})}, // singular: all of it is the first pixel
        {{1, 0, nan, 0, 1, 0}, {1, 2}, false, grey({1, 2}, {0, 0})},
        {{1, 0, 0, 0, 1, 0}, {0, 4}, false, grey({0, 4}, {})},
        {{1, 0, 0, 0, 1, 0}, {4, 0}, true, grey({4, 0}, {})},
    };
    for (auto const &[matrix, size, inverted, result] : cases) {
        Frame const warped = warp(frame, matrix, size, inverted, "0x646464");
        EXPECT_EQ(warped.shape, result.shape);
        EXPECT_EQ(test::elements(warped), test::elements(result)) << testing::PrintToString(matrix) << inverted;
        EXPECT_NE(warped.first(), frame.first());
    }
    EXPECT_EQ(test::elements(warp(Frame(), {1, 0, 0, 0, 1, 0}, {1, 1}, false, "#FF8001")),
              (std::vector<Vec3b>{{255, 128, 1}}));
    test::expectFailureWithoutLocation(
        [&] {
            warp(frame, {1, 0, 0, 0, 1, 0}, {1, 1}, false, "red");
        },
        "Invalid fill colour value: red");
}

/// One channel of a sample, by the definition.
int literalSample(Frame const &frame, float x, float y, Vec3b const &border, int k) {
    int const x0 = truncateToInt(std::floor(x)), x1 = truncateToInt(std::ceil(x));
    int const y0 = truncateToInt(std::floor(y)), y1 = truncateToInt(std::ceil(y));
    auto const at = [&](int row, int column) -> float {
        bool const inside = row >= 0 && row < int(frame.shape[0]) && column >= 0 && column < int(frame.shape[1]);
        return inside ? frame.first()[row * int(frame.shape[1]) + column][k] : border[k];
    };
    float const wx = x - float(x0), wy = y - float(y0), ux = 1 - wx, uy = 1 - wy;
    float const value = (at(y0, x0) * ux + at(y0, x1) * wx) * uy + (at(y1, x0) * ux + at(y1, x1) * wx) * wy;
    return truncateToInt(value) & 0xFF;
}

TEST(WarpAffine, EqualsItsDefinitionPixelByPixel) {
    constexpr float infinity = std::numeric_limits<float>::infinity();
    float const odd[] = {1e10f,         -3e9f,    2147483648.0f, -2147483648.0f,
                         2147483520.0f, infinity, -infinity,     std::numeric_limits<float>::quiet_NaN(),
                         -0.0f,         1e-30f};
    std::mt19937 random(3);
    auto const number = [&](float scale) {
        if (random() % 20 == 0) return odd[random() % std::size(odd)];
        return (static_cast<float>(random() % 2001) / 1000 - 1) * scale;
    };
    for (int round = 0; round < 400; round++) {
        Frame const frame = test::randomFrame<Vec3b>(unsigned(random() % 9), unsigned(random() % 9), random);
        float const a = number(2), b = number(2), c = number(9), d = number(2), e = number(2), f = number(9);
        Frame const warped = warp(frame, {a, b, c, d, e, f}, {9, 11}, round % 2 == 0, "0xFE0180");
        Matrix m{a, b, c, d, e, f};
        if (round % 2 != 0) {
            float const det = a * e - b * d, r = det != 0 ? 1.0f / det : 0.0f;
            float const i00 = e * r, i01 = b * (-r), i10 = (-r) * d, i11 = r * a;
            m = {i00, i01, -(f * i01 + c * i00), i10, i11, -(f * i11 + c * i10)};
        }
        for (int n = 0; n < 99; n++) {
            float const fy = float(n / 11), fx = float(n % 11);
            float const sx = m[1] * fy + m[0] * fx + m[2], sy = m[4] * fy + m[3] * fx + m[5];
            for (int k = 0; k < 3; k++)
                ASSERT_EQ(warped.first()[n][k], literalSample(frame, sx, sy, {0xFE, 0x01, 0x80}, k))
                    << sx << ", " << sy;
        }
    }
}

} // namespace
} // namespace zun
