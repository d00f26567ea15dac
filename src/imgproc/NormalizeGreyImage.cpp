// Spreads the tones of a grey frame: each pixel becomes 256 times the share of the pixels that are darker than it, at
// most 255. The darkest tone of the frame becomes 0.
//
//   - type: NormalizeGreyImage
//     inputs: {input: grey}
//     outputs: {output: normalised}

#include "containers/Mat.h"
#include "imgproc/kernels/Equalise.h"
#include "node/Registration.h"

class NormalizeGreyImage : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "NormalizeGreyImage",
                                           .sourcePath = "imgproc/NormalizeGreyImage",
                                           .summary = "Equalises the histogram of a grey frame"};
        static constexpr auto inputs = zun::rows(
            zun::input("input", "zun::Mat<unsigned char, 2>", &NormalizeGreyImage::input, "the frame, not empty"));
        static constexpr auto outputs = zun::rows(
            zun::output("output", "zun::Mat<unsigned char, 2>", &NormalizeGreyImage::output, "the equalised frame")
                .shapedLike("input"));
        static constexpr auto options = zun::rows();
    };

    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr || frame->count != 0) return zun::pass;
        return zun::refuse(input, "the frame of ", sizeOf(*frame),
                           " is empty, and its histogram has nothing to divide by; leave it out");
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Frame const equalised(frame.shape);
        zun::kernels::equaliseGrey(frame.first(), equalised.first(), frame.count);
        writeStream(tick, output, equalised);
    }
};

static zun::Registration<NormalizeGreyImage> const registration;
