// Writes strings into a frame, each from a place of its own. The frame that comes in is the one that is changed.
//
//   - type: DrawText
//     inputs: {frames: photo, locations: corners, strings: names}
//     outputs: {output: named}
//     options: {colour: "#00FF00", size: 24}

#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "imgproc/drawing/Colour.h"
#include "imgproc/drawing/ft/FreeType.h"
#include "node/Registration.h"
#include "vexa_core/Paths.h"

static FreeTypeLibrary const ftLib;

class DrawText : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;

    FreeTypeFace font;
    std::string colour, fontFile;
    int size;
    zun::InputStream<Frame> frames;
    zun::InputStream<std::vector<zun::Vec2f>> locations;
    zun::InputStream<std::vector<std::string>> strings;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "DrawText",
                                           .sourcePath = "imgproc/drawing/ft/DrawText",
                                           .classCode = 1,
                                           .parallelCode = 0,
                                           .summary = "Writes strings into the frame that comes in"};
        static constexpr auto inputs = zun::rows(
            zun::input("frames", "zun::Mat<RGBPixel, 2>", &DrawText::frames, "the frame to draw into; it is changed")
                .changedInPlace(),
            zun::input("locations", "zun::List<zun::Vec2f>", &DrawText::locations,
                       "one for each string: (row, column) of its top left corner in pixels, cut to whole numbers"),
            zun::input("strings", "zun::List<std::string>", &DrawText::strings,
                       "the strings of this tick, drawn in order; only ASCII is shown, and each on one line"));
        static constexpr auto outputs = zun::rows(
            zun::output("output", "zun::Mat<RGBPixel, 2>", &DrawText::output, "the same frame").shapedLike("frames"));
        static constexpr auto options =
            zun::rows(zun::option("colour", "std::string", "#FF00FF", &DrawText::colour, "colour string of the text")
                          .is(zun::OptionKind::Colour),
                      zun::option("fontFile", "std::string", "share/fonts/OpenSans-Regular.ttf", &DrawText::fontFile,
                                  "font file, by a path from the installation, from the working directory, or absolute")
                          .is(zun::OptionKind::Path),
                      zun::option("size", "int", "10", &DrawText::size, "height of the font in pixels")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1));
    };

    /// A colour that the node refuses itself passes, unless the node reads a location before.
    zun::Verdict guard(zun::Arriving const &in) const {
        std::vector<std::string> const *const texts = in[strings];
        std::vector<zun::Vec2f> const *const corners = in[locations];
        if (texts == nullptr || corners == nullptr || corners->size() >= texts->size()) return zun::pass;
        if (!corners->empty() && !isColour(colour)) return zun::pass;
        return zun::refuse(locations, "string ", corners->size(), " has no location: there are ", texts->size(),
                           " strings and ", corners->size(), " locations; send one for each");
    }

    void initialize() override { font.openFace(ftLib, zun::resolve_relative_path(fontFile, true), size); }
    void flush(zun::Tick) override { font.closeFace(); }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, frames);
        std::vector<std::string> const texts = readStream(tick, strings);
        std::vector<zun::Vec2f> const corners = readStream(tick, locations);
        for (std::size_t i = 0; i < texts.size(); i++) {
            int const row = zun::truncateToInt(corners[i][0]), column = zun::truncateToInt(corners[i][1]);
            font.drawString(frame, row, column, parseColour(colour), texts[i]);
        }
        writeStream(tick, output, frame);
    }
};

static zun::Registration<DrawText> const registration;
