#include "ImgprocNode.h"
#include "containers/Mask.h"

namespace zun::test {
namespace {

using Frames = std::vector<Frame>;
using Masks = std::vector<Mask>;
using Picture = std::vector<std::string>; // rows of '.' for 0 and '#' for 1

Picture pictureOf(Grey const &mask) {
    Picture rows;
    for (std::uint32_t i = 0; i < mask.count; i++) {
        if (i % mask.shape[1] == 0) rows.emplace_back();
        rows.back() += mask.first()[i] == 0 ? '.' : mask.first()[i] == 1 ? '#' : '?';
    }
    return rows;
}

TEST(MaskFactory, MakesMasksOfTheRoundedSizes) {
    struct {
        Box box;
        int shape;
        Rect<int> rectangle;
        Picture picture;
    } const cases[] = {
        {{-7, 9, 3, 2}, 0, {-7, 9, 3, 2}, {"###", "###"}},
        {{0.5f, -0.5f, 0.5f, 1.4f}, 0, {1, -1, 1, 1}, {"#"}},
        {{0, 0, 3, 3}, 1, {0, 0, 3, 3}, {".#.", "###", ".#."}},
        {{0, 0, 3, 3}, -1, {0, 0, 3, 3}, {".#.", "###", ".#."}},
        {{0, 0, 10, 2}, 1, {0, 0, 10, 2}, {"..........", ".#########"}},
        {{0, 0, 4, 1}, 1, {0, 0, 4, 1}, {"...."}},
        {{0, 0, 4, 1}, 0, {0, 0, 4, 1}, {"####"}},
        {{0, 0, 1, 4}, 2, {0, 0, 1, 4}, {".", "#", "#", "#"}},
        {{0, 0, 8, 6}, 1, {0, 0, 8, 6}, {"........", "..#####.", ".#######", ".#######", ".#######", "..#####."}},
        {{5, 6, 0.4f, 8}, 1, {5, 6, 0, 8}, {}},
        {{5, 6, 8, -0.4f}, 0, {5, 6, 8, 0}, {}},
        {{5, 6, 0, nan}, 1, {5, 6, 0, smallest}, {}},
    };
    for (auto const &[box, shape, rectangle, picture] : cases) {
        Values const inputs{{"rectangles", valueOf(std::vector<Box>{{0, 0, 1, 1}, box})}};
        Masks const masks = run<Masks>("MaskFactory", {{"maskShape", shape}}, inputs, "masks");
        ASSERT_EQ(masks.size(), 2u);
        EXPECT_EQ(masks[1].rectangle, rectangle);
        EXPECT_EQ(masks[1].mask.shape, (Shape<2>{unsigned(rectangle.height), unsigned(rectangle.width)}));
        EXPECT_EQ(pictureOf(masks[1].mask), picture);
    }
}

TEST(EllipseMask, BlackensWhatLiesOutsideOfALargerEllipse) {
    std::map<Shape<2>, Picture> const pictures{
        {{0, 4}, {}},
        {{1, 4}, {"####"}},
        {{3, 3}, {"###", "###", "###"}},
        {{2, 10}, {".....#....", "##########"}},
        {{6, 8}, {"....#...", "..#####.", ".#######", "########", ".#######", "..#####."}},
        {{7, 4}, {".###", ".###", ".###", "####", ".###", ".###", ".###"}},
    };
    std::mt19937 random(2);
    for (auto const &[shape, picture] : pictures) {
        Frame const frame = randomFrame<Vec3b>(shape[0], shape[1], random), before = frame.clone();
        Frame const result = filtered("EllipseMask", {}, frame);
        Grey const kept(shape);
        for (std::uint32_t i = 0; i < frame.count; i++)
            kept.first()[i] = result.first()[i] == frame.first()[i] ? 1 : result.first()[i] == Vec3b{} ? 0 : 2;
        EXPECT_EQ(pictureOf(kept), picture);
        EXPECT_EQ(result.shape, shape);
        EXPECT_EQ(elements(frame), elements(before));
    }
}

Frame apply(Masks const &masks, Frames const &sources, Frame const &target, bool fullSize = true) {
    return run<Frame>(
        "ApplyMask", {{"fullSize", fullSize}},
        {{"masks", valueOf(masks)}, {"sourceFrames", valueOf(sources)}, {"targetFrames", valueOf(target)}},
        "maskedFrames");
}

TEST(ApplyMask, PastesIntoTheFrameItReads) {
    Frame const numbers = grey({3, 4}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12});
    Frame const wide = grey({3, 5}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15});
    Mask const square{{1, 1, 2, 2}, frameOf<unsigned char>({2, 2}, {1, 0, 255, 7})};
    Mask const beginning{{1, 1, 2, 2}, frameOf<unsigned char>({3, 1}, {0, 1, 1})}; // less than its rectangle holds
    Mask const corner{{3, 2, 1, 1}, Grey({1, 1}, 1)}, firstRow{{1, 0, 3, 1}, Grey({1, 3}, 1)};
    Mask const nothing{{90, -9, 0, 5}, Grey({5, 0})};
    struct {
        Masks masks;
        Frames sources;
        bool fullSize;
        Bytes result; // on 3 rows and 4 columns of zeros
    } const cases[] = {
        {{square}, {numbers}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 0}},
        {{square}, {wide}, true, {0, 0, 0, 0, 0, 7, 0, 0, 0, 12, 13, 0}},
        {{square}, {numbers}, false, {0, 0, 0, 0, 0, 1, 0, 0, 0, 3, 4, 0}},
        {{beginning}, {numbers}, true, {0, 0, 0, 0, 0, 0, 7, 0, 0, 10, 0, 0}},
        {{nothing}, {numbers}, true, Bytes(12)},
        {{square, corner}, {numbers, wide}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 14}},
        {{corner, square, nothing}, {numbers}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 12}},
        {{square}, {wide, numbers}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 0}}, // the later one lies above
        {{beginning, square}, {numbers, wide}, false, {0, 0, 0, 0, 0, 1, 2, 0, 0, 3, 4, 0}},
    };
    for (auto const &[masks, sources, fullSize, expected] : cases) {
        Frame const target({3, 4}, {}), result = apply(masks, sources, target, fullSize);
        EXPECT_EQ(result.first(), target.first());
        EXPECT_EQ(elements(result), elements(grey({3, 4}, expected))) << &expected - &cases[0].result;
    }
    EXPECT_EQ(elements(apply({firstRow}, {numbers}, numbers, false)),
              elements(grey({3, 4}, {1, 1, 1, 1, 5, 6, 7, 8, 9, 10, 11, 12})))
        << "what is pasted is pasted on";
}

TEST(ApplyMask, PairsListsOfOneOrOfEqualLengthOnly) {
    Mask const all{{0, 0, 1, 1}, Grey({1, 1}, 255)};
    Frame const target = grey({1, 1}, {9}), source = grey({1, 1}, {1});
    auto const paste = [&](std::size_t masks, std::size_t sources) {
        apply(Masks(masks, all), Frames(sources, source), target);
    };
    for (auto const &[masks, sources] : {std::pair{0u, 2u}, {2u, 0u}, {2u, 3u}, {3u, 2u}})
        expectFailureAt([&, m = masks, s = sources] { paste(m, s); },
                        "Must provide either 1 mask/sourceFrame, or the same number of both",
                        "imgproc/ApplyMask:", "masks.size() == sourceFrames.size()");
    for (auto const &[masks, sources] : {std::pair{0u, 0u}, {0u, 1u}, {1u, 0u}}) paste(masks, sources);
    EXPECT_EQ(target.first()[0], (Vec3b{9, 9, 9}));
}

} // namespace
} // namespace zun::test
