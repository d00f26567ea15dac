// Clears every row, or every column, of a binary frame in which the foreground takes up at least a given fraction: such
// a line is a bar or a band and carries no shape.
//
//   - type: BinaryDominatedRowColRemover
//     inputs: {input: binary}
//     outputs: {output: shapes}
//     options: {threshold: 0.9, horizontal: true}

#include "containers/Mat.h"
#include "imgproc/kernels/DominatedLines.h"
#include "node/Registration.h"

class BinaryDominatedRowColRemover : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    bool horizontal = true;
    bool inverted = false;
    float threshold = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "BinaryDominatedRowColRemover",
                                           .sourcePath = "imgproc/BinaryDominatedRowColRemover",
                                           .summary = "Clears the rows or columns that are mostly foreground"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<unsigned char, 2>", &BinaryDominatedRowColRemover::input,
                                 "the frame, of pixels 0 and 1"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<unsigned char, 2>", &BinaryDominatedRowColRemover::output,
                                  "a copy of the frame with the dominated lines cleared")
                          .shapedLike("input"));
        static constexpr auto options =
            zun::rows(zun::option("horizontal", "bool", "true", &BinaryDominatedRowColRemover::horizontal,
                                  "true: test rows; false: test columns"),
                      zun::option("inverted", "bool", "false", &BinaryDominatedRowColRemover::inverted,
                                  "false: the foreground is 1 and is cleared to 0; true: it is 0 and is cleared to 1"),
                      zun::requiredOption("threshold", "float", &BinaryDominatedRowColRemover::threshold,
                                          "the least fraction of foreground, from 0 to 1, of a line that is cleared")
                          .is(zun::OptionKind::Ratio)
                          .between(0, 1));
    };

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input).clone();
        auto const overwrite =
            horizontal ? zun::kernels::overwriteDominatedRows : zun::kernels::overwriteDominatedColumns;
        overwrite(frame.first(), frame.shape[0], frame.shape[1], threshold, inverted);
        writeStream(tick, output, frame);
    }
};

static zun::Registration<BinaryDominatedRowColRemover> const registration;
