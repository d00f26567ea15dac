// Blurs a grey frame by the mean over a box around each pixel. The frame's edge counts as going on outside; an even
// size leans to the left and up.
//
//   - type: GreyBoxBlur
//     inputs: {input: photo}
//     outputs: {output: blurred}
//     options: {kernelSizeX: 9, kernelSizeY: 9}

#include "containers/Mat.h"
#include "imgproc/BoxBlurGuard.h"
#include "imgproc/kernels/BoxBlur.h"
#include "node/Registration.h"

class GreyBoxBlur : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    int kernelSizeX = 0;
    int kernelSizeY = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "GreyBoxBlur",
                                           .sourcePath = "imgproc/GreyBoxBlur",
                                           .summary = "Blurs a grey frame by the mean over a box"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<unsigned char, 2>", &GreyBoxBlur::input, "the frame"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<unsigned char, 2>", &GreyBoxBlur::output, "the blurred frame")
                          .shapedLike("input"));
        static constexpr auto options =
            zun::rows(zun::requiredOption("kernelSizeX", "int", &GreyBoxBlur::kernelSizeX,
                                          "width of the box in pixels, from 1 on; 0 gives zeros")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1),
                      zun::requiredOption("kernelSizeY", "int", &GreyBoxBlur::kernelSizeY,
                                          "height of the box in pixels, likewise")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1));
    };

    zun::Verdict guard(zun::Arriving const &in) const {
        return zun::checkBoxBlur(input, in[input], kernelSizeX, kernelSizeY);
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Frame const blurred(frame.shape);
        zun::kernels::boxBlur(frame.first(), blurred.first(), {frame.shape[0], frame.shape[1]}, 1,
                              {kernelSizeX, kernelSizeY});
        writeStream(tick, output, blurred);
    }
};

static zun::Registration<GreyBoxBlur> const registration;
