// Scales a colour frame to a width, a height, both, or a length of its longer side.
//
//   - type: ResizeImage
//     inputs: {input: photo}
//     outputs: {output: thumbnail}
//     options: {largestSize: 320, allowUpscale: false}

#include <cstdint>
#include <limits>
#include <optional>

#include "containers/Mat.h"
#include "imgproc/kernels/Resize.h"
#include "imgproc/kernels/ResizeSize.h"
#include "node/Registration.h"

class ResizeImage : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;
    using Size = zun::kernels::FrameSize;
    using Method = void (*)(zun::Vec3b const *, Size, zun::Vec3b *, Size);

    int algorithm = 1;
    bool allowDownscale = true;
    bool allowUpscale = true;
    int height = 0;
    int largestSize = 0;
    int width = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "ResizeImage",
                                           .sourcePath = "imgproc/ResizeImage",
                                           .classCode = 1,
                                           .summary = "Scales a colour frame"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<zun::Vec3b, 2>", &ResizeImage::input, "the frame"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<zun::Vec3b, 2>", &ResizeImage::output,
                                  "the scaled frame, or the frame itself if it needs no scaling"));
        static constexpr auto options = zun::rows(
            zun::option(
                "algorithm", "int", "1", &ResizeImage::algorithm,
                "how pixels are made; bilinear takes block means and repeats pixels at whole ratios, and area mean "
                "does so too, but takes the mean of the area for any frame that shrinks in both directions")
                .choose({{0, "nearest"}, {1, "bilinear"}, {2, "area mean"}}),
            zun::option("allowDownscale", "bool", "true", &ResizeImage::allowDownscale,
                        "false: a frame larger than the one side given passes as it is"),
            zun::option("allowUpscale", "bool", "true", &ResizeImage::allowUpscale,
                        "false: a frame smaller than the one side given passes as it is"),
            zun::option("height", "int", "0", &ResizeImage::height,
                        "rows of the result; 0: as the width's ratio gives them")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::option("largestSize", "int", "0", &ResizeImage::largestSize,
                        "length of the result's longer side, in place of height and width; 0: not given")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::option("width", "int", "0", &ResizeImage::width,
                        "columns of the result; 0: as the height's ratio gives them")
                .is(zun::OptionKind::Pixels)
                .atLeast(0));
    };

    /// A frame that is scaled has to come out with at least one row and one column, and within mostBytes. An algorithm
    /// that the node refuses itself passes.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr || algorithm < 0 || algorithm > 2) return zun::pass;
        Size const from{frame->shape[0], frame->shape[1]};
        std::optional<Size> const to = sizeFor(from);
        if (!to || *to == from) return zun::pass;

        constexpr std::uint32_t longest = std::numeric_limits<int>::max();
        auto const rows = static_cast<int>(to->rows), columns = static_cast<int>(to->columns);
        bool const empty = rows < 1 || columns < 1;
        bool const fits = std::uint64_t(to->rows) * to->columns <= zun::mostBytes / sizeof(zun::Vec3b);
        if (!empty && fits && from.rows <= longest && from.columns <= longest) return zun::pass;
        char const *const fault =
            empty ? "and both have to be at least 1; set height and width both, or to larger numbers"
                  : "which is larger than any frame may be; set height, width or largestSize to smaller numbers";
        return zun::refuse(input, "the frame of ", sizeOf(*frame), " would become one of ", rows, " rows and ", columns,
                           " columns, ", fault);
    }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Size const from{frame.shape[0], frame.shape[1]};
        auto const to = sizeFor(from);
        if (!to) return writeStream(tick, output, frame);
        // A frame that passes as it is does so under any setting.
        if (algorithm < 0 || algorithm > 2)
            zun::failWithoutLocation("Invalid setting for ResizeImage algorithm option");
        if (*to == from) return writeStream(tick, output, frame.clone());

        Frame const scaled({to->rows, to->columns});
        methodFor(from, *to)(frame.first(), from, scaled.first(), *to);
        writeStream(tick, output, scaled);
    }

private:
    std::optional<Size> sizeFor(Size from) const {
        return zun::kernels::resizedSize(from, {width, height, largestSize, allowDownscale, allowUpscale});
    }

    Method methodFor(Size from, Size to) const {
        bool const exactDown = from.rows % to.rows == 0 && from.columns % to.columns == 0;
        bool const exactUp = to.rows % from.rows == 0 && to.columns % from.columns == 0;
        if (algorithm == 0) return zun::kernels::resizeNearest;
        if (exactDown) return zun::kernels::resizeBlockMean;
        if (algorithm == 1 && exactUp) return zun::kernels::resizeNearest;
        bool const shrinks = from.rows > to.rows && from.columns > to.columns;
        return algorithm == 2 && shrinks ? zun::kernels::resizeAreaMean : zun::kernels::resizeBilinear;
    }
};

static zun::Registration<ResizeImage> const registration;
