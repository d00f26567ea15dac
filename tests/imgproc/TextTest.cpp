#include <algorithm>
#include <fstream>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Rect.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/TemporaryFolder.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Boxes = std::vector<Box>;
using Locations = std::vector<Vec2f>;
using Options = std::map<std::string, OptionNode>;
using Pixels = std::vector<Vec3b>;
using Strings = std::vector<std::string>;

OptionNode colour(char const *text) { return OptionNode::ofString(text); }

Options const filledBoxes{{"filled", OptionNode::ofBool(true)}};

void write(Frame const &frame, Strings const &strings, Locations const &locations, Options const &options) {
    test::ImgprocNode node("DrawText", options);
    auto const written = test::held<Frame>(node.output({{"frames", test::valueOf(frame)},
                                                        {"strings", test::valueOf(strings)},
                                                        {"locations", test::valueOf(locations)}}));
    EXPECT_EQ(written.first(), frame.first()) << "the frame that came in goes on";
    node.one.node->flush(1);
    node.one.node->flush(1);
}

/// White text on 60 rows and 80 columns of black: the coverage of each pixel.
Pixels coverage(std::string const &text, Vec2f location, int size = 20) {
    Frame const frame({60, 80}, {0, 0, 0});
    write(frame, {text}, {location}, {{"size", OptionNode::ofInt(size)}, {"colour", colour("FFFFFF")}});
    return test::elements(frame);
}

std::size_t inkedRows(Pixels const &pixels) {
    std::size_t rows = 0;
    for (std::size_t i = 0; i < pixels.size(); i++)
        if (pixels[i][0] != 0) rows = i / 80 + 1;
    return rows;
}

TEST(DrawText, StandsOnABaselineBelowThePen) {
    // The default font has 2048 units per EM, a bounding box from -555 to 2146 and a descender of -600.
    EXPECT_EQ(inkedRows(coverage("H", {0, 2}, 10)), 13 - 2u);
    EXPECT_EQ(inkedRows(coverage("H", {0, 2}, 20)), 26 - 5u);
    EXPECT_EQ(inkedRows(coverage("H", {7.9f, 2}, 40)), 7 + 52 - 11u);
}

TEST(DrawText, MovesThePenByGlyphsOnly) {
    Pixels const plain = coverage("AB", {3, 4}), nothing(60 * 80, Vec3b{});
    EXPECT_NE(plain, coverage("A B", {3, 4}));
    EXPECT_EQ(plain, coverage("A\xC3\xA9\xFF\x80"
                              "B",
                              {3.9f, 4.9f}));
    EXPECT_EQ(coverage("AB", {0, 0}), coverage("AB", {-0.9f, -0.9f}));
    EXPECT_EQ(nothing, coverage("AB", {60, 0}));
    EXPECT_EQ(nothing, coverage("AB", {0, std::numeric_limits<float>::quiet_NaN()}));

    Pixels const corner = coverage("AB", {0, 0}), moved = coverage("AB", {0, -5});
    for (std::size_t i = 0; i < moved.size(); i++) ASSERT_EQ(moved[i], i % 80 < 75 ? corner[i + 5] : Vec3b{}) << i;
}

TEST(DrawText, BlendsByCoverageRoundingDown) {
    std::mt19937 random(1);
    Pixels const white = coverage("Waj", {-6, -3});
    EXPECT_GT(std::ranges::count_if(white, [](Vec3b const &pixel) { return pixel[0] % 255 != 0; }), 20);
    Frame const frame = test::randomFrame<Vec3b>(60, 80, random);
    Pixels expected = test::elements(frame);
    Vec3b const ink{0x12, 0xC4, 0x01};
    for (std::size_t i = 0; i < white.size(); i++)
        for (int k = 0; k < 3; k++)
            expected[i][k] =
                static_cast<unsigned char>((white[i][0] * ink[k] + (255 - white[i][0]) * expected[i][k]) / 255);
    write(frame, {"Waj"}, {{-6, -3}}, {{"size", OptionNode::ofInt(20)}, {"colour", colour("0x12C401")}});
    EXPECT_EQ(test::elements(frame), expected);
}

