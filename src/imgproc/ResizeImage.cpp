// Scales a colour frame to a width, a height, both, or a length of its longer side.
//
//   - type: ResizeImage
//     inputs: {input: photo}
//     outputs: {output: thumbnail}
//     options: {largestSize: 320, allowUpscale: false}

#include "containers/Mat.h"
#include "frame/Registration.h"
#include "imgproc/kernels/Resize.h"
#include "imgproc/kernels/ResizeSize.h"

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
            zun::option("algorithm", "int", "1", &ResizeImage::algorithm,
                        "0: nearest pixel; 1: bilinear, but block means and repeated pixels for whole ratios; 2: the "
                        "same, but the mean of the area for any frame that shrinks in both directions"),
            zun::option("allowDownscale", "bool", "true", &ResizeImage::allowDownscale,
                        "false: a frame larger than the one side given passes as it is"),
            zun::option("allowUpscale", "bool", "true", &ResizeImage::allowUpscale,
                        "false: a frame smaller than the one side given passes as it is"),
            zun::option("height", "int", "0", &ResizeImage::height,
                        "rows of the result; 0: as the width's ratio gives them"),
            zun::option("largestSize", "int", "0", &ResizeImage::largestSize,
                        "length of the result's longer side, in place of height and width; 0: not given"),
            zun::option("width", "int", "0", &ResizeImage::width,
                        "columns of the result; 0: as the height's ratio gives them"));
    };

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, input);
        Size const from{frame.shape[0], frame.shape[1]};
        auto const to = zun::kernels::resizedSize(from, {width, height, largestSize, allowDownscale, allowUpscale});
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
