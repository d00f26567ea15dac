// Blackens what lies outside the largest ellipse that fits the frame, in a copy of it.
//
//   - type: EllipseMask
//     inputs: {input: photo}
//     outputs: {output: vignette}

#include "containers/Mat.h"
#include "imgproc/kernels/Ellipse.h"
#include "node/Registration.h"

class EllipseMask : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;

    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "EllipseMask",
                                           .sourcePath = "imgproc/EllipseMask",
                                           .summary = "Blackens what lies outside the frame's largest ellipse"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<zun::Vec3b, 2>", &EllipseMask::input, "the frame"));
        static constexpr auto outputs = zun::rows(zun::output("output", "zun::Mat<zun::Vec3b, 2>", &EllipseMask::output,
                                                              "a copy of the frame, black outside the ellipse")
                                                      .shapedLike("input"));
        static constexpr auto options = zun::rows();
    };

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        auto const rows = static_cast<int>(frame.shape[0]), columns = static_cast<int>(frame.shape[1]);
        Frame const inside(frame.shape);
        zun::kernels::copyEllipse(frame.first(), inside.first(), {frame.shape[0], frame.shape[1]},
                                  {.centreRow = rows / 2,
                                   .centreColumn = columns / 2,
                                   .horizontalDiameter = columns,
                                   .verticalDiameter = rows});
        writeStream(tick, output, inside);
    }
};

static zun::Registration<EllipseMask> const registration;
