// Marks single pixels in a copy of a frame. Points are (row, column); a later point wins over an earlier one.
//
//   - type: DrawPoints
//     inputs: {image: photo, points: corners}
//     outputs: {output: marked}
//     options: {colour: 0x00FF00}

#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "imgproc/drawing/Colour.h"
#include "node/Registration.h"

class DrawPoints : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;
    using Points = std::vector<zun::Vec2f>;

    std::string colour;
    zun::InputStream<Frame> image;
    zun::InputStream<Points> points;
    zun::OutputStream<Frame> output;

    /// Of a point's element. One past the end of its row lies in a row below.
    static std::uint64_t flatIndex(zun::Vec2f const &point, std::uint32_t columns) {
        auto const row = static_cast<std::uint32_t>(zun::truncateToInt(point[0]));
        auto const column = static_cast<std::uint32_t>(zun::truncateToInt(point[1]));
        return std::uint64_t(row) * columns + column;
    }

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "DrawPoints",
                                           .sourcePath = "imgproc/drawing/DrawPoints",
                                           .summary = "Marks single pixels in a copy of a frame"};
        static constexpr auto inputs = zun::rows(
            zun::input("image", "zun::Mat<RGBPixel, 2>", &DrawPoints::image, "the frame"),
            zun::input("points", "zun::List<zun::Vec2f>", &DrawPoints::points, "the points to mark: (row, column)"));
        static constexpr auto outputs = zun::rows(zun::output("output", "zun::Mat<RGBPixel, 2>", &DrawPoints::output,
                                                              "a copy of the frame with the points set")
                                                      .shapedLike("image"));
        static constexpr auto options = zun::rows(
            zun::option("colour", "std::string", "0xFF00FF", &DrawPoints::colour, "colour string of the points")
                .is(zun::OptionKind::Colour));
    };

    /// A colour that the node refuses itself passes.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[image];
        Points const *const marked = in[points];
        if (frame == nullptr || marked == nullptr || !isColour(colour)) return zun::pass;
        for (zun::Vec2f const &point : *marked)
            if (flatIndex(point, frame->shape[1]) >= frame->count)
                return zun::refuse(points, "point ", &point - marked->data(), " (row ", point[0], ", column ", point[1],
                                   ") lies outside the frame of ", sizeOf(*frame),
                                   "; leave it out, and check that points are given row first");
        return zun::pass;
    }

    void process(zun::Tick tick) override {
        zun::Vec3b const pixel = parseColour(colour);
        Frame const frame = readStream(tick, image).clone();
        for (zun::Vec2f const &point : readStream(tick, points))
            frame.first()[flatIndex(point, frame.shape[1])] = pixel;
        writeStream(tick, output, frame);
    }
};

static zun::Registration<DrawPoints> const registration;
