#include "Guarded.h"
#include "containers/Mask.h"

namespace zun::test {
namespace {

using Boxes = std::vector<Box>;
using Points = std::vector<Vec2f>;

constexpr float far = 2147483520; // 2^31 - 128

TEST(DrawPointsGuard, RefusesThePointsThatFallOutOfTheFrame) {
    auto const verdict = [](Points const &points, char const *reason, std::uint32_t rows = 10) -> Verdict {
        Values const inputs{{"image", valueOf(blank<Vec3b>(rows, 20))}, {"points", valueOf(points)}};
        return {{}, inputs, "points", reason};
    };
    expectVerdicts("DrawPoints",
                   {verdict({}, ""), verdict({{0, 0}, {9, 19}, {9.9f, 19.9f}}, ""), verdict({{-0.9f, -0.9f}}, ""),
                    verdict({{0, 20}, {8, 39}, {0, 199}}, ""), // on the next rows
                    verdict({{9, 20}}, "point 0 (row 9, column 20) lies outside the frame of 10 rows and 20 columns"),
                    verdict({{0, 0}, {10, 0}}, "point 1 (row 10, "),
                    verdict({{0, 0}, {0, 0}, {0, 200}}, "point 2 (row 0, "), verdict({{0, -1}}, "point 0"),
                    verdict({{5, -1}}, "point 0"), // not the row above: a column of 2^32 - 1
                    verdict({{-1, 0}}, "point 0"), verdict({{nan, 0}}, "point 0"), verdict({{0, nan}}, "point 0"),
                    verdict({{infinity, 0}}, "point 0"), verdict({{0, -infinity}}, "point 0"),
                    verdict({{214748368.0f, 0}}, "point 0"), // row * columns would wrap into the frame
                    verdict({{0, 0}}, "point 0", 0), verdict({}, "", 0)});
}

TEST(DrawTextGuard, RefusesAStringWithoutALocation) {
    auto const verdict = [](std::size_t strings, std::size_t locations, char const *colour, char const *reason) {
        Values const inputs{{"frames", valueOf(blank<Vec3b>(2, 2))},
                            {"strings", valueOf(std::vector<std::string>(strings))},
                            {"locations", valueOf(Points(locations))}};
        return Verdict{{{"colour", colour}}, inputs, "locations", reason};
    };
    expectVerdicts("DrawText",
                   {verdict(0, 0, "#123456", ""), verdict(2, 3, "#123456", ""),
                    verdict(3, 2, "#123456", "string 2 has no location: there are 3 strings and 2 locations"),
                    verdict(3, 2, "#12345", ""),           // the node fails for the colour before that
                    verdict(3, 0, "#12345", "string 0")}); // but only after it read a location
}

/// On a frame of 10 rows and 20 columns. Only for a box without a text the refusal is of the texts.
Verdict boxed(Boxes const &boxes, Options const &options, std::string const &reason, std::size_t labels = 4) {
    Values const inputs{{"frames", valueOf(blank<Vec3b>(10, 20))},
                        {"boxes", valueOf(boxes)},
                        {"text", valueOf(std::vector<std::string>(labels))}};
    return {options, inputs, reason.find("no text") != std::string::npos ? "text" : "boxes", reason};
}

TEST(DrawBoxesGuard, RefusesWhatLeadsOutOfTheFrame) {
    Boxes const odd{{0, 0, 5, 5}, {-9, -9, 99, 99}, {40, 40, 2, 2}, {nan, nan, nan, nan}};
    Options const filled{{"filled", true}};
    auto const outlined = [](Box const &box, int thickness, char const *reason) {
        return boxed({box}, {{"lineThickness", thickness}}, reason);
    };
    expectVerdicts(
        "DrawBoxes",
        {boxed(odd, filled, ""), boxed(odd, {{"lineThickness", 1000}}, ""),
         boxed({{-2147483648.0f, 0, -far, 5}}, filled, ""), // its right side wraps to column 128
         boxed({{1, 1, 2, 2}, {far, 0, 200, 5}}, filled, "box 1 (x 2.14748e+09, y 0, width 200, height 5) leads out"),
         boxed({{0, far, 5, 200}}, filled, "box 0 "),
         boxed({{far, 0, 200, 5}}, {{"filled", true}, {"clamp", false}}, "box 0 "), // of the same area as its part
         boxed({{0, 0, 99, 5}, {far, 0, 200, 5}}, {{"filled", true}, {"clamp", false}}, ""), // the node's own failure
         boxed({{far, 0, 200, 5}}, {{"filled", true}, {"colour", "#12345"}}, ""),            // likewise
         outlined({0, 0, 5, 5}, -largest, ""),       // top and bottom have no rows
         outlined({0, 1, 5, 5}, -largest, "box 0 "), // the top band wraps
         outlined({1, 1, 5, 5}, -largest - 1, ""), outlined({0, 0, 9, 9}, largest - 9, ""),
         outlined({0, 0, 5, 5}, largest, "box 0 ")}); // the right band wraps
}

TEST(DrawBoxesGuard, RefusesABoxWithoutAText) {
    expectVerdicts("DrawBoxes", {boxed({{0, 0, 1, 1}, {1, 1, 1, 1}}, {},
                                       "box 1 (x 1, y 1, width 1, height 1) has no text: there are 2 ", 1),
                                 // Fails before it reads the label.
                                 boxed({{0, 0, 1, 1}, {1, 1, 99, 1}}, {{"clamp", false}}, "", 1)});
}

TEST(MaskFactoryGuard, RefusesBoxesThatNoMaskCanHold) {
    auto const verdict = [](Box const &first, Box const &second, char const *reason) -> Verdict {
        return {{{"maskShape", 1}}, {{"rectangles", valueOf(std::vector<Box>{first, second})}}, "rectangles", reason};
    };
    Box const one{0, 0, 1, 1}, half{0, 0, 65536, 40000};
    expectVerdicts(
        "MaskFactory",
        {verdict(one, {-9, -9, 3, 3}, ""), verdict(one, {nan, nan, 3, 3}, ""), verdict(one, {0, 0, 0, nan}, ""),
         verdict(one, {0, 0, -5, .4f}, ""), verdict(one, {0, 0, 65536, 65535}, ""),
         verdict(one, {0, 0, 65536, 65536}, "box 1, rounded to (x 0, y 0, width 65536, height 65536), is larger"),
         verdict(one, {0, 0, -5, 3}, "negative size"),
         verdict(one, {0, 0, -5, -3}, "box 1, rounded to (x 0, y 0, width -5, height -3), has a negative size"),
         verdict(one, {0, 0, nan, 1}, "negative size"),
         verdict(half, half,
                 "box 1, rounded to (x 0, y 0, width 65536, height 40000), brings the masks to more than 4 GiB")});
}

/// For a second mask and a second source, on a target of 4 rows and 6 columns.
Verdict masked(bool fullSize, Rect<int> const &rectangle, Shape<2> const &mask, Shape<2> const &source,
               char const *reason, std::uint32_t targetPitch = 6) {
    std::vector<Mask> const masks{{{0, 0, 1, 1}, blank<unsigned char>(1, 1)},
                                  {rectangle, blank<unsigned char>(mask[0], mask[1])}};
    std::vector<Frame> const sources{blank<Vec3b>(9, 9), blank<Vec3b>(source[0], source[1])};
    return {{{"fullSize", fullSize}},
            {{"masks", valueOf(masks)},
             {"sourceFrames", valueOf(sources)},
             {"targetFrames", valueOf(blank<Vec3b>(4, 6, targetPitch))}},
            std::string(reason).starts_with("source") ? "sourceFrames" : "masks",
            reason};
}

TEST(ApplyMaskGuard, RefusesMasksThatLeaveTheTarget) {
    for (bool const fullSize : {true, false})
        expectVerdicts(
            "ApplyMask",
            {masked(fullSize, {0, 0, 6, 4}, {4, 6}, {4, 6}, ""),
             masked(fullSize, {1, 2, 3, 2}, {1, 4}, {9, 9}, ""), // fewer elements than the rectangle
             masked(fullSize, {1, 0, 6, 4}, {4, 6}, {9, 9}, "leaves the target frame of 4 rows and 6 columns"),
             masked(fullSize, {0, 1, 6, 4}, {4, 6}, {9, 9}, "mask 1 (x 0, y 1, width 6, height 4) leaves"),
             masked(fullSize, {-1, 1, 2, 2}, {2, 2}, {9, 9}, "leaves the target"),
             masked(fullSize, {0, -1, 2, 2}, {2, 2}, {9, 9}, "leaves the target"),
             masked(fullSize, {2147483647, 0, 1, 1}, {1, 1}, {9, 9}, "leaves the target"),
             masked(fullSize, {0, 0, 3, 2}, {7, 1}, {9, 9}, "mask 1 (x 0, y 0, width 3, height 2) has 7 elements"),
             masked(fullSize, {0, 0, -2, -2}, {2, 2}, {9, 9}, "no area"),
             masked(fullSize, {0, 0, 0, 4}, {1, 1}, {9, 9}, "no area"),
             masked(fullSize, {-50, 90, -3, 0}, {0, 3}, {0, 0}, ""), // no element: nothing is pasted
             masked(fullSize, {0, 0, 6, 4}, {4, 6}, {9, 9}, "leads out of the memory", 7)});
}

TEST(ApplyMaskGuard, RefusesMasksThatLeaveASource) {
    Verdict odd = masked(true, {90, 0, 1, 1}, {1, 1}, {9, 9}, "");
    odd.inputs["sourceFrames"] = valueOf(std::vector<Frame>(3)); // the node's own to refuse
    expectVerdicts(
        "ApplyMask",
        {odd, masked(true, {1, 1, 3, 2}, {2, 3}, {3, 3}, "source frame 1 of 3 rows and 3 columns is too small: mask 1"),
         masked(false, {1, 1, 3, 2}, {2, 3}, {3, 3}, ""), masked(true, {0, 0, 3, 2}, {2, 3}, {1, 6}, "source frame 1"),
         masked(false, {0, 0, 3, 2}, {2, 3}, {1, 6}, ""),
         masked(false, {0, 0, 3, 2}, {2, 3}, {1, 5}, "source frame 1 of 1 rows and 5 columns has fewer pixels")});
}

} // namespace
} // namespace zun::test
