// Converts a frame from the colour format of the one connected input to that of every connected output. YCbCr made from
// colour lies between 0 and 1; made from grey or binary, Y reaches 255, and grey is made from Y in that range.
//
//   - type: ConvertColour
//     inputs: {RGB: photo}
//     outputs: {Grey: grey, Binary: mask}
//     options: {binaryThreshold: 100}

#include <array>
#include <type_traits>

#include "containers/Mat.h"
#include "imgproc/kernels/Colour.h"
#include "imgproc/kernels/Threshold.h"
#include "node/Registration.h"

namespace {

using zun::kernels::Weights;

template <std::size_t N>
constexpr std::array<std::array<float, N>, 3> scaled(std::array<std::array<float, N>, 3> weights, float factor) {
    for (auto &row : weights)
        for (float &weight : row) weight *= factor;
    return weights;
}

constexpr Weights<3> rgbToYCbCr =
    scaled<3>({{{0.299f, 0.587f, 0.114f}, {-0.168736f, -0.331264f, 0.5f}, {0.5f, -0.418688f, -0.081312f}}}, 1 / 256.0f);
constexpr Weights<4> bgraToYCbCr = scaled<4>(
    {{{0.114f, 0.587f, 0.299f, 0.0f}, {0.5f, -0.331264f, -0.168736f, 0.0f}, {-0.081312f, -0.418688f, 0.5f, 0.0f}}},
    1 / 256.0f);
constexpr Weights<4> argbToYCbCr = scaled<4>(
    {{{0.0f, 0.299f, 0.587f, 0.114f}, {0.0f, -0.168736f, -0.331264f, 0.5f}, {0.0f, 0.5f, -0.418688f, -0.081312f}}},
    1 / 256.0f);
/// Blue takes a share of Cr: users count on the colours that this gives.
constexpr Weights<3> yCbCrToRgb =
    scaled<3>({{{1.0f, 0.0f, 1.402f}, {1.0f, -0.344136f, -0.714136f}, {1.0f, 1.772f, -0.081312f}}}, 256.0f);
constexpr Weights<3> reversed = {{{0.0f, 0.0f, 1.0f}, {0.0f, 1.0f, 0.0f}, {1.0f, 0.0f, 0.0f}}};

constexpr std::array<float, 3> greyOfRgb = {0.299f, 0.587f, 0.114f};
/// In the order of BGRA, and used for ARGB as well.
constexpr std::array<float, 4> greyOfFour = {0.114f, 0.587f, 0.299f, 0.0f};
constexpr std::array<float, 3> yOfYCbCr = {1.0f, 0.0f, 0.0f};

using Channels = std::array<int, 3>;

} // namespace

class ConvertColour : public zun::Node {
    using Cells = zun::Mat<unsigned char, 2>;
    using Frame3 = zun::Mat<zun::Vec3b, 2>;
    using Frame4 = zun::Mat<zun::Vec4b, 2>;
    using Floats = zun::Mat<zun::Vec3f, 2>;

    enum class InputKind : int { RGB, BGR, BGRA, ARGB, RGBA, YCbCr, Grey, Binary };

