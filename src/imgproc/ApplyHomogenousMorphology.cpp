// Erodes or dilates a binary frame with a rectangular element of one value: a pixel of the output is 1 where every
// pixel under the element has that value, or where one hasn't. What lies off the frame has no say.
//
//   - type: ApplyHomogenousMorphology
//     inputs: {input: coins}
//     outputs: {output: grown}
//     options: {elementValue: 0, invert: true, elementSizeX: 5, elementSizeY: 5, originX: 2, originY: 2}

#include "containers/Mat.h"
#include "frame/Registration.h"
#include "imgproc/kernels/Morphology.h"

class ApplyHomogenousMorphology : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    int elementSizeX = 3;
    int elementSizeY = 3;
    int elementValue = 0;
    bool invert = false;
    int originX = 1;
    int originY = 1;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "ApplyHomogenousMorphology",
                                           .sourcePath = "imgproc/ApplyHomogenousMorphology",
                                           .summary = "Erodes or dilates a binary frame with a rectangle"};
        static constexpr auto inputs = zun::rows(zun::input(
            "input", "zun::Mat<unsigned char, 2>", &ApplyHomogenousMorphology::input, "the frame, of pixels 0 and 1"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<unsigned char, 2>", &ApplyHomogenousMorphology::output,
                                  "a frame of the same shape, of pixels 0 and 1"));
        static constexpr auto options = zun::rows(
            zun::option("elementSizeX", "int", "3", &ApplyHomogenousMorphology::elementSizeX,
                        "columns of the element, from 1 to one more than the frame has"),
            zun::option("elementSizeY", "int", "3", &ApplyHomogenousMorphology::elementSizeY,
                        "rows of the element, from 1 to one more than the frame has"),
            zun::requiredOption("elementValue", "int", &ApplyHomogenousMorphology::elementValue,
                                "the value that pixels are compared with: 1 erodes, 0 with invert dilates"),
            zun::requiredOption("invert", "bool", &ApplyHomogenousMorphology::invert,
                                "write 0 where all pixels under the element have its value and 1 elsewhere, instead of "
                                "1 and 0"),
            zun::option("originX", "int", "1", &ApplyHomogenousMorphology::originX,
                        "column of the element that lies over the output pixel, from 0 below elementSizeX"),
            zun::option("originY", "int", "1", &ApplyHomogenousMorphology::originY,
                        "row of the element that lies over the output pixel, from 0 below elementSizeY"));
    };

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        if (elementValue != 0 && elementValue != 1)
            zun::failWithoutLocation("ApplyHomogenousMorphology elementValue must be either 0 or 1");
        Frame const result(frame.shape);
        // Squares take a frame as dense; other elements are laid over it as its strides say.
        std::uint32_t const pitch = elementSizeX == elementSizeY ? frame.shape[1] : frame.strides[0];
        zun::kernels::Element const element{elementSizeX, elementSizeY, originX, originY};
        zun::kernels::erodeOrDilate(frame.first(), pitch, result.first(), frame.shape[0], frame.shape[1], element,
                                    static_cast<unsigned char>(elementValue), invert ? 0 : 1, invert ? 1 : 0);
        writeStream(tick, output, result);
    }
};

static zun::Registration<ApplyHomogenousMorphology> const registration;
