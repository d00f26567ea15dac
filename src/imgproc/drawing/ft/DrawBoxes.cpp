// Draws rectangles into a frame, as outlines or filled, and labels into their corners. The frame that comes in is the
// one that is changed. Rectangles are cut to the frame first; outlines lie around what is left.
//
//   - type: DrawBoxes
//     inputs: {frames: photo, boxes: faces, text: names}
//     outputs: {output: boxed}
//     options: {colour: 0x00FF00, lineThickness: 3}

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "imgproc/drawing/Colour.h"
#include "imgproc/drawing/ft/FreeType.h"
#include "imgproc/kernels/FillRectangle.h"
#include "node/Registration.h"
#include "vexa_core/Paths.h"

static FreeTypeLibrary const ftLib;

class DrawBoxes : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;
    using Rect = zun::Rect<int>;

    FreeTypeFace font;
    bool clamp;
    std::string colour;
    bool filled;
    std::string fontFile;
    int lineThickness, size, textOffsetX, textOffsetY;
    zun::InputStream<std::vector<zun::Box>> boxes;
    zun::InputStream<Frame> frames;
    zun::InputStream<std::vector<std::string>> text;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "DrawBoxes",
                                           .sourcePath = "imgproc/drawing/ft/DrawBoxes",
                                           .classCode = 1,
                                           .summary = "Draws boxes and their labels into the frame that comes in"};
        static constexpr auto inputs = zun::rows(
            zun::input("boxes", "zun::List<zun::Box>", &DrawBoxes::boxes,
                       "the rectangles of this tick, drawn in order: (x, y, width, height) in pixels, each rounded"),
            zun::input("frames", "zun::Mat<RGBPixel, 2>", &DrawBoxes::frames, "the frame to draw into; it is changed")
                .changedInPlace(),
            zun::optionalInput("text", "zun::List<std::string>", &DrawBoxes::text,
                               "one label for each box, drawn from the box's top left corner; only ASCII is shown"));
        static constexpr auto outputs = zun::rows(
            zun::output("output", "zun::Mat<RGBPixel, 2>", &DrawBoxes::output, "the same frame").shapedLike("frames"));
        static constexpr auto options = zun::rows(
            zun::option("clamp", "bool", "true", &DrawBoxes::clamp,
                        "true: boxes are cut to the frame; false: one that leaves it is an error"),
            zun::option("colour", "std::string", "0xFF00FF", &DrawBoxes::colour, "colour string of boxes and labels")
                .is(zun::OptionKind::Colour),
            zun::option("filled", "bool", "false", &DrawBoxes::filled,
                        "true: boxes are filled; false: they are outlined"),
            zun::option("fontFile", "std::string", "share/fonts/OpenSans-Regular.ttf", &DrawBoxes::fontFile,
                        "font of the labels, by a path from the installation, from the working directory, or absolute")
                .is(zun::OptionKind::Path),
            zun::option("lineThickness", "int", "1", &DrawBoxes::lineThickness,
                        "width of the outline in pixels, outside of the box; 0 draws none")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::option("size", "int", "10", &DrawBoxes::size, "height of the font in pixels")
                .is(zun::OptionKind::Pixels)
                .atLeast(1),
            zun::option("textOffsetX", "int", "0", &DrawBoxes::textOffsetX, "moves labels down by so many rows")
                .is(zun::OptionKind::Pixels),
            zun::option("textOffsetY", "int", "0", &DrawBoxes::textOffsetY, "moves labels right by so many columns")
                .is(zun::OptionKind::Pixels));
    };

    /// What comes after the point where the node fails by itself, be it at a box outside the frame or at the colour, is
    /// not looked at.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[frames];
        std::vector<zun::Box> const *const rectangles = in[boxes];
        std::vector<std::string> const *const labels = in[text];
        if (frame == nullptr || rectangles == nullptr || !isColour(colour)) return zun::pass;
        for (std::size_t i = 0; i < rectangles->size(); i++) {
            zun::Box const &box = (*rectangles)[i];
            Rect const asked = zun::roundToInt(box), inside = zun::clipToFrame(asked, frame->shape[0], frame->shape[1]);
            if (!clamp && !sameArea(inside, asked)) return zun::pass;
            if (filled ? leaves(*frame, inside) : outlineLeaves(*frame, inside)) return refuseBox(i, box, *frame);
            if (labels != nullptr && i >= labels->size())
                return zun::refuse(text, "box ", i, " ", box, " has no text: there are ", rectangles->size(),
                                   " boxes and ", labels->size(), " texts; send one for each");
        }
        return zun::pass;
    }

    void initialize() override { font.openFace(ftLib, zun::resolve_relative_path(fontFile, true), size); }
    void flush(zun::Tick) override { font.closeFace(); }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, frames);
        std::vector<zun::Box> const rectangles = readStream(tick, boxes);
        std::vector<std::string> labels;
        if (text.connected()) labels = readStream(tick, text);

        std::optional<zun::Vec3b> pixel;
        for (std::size_t i = 0; i < rectangles.size(); i++) {
            Rect const box = zun::roundToInt(rectangles[i]);
            Rect const inside = zun::clipToFrame(box, frame.shape[0], frame.shape[1]);
            if (!clamp) requireInside(tick, frame, box, inside);
            if (!pixel) pixel = parseColour(colour); // a bad colour fails only where there is something to draw
            if (filled)
                fill(frame, inside, *pixel);
            else
                outline(frame, inside, *pixel);
            if (text.connected())
                font.drawString(frame, zun::wrappingAdd(inside.y, textOffsetX), zun::wrappingAdd(inside.x, textOffsetY),
                                *pixel, labels[i]);
        }
        writeStream(tick, output, frame);
    }

