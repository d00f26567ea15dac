// Spreads the tones of a grey frame by what lies around each pixel: a window slides over the frame in steps, and each
// pixel becomes 256 times the share of darker ones in all windows that cover it, taken together, at most 255. Counts
// are kept in 32 bits, and a share of 2^23 or more of them wraps: in steps of 1, keep the window's area below 2900.
//
//   - type: SlidingWindowNormalizeGreyImage
//     inputs: {input: grey}
//     outputs: {output: normalised}
//     options: {stepX: 4, stepY: 4, windowWidth: 64, windowHeight: 64}

#include <algorithm>
#include <bit>
#include <cstdint>

#include "containers/Mat.h"
#include "imgproc/kernels/SlidingEqualise.h"
#include "node/Registration.h"

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
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<unsigned char, 2>", &SlidingWindowNormalizeGreyImage::output,
                                  "the equalised frame")
                          .shapedLike("input"));
        static constexpr auto options =
            zun::rows(zun::option("stepX", "int", "1", &SlidingWindowNormalizeGreyImage::stepX,
                                  "columns from one window to the next, from 1 to windowWidth")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1),
                      zun::option("stepY", "int", "1", &SlidingWindowNormalizeGreyImage::stepY,
                                  "rows from one window to the next, from 1 to windowHeight")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1),
                      zun::requiredOption("windowHeight", "int", &SlidingWindowNormalizeGreyImage::windowHeight,
                                          "rows of a window, from 1 on; windows are cut off at the frame's end")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1),
                      zun::requiredOption("windowWidth", "int", &SlidingWindowNormalizeGreyImage::windowWidth,
                                          "columns of a window, likewise")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1));
    };

    /// The windows have to move on, as far as there are rows and columns to move over, and to cover every pixel, and no
    /// pixel's counts may come to a multiple of 2^32, which 32 bits take for none.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr || frame->shape[0] == 0) return zun::pass;
        std::uint32_t const rows = frame->shape[0], columns = frame->shape[1];
        if (stepY < 1) return refuseBelowOne("stepY", stepY);
        if (columns == 0) return zun::pass;
        if (stepX < 1) return refuseBelowOne("stepX", stepX);
        if (windowHeight < 1) return refuseBelowOne("windowHeight", windowHeight);
        if (windowWidth < 1) return refuseBelowOne("windowWidth", windowWidth);
        Axis const down{rows, stepY, windowHeight}, along{columns, stepX, windowWidth};
        if (down.leavesGaps())
            return zun::refuse(input, "row ", windowHeight, " lies under no window, with stepY ", stepY,
                               " and windowHeight ", windowHeight, "; set stepY to at most windowHeight");
        if (along.leavesGaps())
            return zun::refuse(input, "column ", windowWidth, " lies under no window, with stepX ", stepX,
                               " and windowWidth ", windowWidth, "; set stepX to at most windowWidth");
        bool const mayWrap = down.mostTotal() > mostCount / along.mostTotal();
        return mayWrap ? checkTotals(down, along) : zun::pass;
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Frame const equalised(frame.shape);
        zun::kernels::equaliseInWindows(frame.first(), equalised.first(), {frame.shape[0], frame.shape[1]},
                                        {stepX, windowWidth}, {stepY, windowHeight});
        writeStream(tick, output, equalised);
    }

private:
    static constexpr std::uint64_t mostCount = 0xffffffff;

    struct Axis {
        std::int64_t extent, step, length;

        bool leavesGaps() const { return step > length && extent > length; }

        /// No position has more under the windows that cover it, all taken together.
        std::uint64_t mostTotal() const {
            std::int64_t const longest = std::min(length, extent);
            return static_cast<std::uint64_t>((longest + step - 1) / step * longest);
        }

        struct Position {
            std::int64_t index = 0;
            int powerOfTwo = -1;
        };

        /// The first position whose total is a multiple of the highest power of two.
        Position worst() const {
            Position worst;
            std::uint64_t total = 0;
            for (std::int64_t at = 0; at < extent; at++) {
                if (at % step == 0) total += static_cast<std::uint64_t>(std::min(length, extent - at));
                if (at >= length && (at - length) % step == 0) total -= static_cast<std::uint64_t>(length);
                int const power = std::countr_zero(static_cast<std::uint32_t>(total));
                if (power > worst.powerOfTwo) worst = {at, power};
            }
            return worst;
        }
    };

    zun::Verdict refuseBelowOne(char const *option, int value) const {
        return zun::refuse(input, option, " is ", value, "; set it to 1 or more");
    }

    /// Looks at every row and column, unlike the rest of the guard.
    zun::Verdict checkTotals(Axis const &down, Axis const &along) const {
        Axis::Position const row = down.worst(), column = along.worst();
        if (row.powerOfTwo + column.powerOfTwo < 32) return zun::pass;
        return zun::refuse(
            input, "the windows over row ", row.index, ", column ", column.index,
            " hold a multiple of 2^32 pixels in all, which 32 bits take for none; set a smaller window (", windowWidth,
            " by ", windowHeight, ") or larger steps (", stepX, ", ", stepY, ")");
    }
};

static zun::Registration<SlidingWindowNormalizeGreyImage> const registration;
