#include <random>
#include <thread>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "support/Failures.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Points = std::vector<Vec2f>;

test::Values inputs(Frame const &frame, Points const &points) {
    return {{"image", test::valueOf(frame)}, {"points", test::valueOf(points)}};
}

Frame drawn(Frame const &frame, Points const &points, std::map<std::string, OptionNode> const &options = {}) {
    test::ImgprocNode node("DrawPoints", options);
    return test::held<Frame>(node.output(inputs(frame, points)));
}

/// The colour that a colour string gives.
Vec3b colourOf(std::string const &text) {
    return drawn(Frame({1, 1}), {{0, 0}}, {{"colour", OptionNode::ofString(text)}}).first()[0];
}

TEST(DrawPoints, ReadsColourStrings) {
    struct {
        char const *text;
        Vec3b colour;
    } const cases[] = {
        {"#ff00ff", {255, 0, 255}},
        {"#FF00FF", {255, 0, 255}},
        {"0xff00FF", {255, 0, 255}},
        {"FF00FF", {255, 0, 255}},
        {"0x000000", {0, 0, 0}},
        {"123456", {0x12, 0x34, 0x56}},
        {"12G456", {0, 0, 0x12}}, // reading stops at the first character that is no digit
        {"00x123", {0, 0, 0}},
        {"0x0x1234", {0, 0x12, 0x34}}, // one prefix is taken off, the stream reads over the
                                       // other
        {"GGGGGG", {0, 0, 0}},
        {"      ", {0, 0, 0}},
    };
    for (auto const &[text, colour] : cases) EXPECT_EQ(colourOf(text), colour) << text;
    EXPECT_EQ(drawn(Frame({1, 1}), {{0, 0}}).first()[0], (Vec3b{255, 0, 255})) << "the default";
}

TEST(DrawPoints, RefusesColourStringsOfAnotherLengthAtTheTick) {
    struct {
        char const *text, *left;
    } const cases[] = {
        {"0XFF00FF", "0XFF00FF"}, {"#FFF", "FFF"},         {"", ""}, {"#", ""}, {"0x", ""}, {"##FF00FF", "#FF00FF"},
        {"#0xFF00", "0xFF00"},    {"FF00FF00", "FF00FF00"}};
    for (auto const &[text, left] : cases) {
        test::ImgprocNode node("DrawPoints", {{"colour", OptionNode::ofString(text)}});
        auto const draw = [&] { node.output(inputs(Frame({1, 1}), {})); };
        if (std::string(left).size() == 6)
            EXPECT_EQ(test::messageOf(draw), "no failure") << text;
        else
            test::expectFailureWithoutLocation(draw, std::string("Invalid fill colour value: ") + left);
    }
}

TEST(DrawPoints, TakesAColourSetBetweenTicks) {
    test::ImgprocNode node("DrawPoints");
    VariantType<std::string> green("#00FF00");
    node.setOption("colour", green);
    Frame const result = test::held<Frame>(node.output(inputs(Frame({1, 1}), {{0, 0}})));
    EXPECT_EQ(result.first()[0], (Vec3b{0, 255, 0}));
    VariantType<int> number(1);
    test::expectFailureAt([&] { node.setOption("colour", number); },
                          "Option colour of DrawPoints is not of type std::string",
                          "imgproc/drawing/DrawPoints:", "dynamic_cast<zun::VariantType<std::string> *>(&value)");
}

TEST(DrawPoints, SetsRowFirstPixelsOfACopy) {
    std::mt19937 random(2);
    Frame const frame = test::randomFrame<Vec3b>(4, 5, random), before = frame.clone();
    struct {
        Points points;
        std::vector<std::uint32_t> set; // flat indices
    } const cases[] = {
        {{}, {}},
        {{{2.9f, 3.9f}}, {13}},
        {{{-0.9f, -0.9f}}, {0}},
        {{{1, 5}}, {10}},     // past the last column: the next row
        {{{0, 19.5f}}, {19}}, // and further
        {{{3, 4}, {0, 0}, {3, 4}}, {19, 0}},
    };
    for (auto const &[points, set] : cases) {
        Frame const result = drawn(frame, points), expected = frame.clone();
        for (std::uint32_t const i : set) expected.first()[i] = {255, 0, 255};
        EXPECT_EQ(test::elements(result), test::elements(expected));
        EXPECT_NE(result.first(), frame.first());
        EXPECT_EQ(test::elements(frame), test::elements(before));
    }
}

TEST(DrawPoints, RunsForSeveralTicksAtOnce) {
    test::ImgprocNode node("DrawPoints");
    std::vector<Frame> results(64);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; t++)
        threads.emplace_back([&, t] {
            for (std::size_t tick = t; tick < results.size(); tick += 4)
                results[tick] = test::held<Frame>(
                    node.one.run(inputs(Frame({8, 8}, {0, 0, 0}), {{0, static_cast<float>(tick)}}), tick)
                        .at("out.output"));
        });
    for (auto &thread : threads) thread.join();
    for (std::uint32_t tick = 0; tick < results.size(); tick++)
        for (std::uint32_t i = 0; i < 64; i++)
            ASSERT_EQ(results[tick].first()[i][0], i == tick ? 255 : 0) << "tick " << tick << ", pixel " << i;
}

} // namespace
} // namespace zun
