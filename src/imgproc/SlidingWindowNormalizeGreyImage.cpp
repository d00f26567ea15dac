// Spreads the tones of a grey frame by what lies around each pixel: a window slides over the frame in steps, and each
// pixel becomes 256 times the share of darker ones in all windows that cover it, taken together, at most 255. Counts
// are kept in 32 bits, and a share of 2^23 or more of them wraps: in steps of 1, keep the window's area below 2900.
//
//   - type: SlidingWindowNormalizeGreyImage
//     inputs: {input: grey}
//     outputs: {output: normalised}
//     options: {stepX: 4, stepY: 4, windowWidth: 64, windowHeight: 64}

#include "containers/Mat.h"
#include "frame/Registration.h"
#include "imgproc/kernels/SlidingEqualise.h"

class SlidingWindowNormalizeGreyImage : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    int stepX = 0;
    int stepY = 0;
    int windowHeight = 0;
    int windowWidth = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "SlidingWindowNormalizeGreyImage",
                                           .sourcePath = "imgproc/SlidingWindowNormalizeGreyImage",
                                           .summary = "Equalises the histogram of a grey frame in sliding windows"};
        static constexpr auto inputs = zun::rows(
            zun::input("input", "zun::Mat<unsigned char, 2>", &SlidingWindowNormalizeGreyImage::input, "the frame"));
        static constexpr auto outputs = zun::rows(zun::output(
            "output", "zun::Mat<unsigned char, 2>", &SlidingWindowNormalizeGreyImage::output, "the equalised frame"));
        static constexpr auto options =
            zun::rows(zun::option("stepX", "int", "1", &SlidingWindowNormalizeGreyImage::stepX,
                                  "columns from one window to the next, from 1 to windowWidth"),
                      zun::option("stepY", "int", "1", &SlidingWindowNormalizeGreyImage::stepY,
                                  "rows from one window to the next, from 1 to windowHeight"),
                      zun::requiredOption("windowHeight", "int", &SlidingWindowNormalizeGreyImage::windowHeight,
                                          "rows of a window, from 1 on; windows are cut off at the frame's end"),
                      zun::requiredOption("windowWidth", "int", &SlidingWindowNormalizeGreyImage::windowWidth,
                                          "columns of a window, likewise"));
    };

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Frame const equalised(frame.shape);
        zun::kernels::equaliseInWindows(frame.first(), equalised.first(), {frame.shape[0], frame.shape[1]},
                                        {stepX, windowWidth}, {stepY, windowHeight});
        writeStream(tick, output, equalised);
    }
};

static zun::Registration<SlidingWindowNormalizeGreyImage> const registration;
