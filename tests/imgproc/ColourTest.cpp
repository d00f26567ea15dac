#include "ImgprocNode.h"

namespace zun::test {
namespace {

using Colours = std::vector<Vec3b>;
using Triples = std::vector<Vec3f>;
Ports const allOutputs{"BGR", "Binary", "Grey", "RGB", "YCbCr"};

OneNode node(Ports const &inputs, Ports const &outputs, int threshold = 128) {
    return nodeOf("ConvertColour", {{"binaryThreshold", threshold}}, inputs, outputs);
}

/// The outputs that are written for a frame; the one of the input's own kind shares its storage.
template <class T>
Ports written(std::string const &input, Mat<T, 2> const &frame, Ports const &connected = allOutputs) {
    Ports result;
    for (auto const &[port, value] : node({input}, connected).run({{input, valueOf(frame)}})) {
        result.insert(port);
        EXPECT_TRUE(port != input || (held<Mat<T, 2>>(value).first() == frame.first()));
    }
    return result;
}

/// What pixels become, with all outputs connected.
template <class To, class From>
std::vector<To> converted(std::string const &input, std::vector<From> const &pixels, std::string const &output,
                          int threshold = 128) {
    auto const frame = frameOf({1, std::uint32_t(pixels.size())}, pixels);
    return elements(held<Mat<To, 2>>(node({input}, allOutputs, threshold).run({{input, valueOf(frame)}}).at(output)));
}

TEST(ConvertColour, TakesExactlyOneInputNotCountingBgr) {
    for (Ports const &inputs : {Ports{}, Ports{"BGR"}, Ports{"RGB", "Grey"}, Ports{"BGR", "RGB", "ARGB"}})
        expectFailureWithoutLocation([&] { node(inputs, allOutputs); },
                                     "You must connect exactly one input of ConvertColour");
    auto const read = valueOf(Frame({1, 1}, {1, 2, 3})), other = valueOf(Frame());
    Values const outputs = node({"BGR", "RGB"}, {"BGR"}).run({{"RGB", read}, {"BGR", other}});
    EXPECT_EQ(elements(held<Frame>(outputs.at("BGR"))), (Colours{{3, 2, 1}}));
}

TEST(ConvertColour, WritesWhatEachInputReachesAndSharesWhatItDoesNotChange) {
    Ports const notBgr{"Binary", "Grey", "RGB", "YCbCr"};
    Frame const three({1, 1}, {});
    Mat<Vec4b, 2> const four({1, 1}, {});
    Grey const cells({1, 1}, 0);
    EXPECT_EQ(written("RGB", three), allOutputs);
    EXPECT_EQ(written("RGB", Frame()), allOutputs);
    EXPECT_EQ(written("YCbCr", Floats({1, 1}, {})), allOutputs);
    EXPECT_EQ(written("Binary", cells), allOutputs);
    EXPECT_EQ(written("BGRA", four), notBgr);
    EXPECT_EQ(written("ARGB", four), notBgr);
    EXPECT_EQ(written("RGBA", four), Ports{"RGB"});
    EXPECT_EQ(written("Grey", cells), notBgr);
    EXPECT_EQ(written("Grey", cells, {"BGR", "RGB"}), Ports{"RGB"});
    EXPECT_EQ(written("Grey", cells, {"BGR"}), Ports{"-"}) << "to RGB, which isn't connected";
    for (std::string const &output : allOutputs) EXPECT_EQ(written("RGB", three, {output}), Ports{output});
}

TEST(ConvertColour, PicksAndWeighsChannelsByTheirOrder) {
    std::vector<Vec4b> const four{{10, 20, 30, 40}, {200, 0, 0, 0}};
    EXPECT_EQ(converted<Vec3b>("BGRA", four, "RGB"), (Colours{{30, 20, 10}, {0, 0, 200}}));
    EXPECT_EQ(converted<Vec3b>("ARGB", four, "RGB"), (Colours{{20, 30, 40}, {0, 0, 0}}));
    EXPECT_EQ(converted<Vec3b>("RGBA", four, "RGB"), (Colours{{10, 20, 30}, {200, 0, 0}}));
    // .114 * 10 + .587 * 20 + .299 * 30, and .114 * 200: ARGB is weighed as if it were BGRA.
    for (char const *input : {"BGRA", "ARGB"})
        EXPECT_EQ(converted<unsigned char>(input, four, "Grey"), (Bytes{21, 22}));
    Colours const three{{255, 255, 255}, {100, 100, 100}, {255, 0, 0}, {0, 0, 255}};
    EXPECT_EQ(converted<unsigned char>("RGB", three, "Grey"), (Bytes{255, 100, 76, 29}));
    EXPECT_EQ(converted<Vec3b>("RGB", three, "BGR"),
              (Colours{{255, 255, 255}, {100, 100, 100}, {0, 0, 255}, {255, 0, 0}}));
}

TEST(ConvertColour, ScalesYCbCrByWhereItComesFrom) {
    constexpr float part = 1 / 256.0f;
    Triples const red{{0.299f * part * 255, -0.168736f * part * 255, 0.5f * part * 255}};
    EXPECT_EQ(converted<Vec3f>("RGB", Colours{{255, 0, 0}}, "YCbCr"), red);
    EXPECT_EQ(converted<Vec3f>("BGRA", std::vector<Vec4b>{{0, 0, 255, 77}}, "YCbCr"), red);
    EXPECT_EQ(converted<Vec3f>("ARGB", std::vector<Vec4b>{{77, 255, 0, 0}}, "YCbCr"), red);
    EXPECT_EQ(converted<Vec3f>("Grey", Bytes{255, 3}, "YCbCr"), (Triples{{255, 0, 0}, {3, 0, 0}}));
}

TEST(ConvertColour, ClampsTheColoursOfYCbCrAndCutsItsGrey) {
    // YCbCr, its RGB, its BGR, which is made of (Cr, Cb, Y), and its grey. The first one's blue is 256 * (.5 + 1.772 *
    // .25 - .081312 * .125).
    using Row = std::tuple<Vec3f, Vec3b, Vec3b, unsigned char>;
    for (auto const &[yCbCr, rgb, bgr, grey] :
         {Row({0.5f, 0.25f, 0.125f}, {172, 83, 238}, {211, 0, 135}, 0), Row({2, 0, 0}, {255, 255, 255}, {255, 0, 0}, 2),
          Row({-2, 0, 0}, {0, 0, 0}, {0, 255, 41}, 254), Row({300.9f, 0, 0}, {255, 255, 255}, {255, 0, 0}, 44),
          Row({3e9f, 0, 0}, {255, 255, 255}, {255, 0, 0}, 0),
          Row({1, infinity, 0}, {0, 0, 255}, {0, 0, 0}, 0), // 0 * infinity
          Row({nan, 0, 0}, {0, 0, 0}, {0, 0, 0}, 0)}) {
        SCOPED_TRACE(testing::Message() << yCbCr[0] << ", " << yCbCr[1] << ", " << yCbCr[2]);
        EXPECT_EQ(converted<Vec3b>("YCbCr", Triples{yCbCr}, "RGB"), Colours{rgb});
        EXPECT_EQ(converted<Vec3b>("YCbCr", Triples{yCbCr}, "BGR"), Colours{bgr});
        EXPECT_EQ(converted<unsigned char>("YCbCr", Triples{yCbCr}, "Grey"), Bytes{grey});
    }
}

TEST(ConvertColour, ThresholdsGreyButNegatesBinary) {
    for (auto const &[threshold, binary] : std::map<int, Bytes>{{-5, {1, 1, 1}}, {128, {0, 1, 1}}, {384, {0, 0, 0}}})
        EXPECT_EQ(converted<unsigned char>("Grey", Bytes{127, 128, 255}, "Binary", threshold), binary);
    Bytes const binary{0, 1, 3};
    EXPECT_EQ(converted<unsigned char>("Binary", binary, "Binary"), binary);
    EXPECT_EQ(converted<unsigned char>("Binary", binary, "Grey"), (Bytes{0, 255, 253}));
    EXPECT_EQ(converted<Vec3f>("Binary", binary, "YCbCr"), (Triples{{0, 0, 0}, {255, 0, 0}, {253, 0, 0}}));
    for (char const *output : {"RGB", "BGR"})
        EXPECT_EQ(converted<Vec3b>("Binary", binary, output), (Colours{{0, 0, 0}, {255, 255, 255}, {253, 253, 253}}));
}

TEST(NegativeImage, ComplementsEveryByteOntoStorageOfItsOwn) {
    std::mt19937 random(1);
    Frame const frame = randomFrame<Vec3b>(64, 33, random), before = frame.clone();
    Frame const result = filtered("NegativeImage", {}, frame);
    ASSERT_EQ(result.shape, frame.shape);
    for (std::uint32_t i = 0; i < frame.count; i++)
        for (int k = 0; k < 3; k++) ASSERT_EQ(result.first()[i][k], 255 - before.first()[i][k]) << i;
    EXPECT_EQ(elements(frame), elements(before)) << "the input is not changed";
    EXPECT_EQ(filtered("NegativeImage", {}, Frame({0, 4})).shape, (Shape<2>{0, 4}));
}

} // namespace
} // namespace zun::test