TEST(DrawText, ReadsTheColourOnlyForAString) {
    Options const bad{{"colour", colour("#123")}};
    write(Frame({4, 4}), {}, {{0, 0}}, bad);
    test::expectFailureWithoutLocation(
        [&] {
            write(Frame({4, 4}), {""}, {{0, 0}}, bad);
        },
        "Invalid fill colour value: 123");
}

TEST(DrawText, TakesAnySizeAsFarAsGlyphsCanBeRendered) {
    constexpr int largest = std::numeric_limits<int>::max(), smallest = std::numeric_limits<int>::min();
    for (int const size : {0, -1, smallest, largest}) coverage(" ", {0, 0}, size);
    for (int const size : {-1, 65535, largest})
        test::expectFailureAt(
            [&] {
                coverage("W", {0, 0}, size);
            },
            "glyph render error: 98", "imgproc\\drawing\\ft\\FreeType:", "!error");
}

TEST(FontFace, FailsForAFileThatHoldsNoFont) {
    test::TemporaryFolder const folder;
    std::ofstream(folder / "no.ttf") << "not a font";
    for (char const *type : {"DrawText", "DrawBoxes"})
        for (auto const &[path, error] : {std::pair{folder / "absent.ttf", "1"}, {folder / "no.ttf", "2"}})
            test::expectFailureAt(
                [&] {
                    test::ImgprocNode(type, {{"fontFile", OptionNode::ofString(path)}});
                },
                "Error opening file \"" + path + "\": " + error, "imgproc\\drawing\\ft\\FreeType:", "!error");
}

/// Draws boxes, with labels if there are any.
Frame draw(Frame const &frame, Boxes const &boxes, Options const &options, Strings const &labels = {}) {
    test::loadLibrary(ZUN_IMGPROC);
    std::map<std::string, std::string> streams{{"frames", "frames"}, {"boxes", "boxes"}};
    if (!labels.empty()) streams["text"] = "text";
    test::OneNode one(NodeConfig("DrawBoxes", options, streams, {{"output", "out"}}));
    auto const written = one.run(
        {{"frames", test::valueOf(frame)}, {"boxes", test::valueOf(boxes)}, {"text", test::valueOf(labels)}}, 7);
    return test::held<Frame>(written.at("out"));
}

/// What drawing a box should leave, pixel by pixel, for boxes whose sums stay far within 32 bits.
void drawLiterally(Frame const &frame, Box const &box, bool filled, int t) {
    Rect<int> const asked = roundToInt(box);
    int const rows = int(frame.shape[0]), columns = int(frame.shape[1]);
    int x = std::max(asked.x, 0), y = std::max(asked.y, 0);
    int right = std::min(asked.x + asked.width, columns), bottom = std::min(asked.y + asked.height, rows);
    bool const gone = right <= x || bottom <= y;
    if (gone) x = y = right = bottom = 0;
    for (int r = 0; r < rows; r++)
        for (int c = 0; c < columns; c++) {
            bool const inside = c >= x && c < right && r >= y && r < bottom;
            bool const around = c >= x - t && c < right + t && r >= y - t && r < bottom + t;
            bool const stray = gone && r == 0 && c == 0;
            if (filled ? inside || stray : around && !inside) frame.first()[r * columns + c] = {1, 2, 3};
        }
}

