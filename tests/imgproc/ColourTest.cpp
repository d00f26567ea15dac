#include <limits>
#include <set>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "support/Failures.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Ports = std::set<std::string>;
using Cells = std::vector<unsigned char>;
using Colours = std::vector<Vec3b>;
using Triples = std::vector<Vec3f>;
Ports const allOutputs{"BGR", "Binary", "Grey", "RGB", "YCbCr"};

test::OneNode node(Ports const &inputs, Ports const &outputs, int threshold = 128) {
    test::loadLibrary(ZUN_IMGPROC);
    std::map<std::string, std::string> from, to;
    for (std::string const &port : inputs) from[port] = port;
    for (std::string const &port : outputs) to[port] = port;
    return test::OneNode(NodeConfig("ConvertColour", {{"binaryThreshold", OptionNode::ofInt(threshold)}}, from, to));
}

/// What is written for a frame of one row.
template <class T>
test::Values convert(std::string const &input, std::vector<T> const &pixels, Ports const &outputs = allOutputs,
                     int threshold = 128) {
    Mat<T, 2> const frame({1, static_cast<std::uint32_t>(pixels.size())});
    std::copy(pixels.begin(), pixels.end(), frame.first());
    return node({input}, outputs, threshold).run({{input, test::valueOf(frame)}});
}

template <class T>
std::vector<T> pixels(test::Values const &written, std::string const &output) {
    return test::elements(test::held<Mat<T, 2>>(written.at(output)));
}

Ports ports(test::Values const &written) {
    Ports result;
    for (auto const &[port, value] : written) result.insert(port);
    return result;
}

TEST(ConvertColour, TakesExactlyOneInputNotCountingBgr) {
    for (Ports const &inputs : {Ports{}, Ports{"BGR"}, Ports{"RGB", "Grey"}, Ports{"BGR", "RGB", "ARGB"}})
        test::expectFailureWithoutLocation([&] { node(inputs, allOutputs); },
                                           "You must connect exactly one input of ConvertColour");
    auto const read = test::valueOf(Mat<Vec3b, 2>({1, 1}, {1, 2, 3})), other = test::valueOf(Mat<Vec3b, 2>());
    test::Values const written = node({"BGR", "RGB"}, {"BGR"}).run({{"RGB", read}, {"BGR", other}});
    EXPECT_EQ(pixels<Vec3b>(written, "BGR"), (Colours{{3, 2, 1}}));
}

TEST(ConvertColour, WritesWhatEachInputReaches) {
    Ports const notBgr{"Binary", "Grey", "RGB", "YCbCr"};
    EXPECT_EQ(ports(convert<Vec3b>("RGB", {{}})), allOutputs);
    EXPECT_EQ(ports(convert<Vec3b>("RGB", {})), allOutputs) << "an empty frame";
    EXPECT_EQ(ports(convert<Vec3f>("YCbCr", {{}})), allOutputs);
    EXPECT_EQ(ports(convert<unsigned char>("Binary", {0})), allOutputs);
    EXPECT_EQ(ports(convert<Vec4b>("BGRA", {{}})), notBgr);
    EXPECT_EQ(ports(convert<Vec4b>("ARGB", {{}})), notBgr);
    EXPECT_EQ(ports(convert<Vec4b>("RGBA", {{}})), Ports{"RGB"});
    EXPECT_EQ(ports(convert<unsigned char>("Grey", {0})), notBgr);
    EXPECT_EQ(ports(convert<unsigned char>("Grey", {0}, {"BGR", "RGB"})), Ports{"RGB"});
    EXPECT_EQ(ports(convert<unsigned char>("Grey", {0}, {"BGR"})), Ports{"-"}) << "to RGB, which isn't connected";
    for (std::string const &output : allOutputs) EXPECT_EQ(ports(convert<Vec3b>("RGB", {{}}, {output})), Ports{output});
}

TEST(ConvertColour, SharesWhatItDoesNotChange) {
    auto const expectShared = [](char const *port, auto const &frame) {
        using Frame = std::remove_cvref_t<decltype(frame)>;
        auto const written = node({port}, allOutputs).run({{port, test::valueOf(frame)}});
        EXPECT_EQ(test::held<Frame>(written.at(port)).first(), frame.first()) << port;
    };
    expectShared("RGB", Mat<Vec3b, 2>({2, 2}, {1, 2, 3}));
    expectShared("YCbCr", Mat<Vec3f, 2>({2, 2}, {1, 2, 3}));
    expectShared("Grey", Mat<unsigned char, 2>({2, 2}, 1));
    expectShared("Binary", Mat<unsigned char, 2>({2, 2}, 1));
}

