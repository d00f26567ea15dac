// Resamples a colour frame through an affine matrix that arrives on a stream. The size is (rows, columns).
//
//   - type: WarpAffine
//     inputs: {image: photo, transform: pose}
//     outputs: {output: aligned}
//     options: {size: [480, 640], borderColour: 0x202020}

#include <cstdint>
#include <cstring>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "imgproc/drawing/Colour.h"
#include "imgproc/kernels/Warp.h"
#include "node/Registration.h"

class WarpAffine : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;
    using Matrix = zun::Mat<float, 2>;

    std::string borderColour;
    bool inverted = false;
    zun::Vec2i size{};
    zun::InputStream<Frame> image;
    zun::InputStream<Matrix> transform;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "WarpAffine",
                                           .sourcePath = "imgproc/WarpAffine",
                                           .summary = "Resamples a colour frame through an affine matrix"};
        static constexpr auto inputs = zun::rows(
            zun::input("image", "zun::Mat<zun::Vec<unsigned char, 3>, 2>", &WarpAffine::image, "the frame"),
            zun::input("transform", "zun::Mat<float, 2>", &WarpAffine::transform,
                       "the matrix, 2 rows of 3: x' = a x + b y + c, y' = d x + e y + f, x being the column"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<zun::Vec<unsigned char, 3>, 2>", &WarpAffine::output,
                                  "the warped frame, on storage of its own"));
        static constexpr auto options =
            zun::rows(zun::option("borderColour", "std::string", "0x000000", &WarpAffine::borderColour,
                                  "colour string of what lies outside the frame")
                          .is(zun::OptionKind::Colour),
                      zun::option("inverted", "bool", "false", &WarpAffine::inverted,
                                  "false: the matrix maps the frame to the output; true: the output to the frame"),
                      zun::requiredOption("size", "zun::Vec2i", &WarpAffine::size, "rows and columns of the output")
                          .is(zun::OptionKind::Pixels)
                          .atLeast(1));
    };

    /// A borderColour that the node refuses itself passes.
    zun::Verdict guard(zun::Arriving const &in) const {
        if (!isColour(borderColour)) return zun::pass;
        Matrix const *const matrix = in[transform];
        if (matrix != nullptr && matrix->count < std::uint64_t(matrix->shape[1]) + 3)
            return zun::refuse(transform, "the transform has ", sizeOf(*matrix),
                               "; send a matrix of at least 2 rows and 3 columns");
        std::uint64_t const pixels = hasPixels() ? std::uint64_t(size[0]) * std::uint64_t(size[1])
                                                 : static_cast<unsigned>(zun::wrappingMultiply(size[0], size[1]));
        if (pixels <= zun::mostBytes / sizeof(zun::Vec3b)) return zun::pass;
        return zun::refuse(image, "the option size is (", size[0], ", ", size[1],
                           "), which is larger than any frame may be", hasPixels() ? "" : ", as its product wraps",
                           "; set it to the rows and columns that the output is to have");
    }

    void process(zun::Tick tick) override {
        zun::Vec3b const border = parseColour(borderColour);
        Matrix const matrix = readStream(tick, transform);
        Frame const frame = readStream(tick, image);
        zun::kernels::AffineMap const given = mapOf(matrix);
        zun::kernels::AffineMap const toFrame = inverted ? given : zun::kernels::inverse(given);

        Frame const warped({static_cast<std::uint32_t>(size[0]), static_cast<std::uint32_t>(size[1])});
        if (hasPixels())
            zun::kernels::warpAffine(frame.first(), {frame.shape[0], frame.shape[1]}, toFrame, border, warped.first(),
                                     {warped.shape[0], warped.shape[1]});
        else if (warped.count != 0)
            std::memset(static_cast<void *>(warped.first()), 0, warped.bytes()); // the same in every run
        writeStream(tick, output, warped);
    }

private:
    /// With a size below 1 there is nothing to warp. The output is as large as 32 bits have the product.
    bool hasPixels() const { return size[0] > 0 && size[1] > 0; }

    static zun::kernels::AffineMap mapOf(Matrix const &matrix) {
        float const *const x = matrix.first(), *const y = x + matrix.shape[1];
        return {x[0], x[1], x[2], y[0], y[1], y[2]};
    }
};

static zun::Registration<WarpAffine> const registration;