    InputKind inputKind = InputKind::RGB;
    int binaryThreshold = 128;
    zun::InputStream<Frame4> argb;
    zun::InputStream<Frame3> bgr;
    zun::InputStream<Frame4> bgra;
    zun::InputStream<Cells> binary;
    zun::InputStream<Cells> grey;
    zun::InputStream<Frame3> rgb;
    zun::InputStream<Frame4> rgba;
    zun::InputStream<Floats> yCbCr;
    zun::OutputStream<Frame3> toBgr;
    zun::OutputStream<Cells> toBinary;
    zun::OutputStream<Cells> toGrey;
    zun::OutputStream<Frame3> toRgb;
    zun::OutputStream<Floats> toYCbCr;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "ConvertColour",
                                           .sourcePath = "imgproc/ConvertColour",
                                           .classCode = 1,
                                           .summary = "Converts a frame to other colour formats"};
        static constexpr auto inputs = zun::rows(
            zun::optionalInput("ARGB", "zun::Mat<zun::Vec4b, 2>", &ConvertColour::argb, "alpha, red, green, blue"),
            zun::optionalInput("BGR", "zun::Mat<zun::Vec3b, 2>", &ConvertColour::bgr,
                               "blue, green, red; not read: connect another input"),
            zun::optionalInput("BGRA", "zun::Mat<zun::Vec4b, 2>", &ConvertColour::bgra, "blue, green, red, alpha"),
            zun::optionalInput("Binary", "zun::Mat<unsigned char, 2>", &ConvertColour::binary, "cells of 0 and 1"),
            zun::optionalInput("Grey", "zun::Mat<unsigned char, 2>", &ConvertColour::grey, "grey, 0 to 255"),
            zun::optionalInput("RGB", "zun::Mat<zun::Vec3b, 2>", &ConvertColour::rgb, "red, green, blue"),
            zun::optionalInput("RGBA", "zun::Mat<zun::Vec4b, 2>", &ConvertColour::rgba,
                               "red, green, blue, alpha; gives RGB only"),
            zun::optionalInput("YCbCr", "zun::Mat<zun::Vec3f, 2>", &ConvertColour::yCbCr,
                               "Y, Cb, Cr; colour is made from Y in 0 to 1, grey from Y in 0 to 255"));
        static constexpr auto outputs =
            zun::rows(zun::output("BGR", "zun::Mat<zun::Vec3b, 2>", &ConvertColour::toBgr,
                                  "blue, green, red, from RGB, YCbCr or Binary")
                          .shapedLike(zun::connectedInput),
                      zun::output("Binary", "zun::Mat<unsigned char, 2>", &ConvertColour::toBinary,
                                  "1 where the frame is at least as bright as the threshold, otherwise 0")
                          .shapedLike(zun::connectedInput),
                      zun::output("Grey", "zun::Mat<unsigned char, 2>", &ConvertColour::toGrey,
                                  "grey, 0 to 255, from any input but RGBA")
                          .shapedLike(zun::connectedInput),
                      zun::output("RGB", "zun::Mat<zun::Vec3b, 2>", &ConvertColour::toRgb, "red, green, blue")
                          .shapedLike(zun::connectedInput),
                      zun::output("YCbCr", "zun::Mat<zun::Vec3f, 2>", &ConvertColour::toYCbCr,
                                  "Y, Cb, Cr, from any input but RGBA: Y below 1 from colour, up to 255 from others")
                          .shapedLike(zun::connectedInput));
        static constexpr auto options =
            zun::rows(zun::option("binaryThreshold", "int", "128", &ConvertColour::binaryThreshold,
                                  "the least grey, 0 to 255, that is 1 in Binary")
                          .between(0, 255));
    };

    void initialize() override {
        int count = 0;
        auto const countIf = [&](auto const &stream, InputKind kind) {
            if (!stream.connected()) return;
            inputKind = kind;
            count++;
        };
        countIf(rgb, InputKind::RGB);
        countIf(argb, InputKind::ARGB);
        countIf(rgba, InputKind::RGBA);
        countIf(bgra, InputKind::BGRA);
        countIf(yCbCr, InputKind::YCbCr);
        countIf(grey, InputKind::Grey);
        countIf(binary, InputKind::Binary);
        if (count != 1) zun::failWithoutLocation("You must connect exactly one input of ConvertColour");
    }

    void process(zun::Tick tick) override {
        switch (inputKind) {
        case InputKind::RGB:
            return fromThree(tick, rgb, toRgb, toBgr);
        case InputKind::BGR:
            return fromThree(tick, bgr, toBgr, toRgb); // initialize() never chooses it
        case InputKind::BGRA:
            return fromFour(tick, bgra, {2, 1, 0}, bgraToYCbCr);
        case InputKind::ARGB:
            return fromFour(tick, argb, {1, 2, 3}, argbToYCbCr);
        case InputKind::RGBA:
            return fromRgba(tick);
        case InputKind::YCbCr:
            return fromYCbCr(tick);
        case InputKind::Grey:
            return fromGrey(tick);
        case InputKind::Binary:
            return fromBinary(tick);
        }
    }

