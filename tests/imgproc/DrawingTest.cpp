#include <algorithm>
#include <fstream>
#include <iterator>

#include "ImgprocNode.h"
#include "support/TemporaryFolder.h"

namespace zun::test {
namespace {

using Points = std::vector<Vec2f>;

Frame drawn(Options const &options, Frame const &frame, Points const &points) {
    return run<Frame>("DrawPoints", options, {{"image", valueOf(frame)}, {"points", valueOf(points)}});
}

TEST(DrawPoints, ReadsColourStrings) {
    using Row = std::tuple<char const *, Vec3b>;
    for (auto const &[text, colour] :
         {Row("#ff00ff", {255, 0, 255}), Row("0xff00FF", {255, 0, 255}), Row("FF00FF", {255, 0, 255}),
          Row("123456", {0x12, 0x34, 0x56}),
          Row("12G456", {0, 0, 0x12}), // read up to the first character that is not a digit
          Row("00x123", {0, 0, 0}), Row("0x0x1234", {0, 0x12, 0x34}), // one prefix is taken off, the other read over
          Row("#0xFF00", {0, 0xFF, 0}), Row("      ", {0, 0, 0})})
        EXPECT_EQ(drawn({{"colour", text}}, Frame({1, 1}), {{0, 0}}).first()[0], colour) << text;
    EXPECT_EQ(drawn({}, Frame({1, 1}), {{0, 0}}).first()[0], (Vec3b{255, 0, 255})) << "the default";
}

TEST(DrawPoints, RefusesColourStringsOfAnotherLengthAtTheTick) {
    std::map<std::string, std::string> const withoutPrefix{
        {"0XFF00FF", "0XFF00FF"}, {"#FFF", "FFF"},         {"", ""}, {"#", ""}, {"0x", ""},
        {"##FF00FF", "#FF00FF"},  {"FF00FF00", "FF00FF00"}};
    OneNode node = nodeOf("DrawPoints");
    auto const draw = [&] { node.run({{"image", valueOf(Frame({1, 1}))}, {"points", valueOf(Points())}}); };
    for (auto const &[text, rest] : withoutPrefix) {
        VariantType<std::string> colour(text);
        node.node->setOption("colour", colour);
        expectFailureWithoutLocation(draw, "Invalid fill colour value: " + rest);
    }
}

TEST(DrawPoints, SetsRowFirstPixelsOfACopy) {
    std::mt19937 random(2);
    Frame const frame = randomFrame<Vec3b>(4, 5, random), before = frame.clone();
    // Points, and the flat indices that they set.
    using Row = std::tuple<Points, std::vector<std::uint32_t>>;
    for (auto const &[points, set] : {Row({}, {}), Row({{2.9f, 3.9f}}, {13}), Row({{-0.9f, -0.9f}}, {0}),
                                      Row({{1, 5}}, {10}),     // past the last column: the next row
                                      Row({{0, 19.5f}}, {19}), // and further
                                      Row({{3, 4}, {0, 0}, {3, 4}}, {19, 0})}) {
        Frame const result = drawn({}, frame, points), expected = frame.clone();
        for (std::uint32_t const i : set) expected.first()[i] = {255, 0, 255};
        EXPECT_EQ(elements(result), elements(expected));
        EXPECT_EQ(elements(frame), elements(before));
    }
}

using Boxes = std::vector<Box>;
using Pixels = std::vector<Vec3b>;
using Strings = std::vector<std::string>;

/// Writes a string, or none, into a frame.
void write(Frame const &frame, Strings const &strings, Vec2f location, Options const &options) {
    OneNode node = nodeOf("DrawText", options);
    Values const written = node.run({{"frames", valueOf(frame)},
                                     {"strings", valueOf(strings)},
                                     {"locations", valueOf(std::vector<Vec2f>{location})}});
    EXPECT_EQ(held<Frame>(written.at("out.output")).first(), frame.first()) << "the frame that came in goes on";
    for (Tick const tick : {1, 1}) node.node->flush(tick);
}

/// White text on 60 rows and 80 columns of black: the coverage of each pixel.
Pixels coverage(std::string const &text, Vec2f location, int size = 20) {
    Frame const frame({60, 80}, {0, 0, 0});
    write(frame, {text}, location, {{"size", size}, {"colour", "FFFFFF"}});
    return elements(frame);
}

TEST(DrawText, StandsOnABaselineBelowThePen) {
    auto const rowsDownToLastInk = [](Pixels const &pixels) {
        auto const ink = std::find_if(pixels.rbegin(), pixels.rend(), [](Vec3b const &p) { return p[0] != 0; });
        return (pixels.rend() - ink + 79) / 80;
    };
    // The default font has 2048 units per EM, a bounding box from -555 to 2146 and a descender of -600.
    EXPECT_EQ(rowsDownToLastInk(coverage("H", {0, 2}, 10)), 13 - 2);
    EXPECT_EQ(rowsDownToLastInk(coverage("H", {0, 2}, 20)), 26 - 5);
    EXPECT_EQ(rowsDownToLastInk(coverage("H", {7.9f, 2}, 40)), 7 + 52 - 11);
}

TEST(DrawText, MovesThePenByGlyphsOnly) {
    Pixels const plain = coverage("AB", {3, 4}), nothing(60 * 80, Vec3b{});
    EXPECT_NE(plain, coverage("A B", {3, 4}));
    EXPECT_EQ(plain, coverage("A\xC3\xA9\xFF\x80\x42", {3.9f, 4.9f})); // 42 is B
    EXPECT_EQ(nothing, coverage("AB", {60, 0}));
    EXPECT_EQ(nothing, coverage("AB", {0, nan}));

    Pixels const corner = coverage("AB", {-0.9f, -0.9f}), moved = coverage("AB", {0, -5});
    for (std::size_t i = 0; i < moved.size(); i++) ASSERT_EQ(moved[i], i % 80 < 75 ? corner[i + 5] : Vec3b{}) << i;
}

TEST(DrawText, BlendsByCoverageRoundingDown) {
    std::mt19937 random(1);
    Pixels const white = coverage("Waj", {-6, -3});
    EXPECT_GT(std::ranges::count_if(white, [](Vec3b const &pixel) { return pixel[0] % 255 != 0; }), 20);
    Frame const frame = randomFrame<Vec3b>(60, 80, random);
    Pixels expected = elements(frame);
    Vec3b const ink{0x12, 0xC4, 0x01};
    for (std::size_t i = 0; i < white.size(); i++)
        for (int k = 0; k < 3; k++)
            expected[i][k] =
                static_cast<unsigned char>((white[i][0] * ink[k] + (255 - white[i][0]) * expected[i][k]) / 255);
    write(frame, {"Waj"}, {-6, -3}, {{"size", 20}, {"colour", "0x12C401"}});
    EXPECT_EQ(elements(frame), expected);
}

TEST(DrawText, ReadsTheColourOnlyForAString) {
    auto const draw = [](Strings const &strings) { write(Frame({4, 4}), strings, {}, {{"colour", "#123"}}); };
    draw({});
    expectFailureWithoutLocation([&] { draw({""}); }, "Invalid fill colour value: 123");
}

TEST(DrawText, TakesAnySizeAsFarAsGlyphsCanBeRendered) {
    for (int const size : {0, -1, smallest, largest}) coverage(" ", {}, size);
    for (int const size : {-1, 65535, largest})
        expectFailureAt([&] { coverage("W", Vec2f(), size); }, "glyph render error: 98",
                        "imgproc\\drawing\\ft\\FreeType:", "!error");
}

TEST(FontFace, FailsForAFileThatHoldsNoFont) {
    TemporaryFolder const folder;
    writeBytes(folder / "no.ttf", "not a font");
    for (char const *type : {"DrawText", "DrawBoxes"})
        for (auto const &[path, error] : {std::pair{folder / "absent.ttf", "1"}, {folder / "no.ttf", "2"}}) {
            Options const options{{"fontFile", path}};
            expectFailureAt([&] { nodeOf(type, options); }, "Error opening file \"" + path + "\": " + error,
                            "imgproc\\drawing\\ft\\FreeType:", "!error");
        }
}

/// Draws boxes, with labels if there are any.
Frame draw(Frame const &frame, Boxes const &boxes, Options const &options, Strings const &labels = {}) {
    Ports inputs{"frames", "boxes"};
    if (!labels.empty()) inputs.insert("text");
    OneNode node = nodeOf("DrawBoxes", options, inputs, {"output"});
    return held<Frame>(
        node.run({{"frames", valueOf(frame)}, {"boxes", valueOf(boxes)}, {"text", valueOf(labels)}}, 7).at("output"));
}

/// What drawing a box should leave, pixel by pixel, for boxes whose sums stay far within 32 bits.
void drawLiterally(Frame const &frame, Box const &box, bool filled, int t) {
    Rect<int> const asked = roundToInt(box);
    int const rows = int(frame.shape[0]), columns = int(frame.shape[1]);
    int x = std::max(asked.x, 0), y = std::max(asked.y, 0);
    int right = std::min(asked.x + asked.width, columns), bottom = std::min(asked.y + asked.height, rows);
    bool const gone = right <= x || bottom <= y; // fills the corner, and is outlined there
    if (gone) x = y = right = bottom = 0;
    for (int r = 0; r < rows; r++)
        for (int c = 0; c < columns; c++) {
            bool const inside = c >= x && c < right && r >= y && r < bottom;
            bool const around = c >= x - t && c < right + t && r >= y - t && r < bottom + t;
            if (filled ? inside || (gone && r == 0 && c == 0) : around && !inside)
                frame.first()[r * columns + c] = {1, 2, 3};
        }
}

TEST(DrawBoxes, PaintsBoxesCutToTheFrameOrBandsAroundThem) {
    std::mt19937 random(2);
    auto const number = [&](int from, unsigned steps) { return float(from) + float(random() % steps) / 4; };
    for (int round = 0; round < 3000; round++) {
        Frame const frame = randomFrame<Vec3b>(unsigned(random() % 12), unsigned(random() % 12), random);
        Frame const expected = frame.clone();
        Boxes boxes(random() % 4);
        for (Box &box : boxes) box = {number(-9, 99), number(-9, 99), number(-3, 80), number(-3, 80)};
        bool const filled = random() % 2 != 0;
        int const thickness = int(random() % 8) - 1;
        for (Box const &box : boxes) drawLiterally(expected, box, filled, thickness);
        Frame const drawn =
            draw(frame, boxes, {{"filled", filled}, {"lineThickness", thickness}, {"colour", "010203"}});
        ASSERT_EQ(drawn.first(), frame.first());
        ASSERT_EQ(elements(drawn), elements(expected)) << round;
    }
}

TEST(DrawBoxes, WalksRowsByTheStridesOfTheFrame) {
    Frame frame({3, 4}, {0, 0, 0});
    frame.strides = {5, 1};
    Pixels const pixels = elements(draw(frame, {{1, 0, 2, 2}}, {{"filled", true}}));
    for (std::size_t i = 0; i < 12; i++) EXPECT_EQ(pixels[i] != Vec3b{}, i == 1 || i == 2 || i == 6 || i == 7) << i;
}

TEST(DrawBoxes, FailsUnclampedForABoxOfAnotherAreaThanItsPartInTheFrame) {
    // A box in a frame of 100 columns and 50 rows, and its corners in the message; empty if it passes.
    using Row = std::tuple<Box, std::string>;
    for (auto const &[box, corners] :
         {Row({0, 0, 100, 50}, ""), Row({0.4f, -0.4f, 99.6f, 50}, ""), Row({-200, 0, 0, 7}, ""),
          Row({0, 0, 100.5f, 50}, "(0, 0, 101, 50)"), Row({-2.5f, 3, 10, 10}, "(-3, 3, 7, 13)"),
          Row({5, 1, 1e20f, 7}, "(5, 1, -2147483643, 8)")}) {
        auto const run = [boxes = Boxes{{1, 1, 2, 2}, box}] { draw(Frame({50, 100}), boxes, {{"clamp", false}}); };
        if (corners.empty())
            EXPECT_EQ(messageOf(run), "no failure");
        else
            expectFailureAt(run,
                            "DrawBoxes: Frame 7 requests box " + corners + ", which is outside the frame of 100x50!",
                            "imgproc/drawing/ft/DrawBoxes:");
    }
}

TEST(DrawBoxes, LabelsTheCutCornerWithCrossedOffsets) {
    Frame const frame({60, 80}, {0, 0, 0});
    Options const options{
        {"size", 20}, {"colour", "FFFFFF"}, {"lineThickness", 0}, {"textOffsetX", 5}, {"textOffsetY", 11}};
    draw(frame, {{-9, 2, 20, 90}}, options, {"Ag"});
    EXPECT_EQ(elements(frame), coverage("Ag", {2 + 5, 0 + 11}));
}

TEST(DrawPoints, GuardsAgainstPointsOutsideTheFrame) {
    auto const marked = [](Points const &points, char const *message, std::uint32_t rows = 10) -> Guarded {
        return {{}, {{"image", valueOf(blank<Vec3b>(rows, 20))}, {"points", valueOf(points)}}, "points", message};
    };
    expectGuarded("DrawPoints",
                  {marked({}, ""), marked({}, "", 0), marked({{0, 0}, {9, 19}, {9.9f, 19.9f}, {-0.9f, -0.9f}}, ""),
                   marked({{0, 20}, {8, 39}, {0, 199}}, ""), // on the next rows
                   marked({{9, 20}}, "point 0 (row 9, column 20) lies outside the frame of 10 rows and 20 columns"),
                   marked({{0, 0}, {10, 0}}, "point 1 (row 10, "), marked({{0, 0}, {0, 200}}, "point 1 (row 0, "),
                   marked({{5, -1}}, "point 0"), // not the row above: a column of 2^32 - 1
                   marked({{-1, 0}}, "point 0"), marked({{nan, 0}}, "point 0"), marked({{0, -infinity}}, "point 0"),
                   marked({{214748368.0f, 0}}, "point 0"), // row * columns would wrap into the frame
                   marked({{0, 0}}, "point 0", 0)});
}
TEST(DrawText, GuardsAgainstAStringWithoutALocation) {
    auto const written = [](std::size_t strings, std::size_t locations, char const *colour, char const *message) {
        Values const values{{"strings", valueOf(Strings(strings))}, {"locations", valueOf(Points(locations))}};
        return Guarded{{{"colour", colour}}, values, "locations", message};
    };
    expectGuarded("DrawText",
                  {written(0, 0, "#123456", ""), written(2, 3, "#123456", ""),
                   written(3, 2, "#123456", "string 2 has no location: there are 3 strings and 2 locations"),
                   written(3, 2, "#12345", ""),           // the node fails for the colour before that
                   written(3, 0, "#12345", "string 0")}); // but only after it read a location
}

TEST(DrawBoxes, GuardsAgainstWhatLeadsOutOfTheFrameOrTheTexts) {
    constexpr float far = 2147483520; // 2^31 - 128
    Boxes const odd{{0, 0, 5, 5}, {-9, -9, 99, 99}, {40, 40, 2, 2}, {nan, nan, nan, nan}};
    Options const filled{{"filled", true}}, unclamped{{"filled", true}, {"clamp", false}};
    /// On a frame of 10 rows and 20 columns.
    auto const boxed = [](Boxes const &boxes, Options const &options, std::string const &message,
                          std::size_t labels = 4) {
        Values const values{
            {"frames", valueOf(blank<Vec3b>(10, 20))}, {"boxes", valueOf(boxes)}, {"text", valueOf(Strings(labels))}};
        return Guarded{options, values, labels < boxes.size() ? "text" : "boxes", message};
    };
    auto const outlined = [&](Box const &box, int thickness, char const *message) {
        return boxed({box}, {{"lineThickness", thickness}}, message);
    };
    expectGuarded(
        "DrawBoxes",
        {boxed(odd, filled, ""), boxed(odd, {{"lineThickness", 1000}}, ""),
         boxed({{-2147483648.0f, 0, -far, 5}}, filled, ""), // its right side wraps to column 128
         boxed({{1, 1, 2, 2}, {far, 0, 200, 5}}, filled, "box 1 (x 2.14748e+09, y 0, width 200, height 5) leads out"),
         boxed({{0, far, 5, 200}}, filled, "box 0 "),
         boxed({{far, 0, 200, 5}}, unclamped, "box 0 "),                          // of the same area as its part
         boxed({{0, 0, 99, 5}, {far, 0, 200, 5}}, unclamped, ""),                 // the node's own failure
         boxed({{far, 0, 200, 5}}, {{"filled", true}, {"colour", "#12345"}}, ""), // likewise
         outlined({0, 0, 5, 5}, -largest, ""),                                    // top and bottom have no rows
         outlined({0, 1, 5, 5}, -largest, "box 0 "),                              // the top band wraps
         outlined({1, 1, 5, 5}, smallest, ""), outlined({0, 0, 9, 9}, largest - 9, ""),
         outlined({0, 0, 5, 5}, largest, "box 0 "), // the right band wraps
         boxed({{0, 0, 1, 1}, {1, 1, 1, 1}}, {}, "box 1 (x 1, y 1, width 1, height 1) has no text: there are 2 ", 1),
         boxed({{0, 0, 1, 1}, {1, 1, 99, 1}}, {{"clamp", false}}, "", 1)}); // fails before it reads the label
}

TEST(FontFace, IsClosedWithItsNode) {
    auto const isMapped = [] {
        std::ifstream maps("/proc/self/maps");
        return std::string(std::istreambuf_iterator<char>(maps), {}).find("OpenSans-Regular.ttf") != std::string::npos;
    };
    for (char const *type : {"DrawText", "DrawBoxes"}) {
        {
            OneNode const node = nodeOf(type);
            EXPECT_TRUE(isMapped());
        }
        EXPECT_FALSE(isMapped()) << type;
    }
}

} // namespace
} // namespace zun::test
