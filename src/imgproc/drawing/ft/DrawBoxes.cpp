// Draws rectangles into a frame, as outlines or filled, and labels into their corners. The frame that comes in is the
// one that is changed. Rectangles are cut to the frame first; outlines lie around what is left.
//
//   - type: DrawBoxes
//     inputs: {frames: photo, boxes: faces, text: names}
//     outputs: {output: boxed}
//     options: {colour: 0x00FF00, lineThickness: 3}

#include <algorithm>
#include <optional>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "frame/Registration.h"
#include "imgproc/drawing/Colour.h"
#include "imgproc/drawing/ft/FreeType.h"
#include "imgproc/kernels/FillRectangle.h"
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
            zun::input("frames", "zun::Mat<RGBPixel, 2>", &DrawBoxes::frames, "the frame to draw into; it is changed"),
            zun::optionalInput("text", "zun::List<std::string>", &DrawBoxes::text,
                               "one label for each box, drawn from the box's top left corner; only ASCII is shown"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<RGBPixel, 2>", &DrawBoxes::output, "the same frame"));
        static constexpr auto options = zun::rows(
            zun::option("clamp", "bool", "true", &DrawBoxes::clamp,
                        "true: boxes are cut to the frame; false: one that leaves it is an error"),
            zun::option("colour", "std::string", "0xFF00FF", &DrawBoxes::colour, "colour string of boxes and labels"),
            zun::option("filled", "bool", "false", &DrawBoxes::filled,
                        "true: boxes are filled; false: they are outlined"),
            zun::option("fontFile", "std::string", "share/fonts/OpenSans-Regular.ttf", &DrawBoxes::fontFile,
                        "font of the labels, by a path from the installation, from the working directory, or absolute"),
            zun::option("lineThickness", "int", "1", &DrawBoxes::lineThickness,
                        "width of the outline in pixels, outside of the box; 0 draws none"),
            zun::option("size", "int", "10", &DrawBoxes::size, "height of the font in pixels"),
            zun::option("textOffsetX", "int", "0", &DrawBoxes::textOffsetX, "moves labels down by so many rows"),
            zun::option("textOffsetY", "int", "0", &DrawBoxes::textOffsetY, "moves labels right by so many columns"));
    };

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
            if (!pixel) pixel = parseColour(colour); // which is no failure until there is something to draw
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
    void requireInside(zun::Tick tick, Frame const &frame, Rect const &box, Rect const &inside) const {
        bool const sameArea =
            zun::wrappingMultiply(inside.width, inside.height) == zun::wrappingMultiply(box.width, box.height);
        require(sameArea, zun::unconditional, "DrawBoxes: Frame ", tick, " requests box (", box.x, ", ", box.y, ", ",
                zun::wrappingAdd(box.x, box.width), ", ", zun::wrappingAdd(box.y, box.height),
                "), which is outside the frame of ", frame.shape[1], "x", frame.shape[0], "!");
    }

    /// Fills a rectangle that was cut to the frame. One of which nothing was left fills the frame's first pixel.
    static void fill(Frame const &frame, Rect const &rect, zun::Vec3b pixel) {
        if (frame.first() == nullptr || frame.count == 0) return;
        auto const width = static_cast<std::uint32_t>(rect.width), height = static_cast<std::uint32_t>(rect.height);
        std::uint32_t const rowGap = frame.strides[0] - frame.strides[1] * width;
        zun::Vec3b *const corner = frame.first() + (rect.x + std::int64_t(rect.y) * frame.shape[1]);
        zun::kernels::fillRectangle(corner, std::max(width, 1u), std::max(height, 1u), std::uint64_t(width) + rowGap,
                                    pixel);
    }

    void outline(Frame const &frame, Rect const &box, zun::Vec3b pixel) const {
        using zun::wrappingAdd;
        int const t = lineThickness;
        int const left = zun::wrappingSubtract(box.x, t), width = wrappingAdd(box.width, zun::wrappingMultiply(2, t));
        Rect const bands[] = {
            {left, zun::wrappingSubtract(box.y, t), width, t},
            {wrappingAdd(box.x, box.width), box.y, t, box.height},
            {left, wrappingAdd(box.y, box.height), width, t},
            {left, box.y, t, box.height},
        };
        for (Rect const &band : bands) {
            Rect const inside = zun::clipToFrame(band, frame.shape[0], frame.shape[1]);
            if (inside.width != 0) fill(frame, inside, pixel);
        }
    }
};

static zun::Registration<DrawBoxes> const registration;