private:
    /// A frame of the same shape that a kernel fills.
    template <class To, class From, class... Parameters>
    static zun::Mat<To, 2>
    converted(zun::Mat<From, 2> const &frame,
              std::type_identity_t<void (*)(From const *, To *, std::uint32_t, Parameters...)> kernel,
              Parameters const &...parameters) {
        zun::Mat<To, 2> const result(frame.shape);
        kernel(frame.first(), result.first(), frame.count, parameters...);
        return result;
    }

    static Frame3 allChannels(Cells const &cells) { return converted<zun::Vec3b>(cells, zun::kernels::broadcast); }

    bool wantsTail() const { return toGrey.connected() || toBinary.connected(); }

    void writeTail(zun::Tick tick, Cells const &cells) {
        if (toGrey.connected()) writeStream(tick, toGrey, cells);
        if (toBinary.connected())
            writeStream(tick, toBinary, converted<unsigned char>(cells, zun::kernels::setAtLeast, binaryThreshold));
    }

    /// `same` has the channels in the input's order, `other` in the reverse.
    void fromThree(zun::Tick tick, zun::InputStream<Frame3> const &stream, zun::OutputStream<Frame3> const &same,
                   zun::OutputStream<Frame3> const &other) {
        Frame3 const frame = readStream(tick, stream);
        if (same.connected()) writeStream(tick, same, frame);
        if (other.connected()) writeStream(tick, other, converted<zun::Vec3b>(frame, zun::kernels::reverseChannels));
        if (toYCbCr.connected())
            writeStream(tick, toYCbCr, converted<zun::Vec3f>(frame, zun::kernels::multiply, rgbToYCbCr));
        if (wantsTail()) writeTail(tick, converted<unsigned char>(frame, zun::kernels::weightedSum, greyOfRgb));
    }

    void fromFour(zun::Tick tick, zun::InputStream<Frame4> const &stream, Channels const &redGreenBlue,
                  Weights<4> const &yCbCrWeights) {
        Frame4 const frame = readStream(tick, stream);
        if (toRgb.connected())
            writeStream(tick, toRgb, converted<zun::Vec3b>(frame, zun::kernels::pickChannels, redGreenBlue));
        if (toYCbCr.connected())
            writeStream(tick, toYCbCr, converted<zun::Vec3f>(frame, zun::kernels::multiplyFour, yCbCrWeights));
        if (wantsTail()) writeTail(tick, converted<unsigned char>(frame, zun::kernels::weightedSumOfFour, greyOfFour));
    }

    void fromRgba(zun::Tick tick) {
        Frame4 const frame = readStream(tick, rgba);
        if (toRgb.connected())
            writeStream(tick, toRgb, converted<zun::Vec3b>(frame, zun::kernels::pickChannels, Channels{0, 1, 2}));
    }

    void fromYCbCr(zun::Tick tick) {
        Floats const frame = readStream(tick, yCbCr);
        if (toRgb.connected())
            writeStream(tick, toRgb, converted<zun::Vec3b>(frame, zun::kernels::multiplyToBytes, yCbCrToRgb));
        // The triple is reversed and then converted: blue, green and red stand in no order in what comes out.
        if (toBgr.connected())
            writeStream(tick, toBgr,
                        converted<zun::Vec3b>(frame, zun::kernels::multiplyTwiceToBytes, reversed, yCbCrToRgb));
        if (toYCbCr.connected()) writeStream(tick, toYCbCr, frame);
        if (wantsTail()) writeTail(tick, converted<unsigned char>(frame, zun::kernels::weightedSumOfFloats, yOfYCbCr));
    }

    void fromGrey(zun::Tick tick) {
        Cells const cells = readStream(tick, grey);
        if (toRgb.connected()) writeStream(tick, toRgb, allChannels(cells));
        // A connected BGR brings this frame to RGB, a second time if that is connected too; BGR gets nothing.
        if (toBgr.connected()) writeStream(tick, toRgb, allChannels(cells));
        if (toYCbCr.connected()) writeStream(tick, toYCbCr, converted<zun::Vec3f>(cells, zun::kernels::toFirstChannel));
        if (wantsTail()) writeTail(tick, cells);
    }

    void fromBinary(zun::Tick tick) {
        Cells const cells = readStream(tick, binary);
        if (toRgb.connected() || toBgr.connected() || toYCbCr.connected() || toGrey.connected()) {
            Cells const intensity = converted<unsigned char>(cells, zun::kernels::negate);
            if (toRgb.connected()) writeStream(tick, toRgb, allChannels(intensity));
            if (toBgr.connected()) writeStream(tick, toBgr, allChannels(intensity));
            if (toYCbCr.connected())
                writeStream(tick, toYCbCr, converted<zun::Vec3f>(intensity, zun::kernels::toFirstChannel));
            if (toGrey.connected()) writeStream(tick, toGrey, intensity);
        }
        if (toBinary.connected()) writeStream(tick, toBinary, cells);
    }
};

static zun::Registration<ConvertColour> const registration;
