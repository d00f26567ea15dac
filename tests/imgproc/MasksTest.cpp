#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "ImgprocNode.h"
#include "containers/Mask.h"
#include "containers/Mat.h"
#include "support/Failures.h"
#include "support/Frames.h"

namespace zun {
namespace {

using Frame = Mat<Vec3b, 2>;
using Frames = std::vector<Frame>;
using Bytes = Mat<unsigned char, 2>;
using Masks = std::vector<Mask>;

Masks masksOf(std::vector<Box> const &boxes, int shape) {
    test::ImgprocNode node("MaskFactory", {{"maskShape", OptionNode::ofInt(shape)}});
    return test::held<Masks>(node.one.run({{"rectangles", test::valueOf(boxes)}}).at("out.masks"));
}

/// Rows of '.' and '#'.
std::vector<std::string> picture(Bytes const &mask) {
    std::vector<std::string> rows;
    for (std::uint32_t i = 0; i < mask.count; i++) {
        if (i % mask.shape[1] == 0) rows.emplace_back();
        rows.back() += mask.first()[i] == 0 ? '.' : mask.first()[i] == 1 ? '#' : '?';
    }
    return rows;
}

/// Whether a row at a distance from the centre of an ellipse holds a column at another.
bool inEllipse(int rowDistance, int columnDistance, int horizontalDiameter, int verticalDiameter) {
    float const a = float(horizontalDiameter) * 0.5f, b = float(verticalDiameter) * 0.5f;
    if (b <= 0 || float(rowDistance) > b) return false;
    return columnDistance <= int(a * std::cos(std::asin(float(rowDistance) / b)));
}

TEST(MaskFactory, MakesMasksOfTheRoundedSizes) {
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    struct {
        Box box;
        int shape;
        Rect<int> rectangle;
        std::vector<std::string> picture;
    } const cases[] = {
        {{-7, 9, 3, 2}, 0, {-7, 9, 3, 2}, {"###", "###"}},
        {{0.5f, -0.5f, 0.5f, 1.4f}, 0, {1, -1, 1, 1}, {"#"}},
        {{0, 0, 3, 3}, 1, {0, 0, 3, 3}, {".#.", "###", ".#."}},
        {{0, 0, 3, 3}, -1, {0, 0, 3, 3}, {".#.", "###", ".#."}},
        {{0, 0, 10, 2}, 1, {0, 0, 10, 2}, {"..........", ".#########"}},
        {{0, 0, 4, 1}, 1, {0, 0, 4, 1}, {"...."}},
        {{0, 0, 4, 1}, 0, {0, 0, 4, 1}, {"####"}},
        {{0, 0, 1, 4}, 2, {0, 0, 1, 4}, {".", "#", "#", "#"}},
        {{5, 6, 0.4f, 8}, 1, {5, 6, 0, 8}, {}},
        {{5, 6, 8, -0.4f}, 0, {5, 6, 8, 0}, {}},
        {{5, 6, 0, nan}, 1, {5, 6, 0, std::numeric_limits<int>::min()}, {}},
    };
    for (auto const &[box, shape, rectangle, rows] : cases) {
        Masks const masks = masksOf({{0, 0, 1, 1}, box}, shape);
        ASSERT_EQ(masks.size(), 2u);
        Mask const &mask = masks[1];
        EXPECT_EQ(mask.rectangle, rectangle);
        EXPECT_EQ(mask.mask.shape, (Shape<2>{unsigned(rectangle.height), unsigned(rectangle.width)}));
        EXPECT_EQ(mask.mask.strides, (Shape<2>{unsigned(rectangle.width), 1}));
        EXPECT_EQ(mask.mask.owner, nullptr);
        EXPECT_EQ(picture(mask.mask), rows);
    }
    EXPECT_TRUE(masksOf({}, 1).empty());
}

TEST(Ellipses, FollowTheirDefinitionInEveryPixel) {
    std::mt19937 random(2);
    test::ImgprocNode node("EllipseMask");
    for (int round = 0; round < 300; round++) {
        int const rows = int(random() % 60), columns = int(random() % 60);
        Bytes const mask = masksOf({{0, 0, float(columns), float(rows)}}, 1).at(0).mask;
        Frame const frame = test::randomFrame<Vec3b>(unsigned(rows), unsigned(columns), random), before = frame.clone();
        Frame const result = test::held<Frame>(node.output({{"input", test::valueOf(frame)}}));
        ASSERT_EQ(result.shape, frame.shape);
        ASSERT_EQ(test::elements(frame), test::elements(before));
        for (int i = 0; i < rows * columns; i++) {
            int const rowDistance = std::abs(i / columns - rows / 2), distance = std::abs(i % columns - columns / 2);
            SCOPED_TRACE(testing::Message() << rows << " x " << columns << " at " << i);
            // The two nodes draw ellipses of different sizes.
            ASSERT_EQ(mask.first()[i], inEllipse(rowDistance, distance, columns - 1, rows - 1));
            bool const kept = inEllipse(rowDistance, distance, columns, rows);
            ASSERT_EQ(result.first()[i], kept ? frame.first()[i] : Vec3b{});
        }
    }
}

struct ApplyMask : testing::Test {
    Frame apply(Masks const &masks, Frames const &sources, Frame const &target, bool fullSize = true) {
        test::ImgprocNode node("ApplyMask", {{"fullSize", OptionNode::ofBool(fullSize)}});
        test::Values const inputs{{"masks", test::valueOf(masks)},
                                  {"sourceFrames", test::valueOf(sources)},
                                  {"targetFrames", test::valueOf(target)}};
        return test::held<Frame>(node.one.run(inputs).at("out.maskedFrames"));
    }

