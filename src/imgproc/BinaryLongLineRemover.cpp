// Erases straight runs of foreground from a binary frame: along rows those that are at least a given fraction of its
// width, along columns those of its height. Runs are found in the input, so crossing lines go both.
//
//   - type: BinaryLongLineRemover
//     inputs: {input: binary}
//     outputs: {output: shapes}
//     options: {thresholdX: 0.25, thresholdY: 0.25}

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "imgproc/Strides.h"
#include "imgproc/kernels/LongRuns.h"
#include "node/Registration.h"

class BinaryLongLineRemover : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    bool inverted = false;
    float thresholdX = 0;
    float thresholdY = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

    zun::kernels::RunRule rule(std::uint32_t lineLength, float threshold) const {
        auto const foreground = static_cast<unsigned char>(inverted ? 0 : 1);
        auto const background = static_cast<unsigned char>(inverted ? 1 : 0);
        return {foreground, background, zun::truncateToInt(static_cast<float>(lineLength) * threshold)};
    }

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "BinaryLongLineRemover",
                                           .sourcePath = "imgproc/BinaryLongLineRemover",
                                           .summary = "Erases long runs of foreground along rows and columns"};
        static constexpr auto inputs = zun::rows(zun::input(
            "input", "zun::Mat<unsigned char, 2>", &BinaryLongLineRemover::input, "the frame, of pixels 0 and 1"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<unsigned char, 2>", &BinaryLongLineRemover::output,
                                  "a copy of the frame with the long runs erased")
                          .shapedLike("input"));
        static constexpr auto options = zun::rows(
            zun::option("inverted", "bool", "false", &BinaryLongLineRemover::inverted,
                        "false: the foreground is 1 and is erased to 0; true: it is 0 and is erased to 1"),
            zun::option("thresholdX", "float", "0.0", &BinaryLongLineRemover::thresholdX,
                        "least length of a run along a row, as a fraction of the columns; 0 or less leaves rows alone, "
                        "a fraction of less than a pixel erases all of them")
                .is(zun::OptionKind::Ratio)
                .between(0, 1),
            zun::option("thresholdY", "float", "0.0", &BinaryLongLineRemover::thresholdY,
                        "least length of a run along a column, as a fraction of the rows; likewise")
                .is(zun::OptionKind::Ratio)
                .between(0, 1));
    };

    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        bool const readsColumns = frame != nullptr && frame->count != 0 && thresholdY > 0;
        return readsColumns ? zun::checkStrides(input, *frame) : zun::pass;
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input), cleaned = frame.clone();
        std::uint32_t const rows = frame.shape[0], columns = frame.shape[1];
        if (thresholdX > 0)
            zun::kernels::overwriteLongRowRuns(frame.first(), cleaned.first(), rows, columns,
                                               rule(columns, thresholdX));
        if (thresholdY > 0)
            zun::kernels::overwriteLongColumnRuns(frame.first(), frame.strides[0], cleaned.first(), rows, columns,
                                                  rule(rows, thresholdY));
        writeStream(tick, output, cleaned);
    }
};

static zun::Registration<BinaryLongLineRemover> const registration;
