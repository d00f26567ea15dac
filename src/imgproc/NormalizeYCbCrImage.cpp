// Spreads the brightness of a YCbCr frame: each Y becomes the share of the pixels that lie in a lower bin of the
// histogram of Y, from 0 to less than 1. Cb and Cr stay.
//
//   - type: NormalizeYCbCrImage
//     inputs: {input: ycbcr}
//     outputs: {output: normalised}
//     options: {histogramSize: 256}

#include <stdexcept>

#include "containers/Mat.h"
#include "imgproc/kernels/Equalise.h"
#include "node/Registration.h"

class NormalizeYCbCrImage : public zun::Node {
    using Frame = zun::Mat<zun::Vec3f, 2>;

    int histogramSize = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "NormalizeYCbCrImage",
                                           .sourcePath = "imgproc/NormalizeYCbCrImage",
                                           .summary = "Equalises the brightness of a YCbCr frame"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<zun::Vec3f, 2>", &NormalizeYCbCrImage::input,
                                 "the frame: Y from 0 to less than 1, as colour gives it, then Cb, Cr"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<zun::Vec3f, 2>", &NormalizeYCbCrImage::output,
                                  "the frame with Y equalised, from 0 to less than 1")
                          .shapedLike("input"));
        static constexpr auto options =
            zun::rows(zun::option("histogramSize", "int", "256", &NormalizeYCbCrImage::histogramSize,
                                  "how many bins the range of Y from 0 to 1 is divided into, from 1 on; a Y below 0 "
                                  "counts in the first bin, one above 1 in the last")
                          .atLeast(1));
    };

    /// A negative histogramSize is for the node itself to refuse.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr || frame->count == 0 || histogramSize != 0) return zun::pass;
        return zun::refuse(input, "histogramSize is 0; set it to 1 or more");
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        if (histogramSize < 0) throw std::length_error("vector<T> too long");
        Frame const equalised(frame.shape);
        zun::kernels::equaliseFirstChannel(frame.first(), equalised.first(), frame.count, histogramSize);
        writeStream(tick, output, equalised);
    }
};

static zun::Registration<NormalizeYCbCrImage> const registration;