TEST(ConvertColour, PicksAndWeighsChannelsByTheirOrder) {
    std::vector<Vec4b> const four{{10, 20, 30, 40}, {200, 0, 0, 0}};
    EXPECT_EQ(pixels<Vec3b>(convert("BGRA", four), "RGB"), (Colours{{30, 20, 10}, {0, 0, 200}}));
    EXPECT_EQ(pixels<Vec3b>(convert("ARGB", four), "RGB"), (Colours{{20, 30, 40}, {0, 0, 0}}));
    EXPECT_EQ(pixels<Vec3b>(convert("RGBA", four), "RGB"), (Colours{{10, 20, 30}, {200, 0, 0}}));
    // .114 * 10 + .587 * 20 + .299 * 30, and .114 * 200: ARGB is weighed as if it were BGRA.
    for (char const *input : {"BGRA", "ARGB"})
        EXPECT_EQ(pixels<unsigned char>(convert(input, four), "Grey"), (Cells{21, 22}));
    auto const written = convert<Vec3b>("RGB", {{255, 255, 255}, {100, 100, 100}, {255, 0, 0}, {0, 0, 255}});
    EXPECT_EQ(pixels<unsigned char>(written, "Grey"), (Cells{255, 100, 76, 29}));
    EXPECT_EQ(pixels<Vec3b>(written, "BGR"), (Colours{{255, 255, 255}, {100, 100, 100}, {0, 0, 255}, {255, 0, 0}}));
}

TEST(ConvertColour, ScalesYCbCrByWhereItComesFrom) {
    auto const made = [](test::Values const &written) { return pixels<Vec3f>(written, "YCbCr"); };
    constexpr float part = 1 / 256.0f;
    Triples const red{{0.299f * part * 255, -0.168736f * part * 255, 0.5f * part * 255}};
    EXPECT_EQ(made(convert<Vec3b>("RGB", {{255, 0, 0}})), red);
    EXPECT_EQ(made(convert<Vec4b>("BGRA", {{0, 0, 255, 77}})), red);
    EXPECT_EQ(made(convert<Vec4b>("ARGB", {{77, 255, 0, 0}})), red);
    EXPECT_EQ(made(convert<unsigned char>("Grey", {255, 3})), (Triples{{255, 0, 0}, {3, 0, 0}}));
    EXPECT_EQ(made(convert<unsigned char>("Binary", {0, 1, 3})), (Triples{{0, 0, 0}, {255, 0, 0}, {253, 0, 0}}));
}

TEST(ConvertColour, ClampsTheColoursOfYCbCrAndCutsItsGrey) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();
    struct {
        Vec3f yCbCr;
        Vec3b rgb, bgr; // BGR is made of (Cr, Cb, Y)
        unsigned char grey;
    } const cases[] = {
        {{0.5f, 0.25f, 0.125f}, {172, 83, 238}, {211, 0, 135}, 0}, // blue: 256 * (.5 + 1.772 * .25 - .081312 * .125)
        {{2, 0, 0}, {255, 255, 255}, {255, 0, 0}, 2},
        {{-2, 0, 0}, {0, 0, 0}, {0, 255, 41}, 254},
        {{300.9f, 0, 0}, {255, 255, 255}, {255, 0, 0}, 44},
        {{3e9f, 0, 0}, {255, 255, 255}, {255, 0, 0}, 0},
        {{1, infinity, 0}, {0, 0, 255}, {0, 0, 0}, 0}, // 0 * infinity
        {{nan, 0, 0}, {0, 0, 0}, {0, 0, 0}, 0},
    };
    for (auto const &[yCbCr, rgb, bgr, grey] : cases) {
        SCOPED_TRACE(testing::Message() << yCbCr[0] << ", " << yCbCr[1] << ", " << yCbCr[2]);
        auto const written = convert<Vec3f>("YCbCr", {yCbCr});
        EXPECT_EQ(pixels<Vec3b>(written, "RGB"), Colours{rgb});
        EXPECT_EQ(pixels<Vec3b>(written, "BGR"), Colours{bgr});
        EXPECT_EQ(pixels<unsigned char>(written, "Grey"), Cells{grey});
    }
}

TEST(ConvertColour, ThresholdsGreyButNotBinary) {
    for (auto const &[threshold, expected] : std::map<int, Cells>{{-5, {1, 1, 1}}, {128, {0, 1, 1}}, {384, {0, 0, 0}}})
        EXPECT_EQ(
            pixels<unsigned char>(convert<unsigned char>("Grey", {127, 128, 255}, allOutputs, threshold), "Binary"),
            expected);
    auto const written = convert<unsigned char>("Binary", {0, 1, 3});
    EXPECT_EQ(pixels<unsigned char>(written, "Binary"), (Cells{0, 1, 3}));
    EXPECT_EQ(pixels<unsigned char>(written, "Grey"), (Cells{0, 255, 253}));
    for (char const *output : {"RGB", "BGR"})
        EXPECT_EQ(pixels<Vec3b>(written, output), (Colours{{0, 0, 0}, {255, 255, 255}, {253, 253, 253}}));
}

} // namespace
} // namespace zun
