// Inverts a colour frame: every byte of the output is the complement of the input's.
//
//   - type: NegativeImage
//     inputs: {input: photo}
//     outputs: {output: negative}

#include "containers/Mat.h"
#include "imgproc/kernels/Invert.h"
#include "node/Registration.h"

class NegativeImage : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;

    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "NegativeImage",
                                           .sourcePath = "imgproc/NegativeImage",
                                           .classCode = 1,
                                           .summary = "Inverts a colour frame"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<zun::Vec3b, 2>", &NegativeImage::input, "the frame"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<zun::Vec3b, 2>", &NegativeImage::output, "the inverted frame")
                          .shapedLike("input"));
        static constexpr auto options = zun::rows();
    };

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Frame const inverted({frame.shape[0], frame.shape[1]});
        auto const bytes = [](Frame const &mat) { return reinterpret_cast<unsigned char *>(mat.first()); };
        zun::kernels::invert(bytes(frame), bytes(inverted), frame.bytes());
        writeStream(tick, output, inverted);
    }
};

static zun::Registration<NegativeImage> const registration;
