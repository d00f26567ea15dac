// Erodes or dilates a binary frame with a rectangular element of one value: a pixel of the output is 1 where every
// pixel under the element has that value, or where one hasn't. What lies off the frame does not count.
//
//   - type: ApplyHomogenousMorphology
//     inputs: {input: coins}
//     outputs: {output: grown}
//     options: {elementValue: 0, invert: true, elementSizeX: 5, elementSizeY: 5, originX: 2, originY: 2}

#include "containers/Mat.h"
#include "imgproc/Strides.h"
#include "imgproc/kernels/Morphology.h"
#include "node/Registration.h"

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
                                  "a frame of the same shape, of pixels 0 and 1")
                          .shapedLike("input"));
        static constexpr auto options = zun::rows(
            zun::option("elementSizeX", "int", "3", &ApplyHomogenousMorphology::elementSizeX,
                        "columns of the element, from 1 to one more than the frame has")
                .is(zun::OptionKind::Pixels)
                .atLeast(1),
            zun::option("elementSizeY", "int", "3", &ApplyHomogenousMorphology::elementSizeY,
                        "rows of the element, from 1 to one more than the frame has")
                .is(zun::OptionKind::Pixels)
                .atLeast(1),
            zun::requiredOption("elementValue", "int", &ApplyHomogenousMorphology::elementValue,
                                "the value that pixels are compared with: 1 erodes, 0 with invert dilates")
                .choose({{0, "background"}, {1, "foreground"}}),
            zun::requiredOption("invert", "bool", &ApplyHomogenousMorphology::invert,
                                "write 0 where all pixels under the element have its value and 1 elsewhere, instead of "
                                "1 and 0"),
            zun::option("originX", "int", "1", &ApplyHomogenousMorphology::originX,
                        "column of the element that lies over the output pixel, from 0 to below elementSizeX")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::option("originY", "int", "1", &ApplyHomogenousMorphology::originY,
                        "row of the element that lies over the output pixel, from 0 to below elementSizeY")
                .is(zun::OptionKind::Pixels)
                .atLeast(0));
    };

    /// On an empty frame every element passes, and so does on any frame a value that the node refuses itself.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr || frame->count == 0 || (elementValue != 0 && elementValue != 1)) return zun::pass;
        if (auto verdict = checkAxis("X", elementSizeX, originX, frame->shape[1], "columns")) return verdict;
        if (auto verdict = checkAxis("Y", elementSizeY, originY, frame->shape[0], "rows")) return verdict;
        return elementSizeX == elementSizeY ? zun::pass : zun::checkStrides(input, *frame);
    }

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

private:
    zun::Verdict checkAxis(char const *axis, int size, int origin, std::uint32_t extent, char const *lines) const {
        if (size < 1) return zun::refuse(input, "elementSize", axis, " is ", size, "; set it to 1 or more");
        if (origin < 0 || origin >= size)
            return zun::refuse(input, "origin", axis, " is ", origin, " with an elementSize", axis, " of ", size,
                               "; set it to 0 or more, below the size");
        if (std::int64_t(extent) + 1 >= size) return zun::pass;
        return zun::refuse(input, "elementSize", axis, " is ", size, " on a frame of ", extent, " ", lines,
                           "; set it to at most one more than the frame has");
    }
};

static zun::Registration<ApplyHomogenousMorphology> const registration;
