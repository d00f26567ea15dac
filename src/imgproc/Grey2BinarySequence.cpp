// Binarises a grey frame at a series of evenly spaced thresholds: for each a frame of the pixels at or above it, one of
// the pixels below it, or both.
//
//   - type: Grey2BinarySequence
//     inputs: {input: grey}
//     outputs: {output: levels}
//     options: {binThresholdCount: 5, binThresholdMin: 10, binThresholdMax: 200, inverted: false, noninverted: true}

#include <stdexcept>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "imgproc/kernels/Threshold.h"
#include "node/Registration.h"

class Grey2BinarySequence : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;
    using Frames = std::vector<Frame>;

    int binThresholdCount = 0;
    int binThresholdMax = 0;
    int binThresholdMin = 0;
    bool inverted = false;
    bool noninverted = false;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frames> output;

    int length() const { return zun::wrappingMultiply(int(inverted) + int(noninverted), binThresholdCount); }

    int threshold(int i) const {
        if (binThresholdCount == 1) return binThresholdMin;
        int const range = zun::wrappingSubtract(binThresholdMax, binThresholdMin);
        return zun::wrappingAdd(zun::wrappingMultiply(i, range) / (binThresholdCount - 1), binThresholdMin);
    }

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "Grey2BinarySequence",
                                           .sourcePath = "imgproc/Grey2BinarySequence",
                                           .summary = "Binarises a grey frame at a series of thresholds"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<unsigned char, 2>", &Grey2BinarySequence::input, "the grey frame"));
        static constexpr auto outputs = zun::rows(zun::output(
            "output", "zun::List<zun::Mat<unsigned char, 2>>", &Grey2BinarySequence::output,
            "frames of 0 and 1 by threshold; of one threshold first the non-inverted frame, then the inverted one"));
        static constexpr auto options = zun::rows(
            zun::requiredOption("binThresholdCount", "int", &Grey2BinarySequence::binThresholdCount,
                                "how many thresholds the series has")
                .atLeast(0),
            zun::requiredOption("binThresholdMax", "int", &Grey2BinarySequence::binThresholdMax,
                                "the last threshold; not used if there is only one")
                .between(0, 255),
            zun::requiredOption("binThresholdMin", "int", &Grey2BinarySequence::binThresholdMin, "the first threshold")
                .between(0, 255),
            zun::requiredOption("inverted", "bool", &Grey2BinarySequence::inverted,
                                "give the frames that are 1 below the threshold"),
            zun::requiredOption("noninverted", "bool", &Grey2BinarySequence::noninverted,
                                "give the frames that are 1 at or above the threshold"));
    };

    /// The list has to fit in memory, which is reserved for its length even if a negative count wraps to that.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr || length() <= 0) return zun::pass;
        constexpr std::uint64_t bookkeeping = 256; // of each frame: its header, and the allocator's for its storage
        if ((frame->count + bookkeeping) * std::uint64_t(length()) <= zun::mostBytes) return zun::pass;
        return zun::refuse(input, "binThresholdCount is ", binThresholdCount, ", which with this frame of ",
                           sizeOf(*frame), " takes ", length(),
                           " frames and more than 4 GiB; set it to a smaller number");
    }

    void process(zun::Tick tick) override {
        Frame const grey = readStream(tick, input);
        if (length() < 0) throw std::length_error("vector<T> too long");
        Frames binary;
        binary.reserve(static_cast<std::size_t>(length()));
        auto const add = [&] { return binary.emplace_back(grey.shape).first(); };
        for (int i = 0; length() != 0 && i < binThresholdCount; i++) {
            unsigned char *const atLeast = noninverted ? add() : nullptr, *const below = inverted ? add() : nullptr;
            if (noninverted && inverted)
                zun::kernels::splitAt(grey.first(), atLeast, below, grey.count, threshold(i));
            else if (noninverted)
                zun::kernels::setAtLeast(grey.first(), atLeast, grey.count, threshold(i));
            else
                zun::kernels::setBelow(grey.first(), below, grey.count, threshold(i));
        }
        writeStream(tick, output, binary);
    }
};

static zun::Registration<Grey2BinarySequence> const registration;
