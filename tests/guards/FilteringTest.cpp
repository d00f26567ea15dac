#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Grey = Mat<unsigned char, 2>;
using Options = std::map<std::string, int>;

test::Guarded guarded(std::string const &type, Options const &options) {
    std::map<std::string, OptionNode> nodes;
    for (auto const &[name, value] : options) nodes[name] = OptionNode::ofInt(value);
    return test::Guarded(type, nodes);
}

std::string faultOf(std::string const &type, Options const &options, std::shared_ptr<Variant> const &frame) {
    auto const refusal = guarded(type, options).refusal({{"input", frame}});
    return refusal ? refusal->port + ": " + refusal->reason : "";
}

Options box(int width, int height) { return {{"kernelSizeX", width}, {"kernelSizeY", height}}; }
Options bins(int count) { return {{"histogramSize", count}}; }
Options windows(int stepX, int stepY, int width, int height) {
    return {{"stepX", stepX}, {"stepY", stepY}, {"windowWidth", width}, {"windowHeight", height}};
}

TEST(FilteringGuards, RefuseWhatHasNoPixelsNoEndOrNothingToDivideBy) {
    constexpr int largest = 2147483647;
    char const *const blur = "GreyBoxBlur", *const rgb = "RGBBoxBlur", *const grey = "NormalizeGreyImage",
                      *const ycbcr = "NormalizeYCbCrImage", *const sliding = "SlidingWindowNormalizeGreyImage";
    struct {
        char const *type;
        Shape<2> shape;
        Options options;
        char const *fault;
    } const cases[] = {
        {blur, {4, 6}, box(1, 100), ""},
        {rgb, {4, 6}, box(0, 3), "kernelSizeX is 0; set it to 1 or more"},
        {blur, {4, 6}, box(3, -2), "kernelSizeY is -2"},
        {blur, {0, 6}, box(0, -1), ""},
        {rgb, {4, 0}, box(-1, largest), ""},
        {blur, {4, 6}, box(40000, 40000), ""},
        {rgb, {4, 6}, box(40000, 40000), "4 rows and 6 columns, with kernelSizeX 40000"}, // three times the bytes
        {blur, {1, 1}, box(largest - 1, 1), ""},
        {blur, {1, 1}, box(largest, 1), "larger than any"}, // a sum past 32 bits
        {grey, {1, 1}, {}, ""},
        {grey, {0, 7}, {}, "frame of 0 rows and 7 columns is empty"},
        {ycbcr, {1, 1}, bins(largest), ""},
        {ycbcr, {1, 1}, bins(0), "histogramSize is 0; set it to 1 or more"},
        {ycbcr, {1, 1}, bins(-largest - 1), ""}, // the node fails by itself
        {ycbcr, {7, 0}, bins(0), ""},
        {sliding, {9, 9}, windows(3, 4, 3, 4), ""},
        {sliding, {9, 9}, windows(largest, largest, largest, largest), ""},
        {sliding, {9, 9}, windows(12, 10, 9, 9), ""}, // the first window covers all
        {sliding, {9, 9}, windows(0, 1, 3, 3), "stepX is 0; set it to 1 or more"},
        {sliding, {9, 9}, windows(1, -1, 3, 3), "stepY is -1"},
        {sliding, {9, 9}, windows(1, 1, 0, 3), "windowWidth is 0"},
        {sliding, {9, 9}, windows(1, 1, 3, -3), "windowHeight is -3"},
        {sliding, {9, 9}, windows(4, 1, 3, 3), "column 3 lies under no window, with stepX 4 and windowWidth 3"},
        {sliding, {9, 9}, windows(1, 5, 3, 4), "row 4 lies under no window, with stepY 5 and windowHeight 4"},
        {sliding, {0, 9}, windows(0, 0, 0, 0), ""}, // no row to move over
        {sliding, {9, 0}, windows(0, 1, 0, 0), ""},
        {sliding, {9, 0}, windows(1, 0, 3, 3), "stepY is 0"},
        {sliding, {511, 511}, windows(1, 1, 256, 256), "row 255, column 255 hold a multiple of 2^32 pixels"},
        {sliding, {511, 511}, windows(1, 1, 256, 255), ""},
    };
    for (auto const &[type, shape, options, fault] : cases) {
        auto const frame = type == rgb     ? test::valueOf(Mat<Vec3b, 2>(shape))
                           : type == ycbcr ? test::valueOf(Mat<Vec3f, 2>(shape))
                                           : test::valueOf(Grey(shape));
        std::string const found = faultOf(type, options, frame);
        EXPECT_EQ(found.empty(), std::string(fault).empty()) << type << ": " << found << fault;
        EXPECT_TRUE(found.empty() || found.starts_with("input: ")) << found;
        EXPECT_NE(found.find(fault), std::string::npos) << type << ": " << found;
    }
}

/// The lengths of the windows over each position, by the definition.
std::vector<std::uint32_t> totals(int extent, int step, int length) {
    std::vector<std::uint32_t> result(static_cast<std::size_t>(extent));
    for (int begin = 0; begin < extent; begin += step)
        for (int end = std::min(begin + length, extent), i = begin; i < end; i++)
            result[static_cast<std::size_t>(i)] += static_cast<std::uint32_t>(end - begin);
    return result;
}

TEST(FilteringGuards, PassWindowsThatGiveEveryPixelATotalAndNoOthers) {
    std::mt19937 random(1);
    int passed = 0, refused = 0;
    for (int round = 0; round < 2000; round++) {
        bool const large = round % 50 == 0; // windows of 2^8, whose totals are multiples of powers of two up to 2^16
        auto const extent = [&] { return (large ? 500 : 1) + static_cast<int>(random() % 16); };
        auto const step = [&] { return large ? 1 << random() % 3 : 1 + static_cast<int>(random() % 8); };
        auto const length = [&] { return large ? 256 : 1 + static_cast<int>(random() % 14); };
        int const rows = extent(), columns = extent(), stepX = step(), stepY = step(), width = length(),
                  height = length();
        bool divides = true;
        auto const along = totals(columns, stepX, width);
        for (std::uint32_t const total : totals(rows, stepY, height))
            divides = divides && std::ranges::all_of(along, [&](std::uint32_t other) { return total * other != 0; });

        auto const frame = test::valueOf(test::randomFrame<unsigned char>(unsigned(rows), unsigned(columns), random));
        auto const options = windows(stepX, stepY, width, height);
        std::string const fault = faultOf("SlidingWindowNormalizeGreyImage", options, frame);
        ASSERT_EQ(fault.empty(), divides) << fault << " of " << rows << " x " << columns;
        if (divides && !large) guarded("SlidingWindowNormalizeGreyImage", options).output({{"input", frame}});
        (divides ? passed : refused)++;
    }
    EXPECT_GT(passed, 300);
    EXPECT_GT(refused, 300);
}

} // namespace
} // namespace zun
