// A node that draws into the frame that it reads, and whose guard keeps it from drawing beside it.

#include <vector>

#include "Star.h"
#include "containers/Mat.h"
#include "node/Registration.h"

class DrawStars : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;
    using Stars = std::vector<stars::Star>;

    static constexpr int point = 0; // anything else is a cross

    int shape = point;
    zun::InputStream<Frame> frames;
    zun::InputStream<Stars> stars;
    zun::OutputStream<Frame> output;

    static bool isInside(Frame const &frame, int row, int column) {
        return row >= 0 && column >= 0 && static_cast<std::uint32_t>(row) < frame.shape[0] &&
               static_cast<std::uint32_t>(column) < frame.shape[1];
    }

    static void light(Frame const &frame, int row, int column, unsigned char brightness) {
        auto const at = static_cast<std::size_t>(row) * frame.shape[1] + static_cast<std::size_t>(column);
        frame.first()[at] = {{brightness, brightness, brightness}};
    }

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{
            .type = "DrawStars", .sourcePath = "DrawStars", .summary = "Draws stars into the frame that comes in"};
        // Where somebody else reads the frame, too, the node gets a copy of it.
        static constexpr auto inputs = zun::rows(
            zun::input("frames", "zun::Mat<zun::Vec3b, 2>", &DrawStars::frames, "the frame to draw into; it is changed")
                .changedInPlace(),
            zun::input("stars", "zun::List<stars::Star>", &DrawStars::stars, "all inside the frame"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<zun::Vec3b, 2>", &DrawStars::output, "the same frame")
                          .shapedLike("frames"));
        static constexpr auto options = zun::rows(
            zun::option("shape", "int", "0", &DrawStars::shape, "of a star").choose({{0, "point"}, {1, "cross"}}));
    };

    /// Hosts ask it before each tick. What it passes, process() may trust.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[frames];
        Stars const *const drawn = in[stars];
        if (frame == nullptr || drawn == nullptr) return zun::pass;
        for (stars::Star const &star : *drawn)
            if (!isInside(*frame, star.row, star.column))
                return zun::refuse(stars, "star ", &star - drawn->data(), " (row ", star.row, ", column ", star.column,
                                   ") lies outside the frame of ", sizeOf(*frame), "; leave it out");
        return zun::pass;
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, frames);
        for (auto const &[row, column, brightness] : readStream(tick, stars)) {
            light(frame, row, column, brightness);
            if (shape == point) continue;
            for (int const side : {-1, 1}) {
                if (isInside(frame, row + side, column)) light(frame, row + side, column, brightness);
                if (isInside(frame, row, column + side)) light(frame, row, column + side, brightness);
            }
        }
        writeStream(tick, output, frame);
    }
};

static zun::Registration<DrawStars> const registration;