TEST(DrawBoxes, PaintsBoxesCutToTheFrameOrBandsAroundThem) {
    std::mt19937 random(2);
    auto const number = [&](int from, unsigned steps) { return float(from) + float(random() % steps) / 4; };
    for (int round = 0; round < 3000; round++) {
        Frame const frame = test::randomFrame<Vec3b>(unsigned(random() % 12), unsigned(random() % 12), random);
        Frame const expected = frame.clone();
        Boxes boxes(random() % 4);
        for (Box &box : boxes) box = {number(-9, 99), number(-9, 99), number(-3, 80), number(-3, 80)};
        bool const filled = random() % 2 != 0;
        int const thickness = int(random() % 8) - 1;
        for (Box const &box : boxes) drawLiterally(expected, box, filled, thickness);
        Frame const drawn = draw(frame, boxes,
                                 {{"filled", OptionNode::ofBool(filled)},
                                  {"lineThickness", OptionNode::ofInt(thickness)},
                                  {"colour", colour("010203")}});
        ASSERT_EQ(drawn.first(), frame.first());
        ASSERT_EQ(test::elements(drawn), test::elements(expected)) << round;
    }
}

TEST(DrawBoxes, MarksTheCornerForABoxOfWhichNothingIsLeft) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    for (Box const &box : Boxes{{-5, 0, 3, 3}, {2, 2, 0, 3}, {nan, nan, nan, nan}, {3, 3, 2, nan}}) {
        Pixels const pixels = test::elements(draw(Frame({4, 5}, {0, 0, 0}), {box}, filledBoxes));
        EXPECT_EQ(pixels[0], (Vec3b{255, 0, 255}));
        EXPECT_EQ(std::ranges::count(pixels, Vec3b{}), 19);
        EXPECT_EQ(draw(Frame(), {box}, filledBoxes).count, 0u);
    }
}

TEST(DrawBoxes, WalksRowsByTheStridesOfTheFrame) {
    Frame frame({3, 4}, {0, 0, 0});
    frame.strides = {5, 1};
    Pixels const pixels = test::elements(draw(frame, {{1, 0, 2, 2}}, filledBoxes));
    for (std::size_t i = 0; i < 12; i++) EXPECT_EQ(pixels[i] != Vec3b{}, i == 1 || i == 2 || i == 6 || i == 7) << i;
}

TEST(DrawBoxes, FailsUnclampedForABoxOfAnotherAreaThanItsPartInTheFrame) {
    struct {
        Box box;             // in a frame of 100 columns and 50 rows
        char const *corners; // in the message; null if it passes
    } const cases[] = {
        {{0, 0, 100, 50}, nullptr},
        {{0.4f, -0.4f, 99.6f, 50}, nullptr},
        {{-200, 0, 0, 7}, nullptr},
        {{0, 0, 100.5f, 50}, "(0, 0, 101, 50)"},
        {{-2.5f, 3, 10, 10}, "(-3, 3, 7, 13)"},
        {{5, 1, 1e20f, 7}, "(5, 1, -2147483643, 8)"},
    };
    for (auto const &[box, corners] : cases) {
        auto const run = [&] { draw(Frame({50, 100}), {{1, 1, 2, 2}, box}, {{"clamp", OptionNode::ofBool(false)}}); };
        if (corners == nullptr)
            EXPECT_EQ(test::messageOf(run), "no failure");
        else
            test::expectFailureAt(run,
                                  std::string("DrawBoxes: Frame 7 requests box ") + corners +
                                      ", which is outside the frame of 100x50!",
                                  "imgproc/drawing/ft/DrawBoxes:");
    }
}

TEST(DrawBoxes, LabelsTheCutCornerWithCrossedOffsets) {
    Frame const frame({60, 80}, {0, 0, 0});
    draw(frame, {{-9, 2, 20, 90}},
         {{"size", OptionNode::ofInt(20)},
          {"colour", colour("FFFFFF")},
          {"lineThickness", OptionNode::ofInt(0)},
          {"textOffsetX", OptionNode::ofInt(5)},
          {"textOffsetY", OptionNode::ofInt(11)}},
         {"Ag"});
    EXPECT_EQ(test::elements(frame), coverage("Ag", {2 + 5, 0 + 11}));
}

} // namespace
} // namespace zun
