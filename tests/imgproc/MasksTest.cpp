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
    using Row = std::tuple<Box, int, Rect<int>, Picture>;
    for (auto const &[box, shape, rectangle, picture] :
         {Row({-7, 9, 3, 2}, 0, {-7, 9, 3, 2}, {"###", "###"}), Row({0.5f, -0.5f, 0.5f, 1.4f}, 0, {1, -1, 1, 1}, {"#"}),
          Row({0, 0, 3, 3}, 1, {0, 0, 3, 3}, {".#.", "###", ".#."}),
          Row({0, 0, 3, 3}, -1, {0, 0, 3, 3}, {".#.", "###", ".#."}),
          Row({0, 0, 10, 2}, 1, {0, 0, 10, 2}, {"..........", ".#########"}),
          Row({0, 0, 4, 1}, 1, {0, 0, 4, 1}, {"...."}), Row({0, 0, 4, 1}, 0, {0, 0, 4, 1}, {"####"}),
          Row({0, 0, 1, 4}, 2, {0, 0, 1, 4}, {".", "#", "#", "#"}),
          Row({0, 0, 8, 6}, 1, {0, 0, 8, 6}, {"........", "..#####.", ".#######", ".#######", ".#######", "..#####."}),
          Row({5, 6, 0.4f, 8}, 1, {5, 6, 0, 8}, {}), Row({5, 6, 8, -0.4f}, 0, {5, 6, 8, 0}, {}),
          Row({5, 6, 0, nan}, 1, {5, 6, 0, smallest}, {}),
          Row({5, 6, -2, -3}, 0, {5, 6, -2, -3}, {"######"}), // signs cancel, and rows are longer than all of it
          Row({5, 6, -2, -3}, 1, {5, 6, -2, -3}, {"......"}),
          Row({0, 0, 65537, 65537}, 0, {0, 0, 65537, 65537}, {std::string(65537, '#'), std::string(65536, '#')})}) {
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
        {{7, 4}, {".###", ".###", ".###", "####", ".###", ".###", ".###"}}};
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
    using Row = std::tuple<Masks, Frames, bool, Bytes>; // the last on 3 rows and 4 columns of zeros
    for (auto const &[masks, sources, fullSize, expected] :
         {Row{{square}, {numbers}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 0}},
          {{square}, {wide}, true, {0, 0, 0, 0, 0, 7, 0, 0, 0, 12, 13, 0}},
          {{square}, {numbers}, false, {0, 0, 0, 0, 0, 1, 0, 0, 0, 3, 4, 0}},
          {{beginning}, {numbers}, true, {0, 0, 0, 0, 0, 0, 7, 0, 0, 10, 0, 0}},
          {{nothing}, {numbers}, true, Bytes(12)},
          {{square, corner}, {numbers, wide}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 14}},
          {{corner, square, nothing}, {numbers}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 12}},
          {{square}, {wide, numbers}, true, {0, 0, 0, 0, 0, 6, 0, 0, 0, 10, 11, 0}}, // the later one lies above
          {{beginning, square}, {numbers, wide}, false, {0, 0, 0, 0, 0, 1, 2, 0, 0, 3, 4, 0}}}) {
        Frame const target({3, 4}, {}), result = apply(masks, sources, target, fullSize);
        EXPECT_EQ(result.first(), target.first());
        EXPECT_EQ(elements(result), elements(grey({3, 4}, expected))) << testing::PrintToString(expected);
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

TEST(MaskFactory, GuardsAgainstMasksThatDontFitInMemory) {
    auto const made = [](int shape, Box const &first, Box const &second, char const *message) -> Guarded {
        return {
            {{"maskShape", shape}}, {{"rectangles", valueOf(std::vector<Box>{first, second})}}, "rectangles", message};
    };
    Box const one{0, 0, 1, 1}, half{0, 0, 65536, 40000}, nearlyAll{0, 0, -5, 3}, wrapping{0, 0, 65536, 65536};
    expectGuarded(
        "MaskFactory",
        {made(1, {-9, -9, 3, 3}, {nan, nan, 3, 3}, ""), made(1, one, {0, 0, 0, nan}, ""),
         made(1, one, {0, 0, -5, .4f}, ""), made(1, one, {0, 0, 65536, 65535}, ""), made(0, one, wrapping, ""),
         made(1, one, wrapping, "box 1, rounded to (x 0, y 0, width 65536, height 65536), is larger than any mask"),
         made(1, one, {0, 0, -5, -3}, ""), made(1, one, nearlyAll, ""), made(0, one, {0, 0, nan, 1}, ""),
         made(0, nearlyAll, {0, 0, 5, 3.4f}, ""), // 4 GiB exactly
         made(0, nearlyAll, {0, 0, 4, 4}, "box 1, rounded to (x 0, y 0, width 4, height 4), makes a mask of 16 bytes"),
         made(1, half, half, "bytes and brings the masks to more than 4 GiB")});
}

TEST(ApplyMask, GuardsAgainstMasksThatLeaveTheMemoryOfAFrame) {
    /// For a second mask and a second source, on a target of 4 rows and 6 columns.
    auto const masked = [](bool fullSize, Rect<int> const &rectangle, Shape<2> const &mask, Shape<2> const &source,
                           std::string const &message, std::uint32_t targetPitch = 6) -> Guarded {
        Masks const masks{{{0, 0, 1, 1}, blank<unsigned char>(1, 1)},
                          {rectangle, blank<unsigned char>(mask[0], mask[1])}};
        return {{{"fullSize", fullSize}},
                {{"masks", valueOf(masks)},
                 {"sourceFrames", valueOf(Frames{blank<Vec3b>(9, 9), blank<Vec3b>(source[0], source[1])})},
                 {"targetFrames", valueOf(blank<Vec3b>(4, 6, targetPitch))}},
                message.starts_with("source") ? "sourceFrames" : "masks",
                message};
    };
    Guarded odd = masked(true, {90, 0, 1, 1}, {1, 1}, {9, 9}, "");
    odd.inputs["sourceFrames"] = valueOf(Frames(3)); // the node's own to refuse
    std::vector<Guarded> cases{
        odd,
        masked(true, {1, 1, 3, 2}, {2, 3}, {3, 3}, "source frame 1 of 3 rows and 3 columns is too small: mask 1"),
        masked(false, {1, 1, 3, 2}, {2, 3}, {3, 3}, ""),
        masked(true, {0, 0, 3, 2}, {2, 3}, {1, 6}, "source frame 1"),
        masked(false, {0, 0, 3, 2}, {2, 3}, {1, 6}, ""),
        masked(false, {0, 0, 3, 2}, {2, 3}, {1, 5}, "source frame 1 of 1 rows and 5 columns has fewer pixels")};
    for (bool const full : {true, false}) {
        auto const onTarget = [&](Rect<int> const &rectangle, Shape<2> const &mask, char const *message,
                                  std::uint32_t pitch = 6) {
            return masked(full, rectangle, mask, {9, 9}, message, pitch);
        };
        cases.insert(cases.end(),
                     {onTarget({0, 0, 6, 4}, {4, 6}, ""),
                      onTarget({1, 2, 3, 2}, {1, 4}, ""), // fewer elements than the rectangle
                      onTarget({1, 0, 6, 4}, {4, 6}, "leaves the target frame of 4 rows and 6 columns"),
                      onTarget({0, 1, 6, 4}, {4, 6}, "mask 1 (x 0, y 1, width 6, height 4) leaves"),
                      onTarget({-1, 1, 2, 2}, {2, 2}, ""), // from the end of the row above
                      onTarget({0, -1, 2, 2}, {2, 2}, "leaves"), onTarget({largest, 0, 1, 1}, {1, 1}, "leaves"),
                      onTarget({smallest, smallest, 1, 1}, {1, 1}, "leaves"),
                      onTarget({0, 0, 3, 2}, {7, 1}, "mask 1 (x 0, y 0, width 3, height 2) has 7 elements"),
                      onTarget({0, 0, -4, -6}, {4, 6}, ""), // a row without an end
                      onTarget({1, 0, -4, -6}, {4, 6}, "leaves"), onTarget({23, 0, 0, 4}, {1, 1}, ""),
                      onTarget({0, 0, 7, 1}, {1, 7}, ""),
                      onTarget({0, 0, 7, 2}, {1, 8}, "leaves"), // the way from row to row wraps
                      onTarget({-50, 90, -3, 0}, {0, 3}, ""),   // no element: nothing is pasted
                      onTarget({0, 0, 6, 4}, {4, 6}, "leaves", 7)});
    }
    expectGuarded("ApplyMask", cases);
}
} // namespace
} // namespace zun::test