    /// Pastes pixel by pixel, by rows and columns.
    static void paste(Mask const &mask, Frame const &source, Frame const &target, bool fullSize) {
        auto const &[x, y, width, height] = mask.rectangle;
        for (int i = 0; i < int(mask.mask.count); i++) {
            int const row = y + i / width, column = x + i % width;
            if (mask.mask.first()[i] == 0) continue;
            Vec3b const pixel = source.first()[fullSize ? row * int(source.shape[1]) + column : i];
            target.first()[row * int(target.shape[1]) + column] = pixel;
        }
    }

    /// A mask inside frames of at least 6 rows and 8 columns, sometimes of fewer elements than its rectangle.
    Mask randomMask() {
        auto const below = [&](int limit) { return int(random() % unsigned(limit)); };
        Mask mask{{below(8), below(6), 0, 0}, {}};
        mask.rectangle.width = below(9 - mask.rectangle.x);
        mask.rectangle.height = below(7 - mask.rectangle.y);
        mask.mask = Bytes({unsigned(mask.rectangle.height), unsigned(mask.rectangle.width)});
        if (random() % 4 == 0) mask.mask = mask.mask.reshape({unsigned(random() % (mask.mask.count + 1)), 1});
        for (unsigned i = 0; i < mask.mask.count; i++)
            mask.mask.first()[i] = random() % 3 == 0 ? 0 : static_cast<unsigned char>(random() % 256);
        return mask;
    }

    Frame randomFrame() {
        return test::randomFrame<Vec3b>(6 + unsigned(random() % 3), 8 + unsigned(random() % 3), random);
    }

    std::mt19937 random{3};
};

TEST_F(ApplyMask, PastesIntoTheFrameItReads) {
    for (int round = 0; round < 2000; round++) {
        bool const fullSize = round % 2 == 0;
        std::size_t const pairs = random() % 4, form = random() % 3;
        Masks masks;
        Frames sources;
        Frame const target = randomFrame();
        for (std::size_t i = 0; i < (form == 0 ? 1 : pairs); i++) masks.push_back(randomMask());
        // Now and then the target is a source as well, and what is pasted is pasted on.
        for (std::size_t i = 0; i < (form == 1 ? 1 : pairs); i++)
            sources.push_back(random() % 4 == 0 ? target : randomFrame());

        Frame const expected = target.clone();
        for (std::size_t i = 0; i < std::max(masks.size(), sources.size()); i++) {
            if (masks.empty() || sources.empty()) break;
            Frame const &source = sources[sources.size() == 1 ? 0 : i];
            paste(masks[masks.size() == 1 ? 0 : i], source.data == target.data ? expected : source, expected, fullSize);
        }
        Frame const result = apply(masks, sources, target, fullSize);
        ASSERT_EQ(result.first(), target.first());
        ASSERT_EQ(result.shape, target.shape);
        ASSERT_EQ(test::elements(target), test::elements(expected)) << "round " << round;
    }
}

TEST_F(ApplyMask, PairsListsOfOneOrOfEqualLengthOnly) {
    Mask const all{{0, 0, 1, 1}, Bytes({1, 1}, 255)};
    Frame const target({1, 1}, {9, 9, 9});
    for (std::size_t masks = 0; masks < 5; masks++)
        for (std::size_t sources = 0; sources < 5; sources++) {
            target.first()[0] = {9, 9, 9};
            Frames frames;
            for (std::size_t i = 0; i < sources; i++) frames.push_back(Frame({1, 1}, {1, 2, (unsigned char)i}));
            auto const paste = [&] { apply(Masks(masks, all), frames, target); };
            bool const pastes = (masks == 1 || sources == 1 || masks == sources) && masks * sources > 0;
            if (masks == 1 || sources == 1 || masks == sources)
                paste();
            else
                test::expectFailureAt(paste, "Must provide either 1 mask/sourceFrame, or the same number of both",
                                      "imgproc/ApplyMask:", "masks.size() == sourceFrames.size()");
            EXPECT_EQ(target.first()[0], pastes ? (Vec3b{1, 2, (unsigned char)(sources - 1)}) : (Vec3b{9, 9, 9}))
                << masks << " masks, " << sources << " sources";
        }
}

} // namespace
} // namespace zun