private:
    static bool sameArea(Rect const &a, Rect const &b) {
        return zun::wrappingMultiply(a.width, a.height) == zun::wrappingMultiply(b.width, b.height);
    }

    /// Whether filling what clipToFrame() left of a rectangle leads out of the frame's elements. It does only where
    /// sums wrapped around 32 bits, or where the strides are not those of the shape.
    static bool leaves(Frame const &frame, Rect const &cut) {
        if (cut.width == 0 || frame.count == 0) return false;
        auto const width = static_cast<std::uint32_t>(cut.width),
                   rowsBelow = static_cast<std::uint32_t>(cut.height) - 1;
        std::uint64_t const corner = std::uint64_t(cut.x) + std::uint64_t(cut.y) * frame.shape[1];
        std::uint64_t const way = rowsBelow * (std::uint64_t(width) + gap(frame, width));
        return corner >= frame.count || way >= frame.count || corner + way + width > frame.count;
    }

    bool outlineLeaves(Frame const &frame, Rect const &box) const {
        return std::ranges::any_of(bandsAround(box), [&](Rect const &band) {
            return leaves(frame, zun::clipToFrame(band, frame.shape[0], frame.shape[1]));
        });
    }

    zun::Diagnostic refuseBox(std::size_t index, zun::Box const &box, Frame const &frame) const {
        std::string const thickness = filled ? "" : " with a lineThickness of " + std::to_string(lineThickness);
        return zun::refuse(boxes, "box ", index, " ", box, " leads out of the frame of ", sizeOf(frame), thickness,
                           ", because 32-bit coordinates don't hold it; send boxes near the frame",
                           filled ? "" : ", and set lineThickness to a smaller number");
    }

    void requireInside(zun::Tick tick, Frame const &frame, Rect const &box, Rect const &inside) const {
        require(sameArea(inside, box), zun::unconditional, "DrawBoxes: Frame ", tick, " requests box (", box.x, ", ",
                box.y, ", ", zun::wrappingAdd(box.x, box.width), ", ", zun::wrappingAdd(box.y, box.height),
                "), which is outside the frame of ", frame.shape[1], "x", frame.shape[0], "!");
    }

    /// From the end of a row of a rectangle to the start of the next.
    static std::uint32_t gap(Frame const &frame, std::uint32_t width) {
        return frame.strides[0] - frame.strides[1] * width;
    }

    /// Fills a rectangle that was cut to the frame. One of which nothing was left fills the frame's first pixel.
    static void fill(Frame const &frame, Rect const &rect, zun::Vec3b pixel) {
        if (frame.first() == nullptr || frame.count == 0) return;
        auto const width = static_cast<std::uint32_t>(rect.width), height = static_cast<std::uint32_t>(rect.height);
        zun::Vec3b *const corner = frame.first() + (rect.x + std::int64_t(rect.y) * frame.shape[1]);
        zun::kernels::fillRectangle(corner, std::max(width, 1u), std::max(height, 1u),
                                    std::uint64_t(width) + gap(frame, width), pixel);
    }

    /// The bands of the outline, before they are cut to the frame.
    std::array<Rect, 4> bandsAround(Rect const &box) const {
        using zun::wrappingAdd;
        int const t = lineThickness;
        int const left = zun::wrappingSubtract(box.x, t), width = wrappingAdd(box.width, zun::wrappingMultiply(2, t));
        return {{{left, zun::wrappingSubtract(box.y, t), width, t},
                 {wrappingAdd(box.x, box.width), box.y, t, box.height},
                 {left, wrappingAdd(box.y, box.height), width, t},
                 {left, box.y, t, box.height}}};
    }

    void outline(Frame const &frame, Rect const &box, zun::Vec3b pixel) const {
        for (Rect const &band : bandsAround(box)) {
            Rect const inside = zun::clipToFrame(band, frame.shape[0], frame.shape[1]);
            if (inside.width != 0) fill(frame, inside, pixel);
        }
    }
};

static zun::Registration<DrawBoxes> const registration;
