#include <numeric>

#include "ImgprocNode.h"
#include "imgproc/kernels/Morphology.h"

namespace zun::test {
namespace {

/// Mostly 0 and 1, some pixels of other values.
Grey randomBinary(int rows, int columns, std::mt19937 &random) {
    Grey const frame({unsigned(rows), unsigned(columns)});
    unsigned const rarity = 2 + unsigned(random() % 12);
    for (std::uint32_t i = 0; i < frame.count; i++)
        frame.first()[i] = static_cast<unsigned char>(random() % rarity != 0 ? 1 : random() % 8 != 0 ? 0 : random());
    return frame;
}

std::vector<Grey> levels(Grey const &frame, int count, int least, int most, bool inverted, bool noninverted) {
    return run<std::vector<Grey>>("Grey2BinarySequence",
                                  {{"binThresholdCount", count},
                                   {"binThresholdMin", least},
                                   {"binThresholdMax", most},
                                   {"inverted", inverted},
                                   {"noninverted", noninverted}},
                                  {{"input", valueOf(frame)}});
}

TEST(Grey2BinarySequence, SpacesItsThresholdsInInts) {
    using Row = std::tuple<int, int, int, std::vector<int>>;
    Grey const all({1, 256});
    std::iota(all.first(), all.first() + 256, static_cast<unsigned char>(0));
    for (auto const &[count, least, most, series] :
         {Row(5, 10, 200, {10, 57, 105, 152, 200}), Row(4, 10, 0, {10, 7, 4, 0}), Row(1, 7, 99, {7}),
          Row(2, -5, 300, {-5, 300}),
          Row(3, largest, smallest, {largest, largest, smallest}), // the difference wraps to 1, the last sum around
          Row(4, 0, largest, {0, 715827882, 0, 715827881}),        // products wrap to -2 and 2147483645
          Row(0, 1, 2, {})}) {
        std::vector<Grey> const both = levels(all, count, least, most, true, true);
        ASSERT_EQ(both.size(), 2 * series.size());
        for (std::size_t i = 0; i < both.size(); i++) {
            bool const inverted = i % 2 != 0;
            for (int pixel = 0; pixel < 256; pixel++)
                ASSERT_EQ(both[i].first()[pixel], (series[i / 2] <= pixel) != inverted) << count << ", " << i;
            EXPECT_EQ(elements(levels(all, count, least, most, inverted, !inverted)[i / 2]), elements(both[i]));
        }
    }
    EXPECT_EQ(levels(Grey({0, 4}), 3, 0, 9, true, true).at(5).shape, (Shape<2>{0, 4}));
}

TEST(Grey2BinarySequence, FailsAsAListOnANegativeLength) {
    Grey const frame({1, 1}, 0);
    for (int const count : {-1, 1 << 30, (1 << 30) + 5})
        EXPECT_EQ(messageOf([&] { levels(frame, count, 0, 9, true, true); }), "vector<T> too long") << count;
    EXPECT_TRUE(levels(frame, smallest, 0, 9, true, true).empty()) << "wraps to 0";
    EXPECT_TRUE(levels(frame, -1, 0, 9, false, false).empty());
}

using kernels::Element;

Grey match(Grey const &frame, Element const &element, int value, bool invert) {
    return filtered("ApplyHomogenousMorphology",
                    {{"elementSizeX", element.columns},
                     {"elementSizeY", element.rows},
                     {"originX", element.originColumn},
                     {"originY", element.originRow},
                     {"elementValue", value},
                     {"invert", invert}},
                    frame);
}

TEST(ApplyHomogenousMorphology, ComparesWhatTheElementCoversOfTheFrame) {
    std::mt19937 random(1);
    auto const below = [&](int end) { return int(random() % unsigned(end)); };
    for (int round = 0; round < 3000; round++) {
        int const rows = 1 + below(12), columns = 1 + below(40), value = below(2);
        int const width = 1 + below(columns + 1), height = 1 + below(rows + 1);
        Element const element{width, height, below(width), below(height)};
        bool const invert = round % 2 == 0;
        Grey const frame = randomBinary(rows, columns, random), expected(frame.shape);
        kernels::plain::erodeOrDilate(frame.first(), frame.shape[1], expected.first(), frame.shape[0], frame.shape[1],
                                      element, static_cast<unsigned char>(value), invert ? 0 : 1, invert ? 1 : 0);
        ASSERT_EQ(elements(match(frame, element, value, invert)), elements(expected)) << round;
    }
}

TEST(ApplyHomogenousMorphology, RefusesOtherValuesAtTheTick) {
    for (int const value : {2, -1, 256})
        for (Grey const &frame : {Grey({2, 2}, 0), Grey()}) {
            Element const element{3, 3, 1, 1};
            expectFailureWithoutLocation([&] { match(frame, element, value, false); },
                                         "ApplyHomogenousMorphology elementValue must be either 0 or 1");
        }
    EXPECT_EQ(match(Grey({0, 4}), {0, -3, 7, 9}, 1, false).shape, (Shape<2>{0, 4})) << "no element matters";
    EXPECT_EQ(elements(filtered("ApplyHomogenousMorphology", {{"elementValue", 1}, {"invert", false}},
                                frameOf<unsigned char>({3, 3}, {1, 1, 1, 1, 1, 1, 1, 1, 0}))),
              (Bytes{1, 1, 1, 1, 0, 0, 1, 0, 0}))
        << "3 x 3 about its middle if not told otherwise";
}

char const *const dominated = "BinaryDominatedRowColRemover";

TEST(BinaryDominatedRowColRemover, OverwritesLinesByTheirFractionOfForeground) {
    using Row = std::tuple<Bytes, float, bool, Bytes>;
    for (auto const &[line, threshold, inverted, result] :
         {Row({1, 1, 1, 0}, .75f, false, {0, 0, 0, 0}), Row({1, 1, 1, 0}, .76f, false, {1, 1, 1, 0}),
          Row({0, 0, 0, 1}, .75f, true, {1, 1, 1, 1}), Row({0, 0, 1, 1}, .75f, true, {0, 0, 1, 1}),
          Row({0, 0, 0, 0}, 0, false, {0, 0, 0, 0}), Row({0, 1, 0, 0}, -1, true, {1, 1, 1, 1}),
          Row({1, 1, 1, 1}, 1.1f, false, {1, 1, 1, 1}), Row({1, 0, 0, 0}, nan, false, {0, 0, 0, 0}),
          Row({255, 0, 0, 0}, 60, false, {0, 0, 0, 0}),
          Row({255, 0, 0, 0}, -62.7f, true, {255, 0, 0, 0}), // (4 - 255) / 4 is -62.75
          Row({255, 0, 0, 0}, -62.8f, true, {1, 1, 1, 1}), Row({1, 0, 1, 0}, infinity, false, {1, 0, 1, 0})}) {
        Options options{{"threshold", threshold}, {"inverted", inverted}};
        EXPECT_EQ(elements(filtered(dominated, options, frameOf({1, 4}, line))), result) << threshold;
        options["horizontal"] = Option(false);
        EXPECT_EQ(elements(filtered(dominated, options, frameOf({4, 1}, line))), result) << threshold;
    }
}

TEST(BinaryDominatedRowColRemover, TreatsColumnsAsItDoesRows) {
    std::mt19937 random(2);
    Grey const rows = randomBinary(130, 9, random), before = rows.clone(), columns({9, 130});
    auto const turned = [](std::uint32_t i) { return i % 9 * 130 + i / 9; };
    for (std::uint32_t i = 0; i < rows.count; i++) columns.first()[turned(i)] = rows.first()[i];
    Grey const byRows = filtered(dominated, {{"threshold", .8}}, rows);
    Grey const byColumns = filtered(dominated, {{"threshold", .8}, {"horizontal", false}}, columns);
    for (std::uint32_t i = 0; i < rows.count; i++) ASSERT_EQ(byColumns.first()[turned(i)], byRows.first()[i]) << i;
    EXPECT_EQ(elements(rows), elements(before)) << "the input is not changed";
    for (bool const horizontal : {true, false})
        EXPECT_EQ(filtered(dominated, {{"threshold", 0.0}, {"horizontal", horizontal}}, Grey({4, 0})).shape,
                  (Shape<2>{4, 0}));
}

TEST(BinaryLongLineRemover, CountsTheRunsLengthInWholePixels) {
    Bytes const run(10, 1), tattered{7, 1, 1, 7, 7, 0, 7, 1, 7, 7};
    Bytes const allButBeforeRuns{7, 0, 0, 0, 0, 0, 7, 0, 0, 0};
    using Row = std::tuple<float, bool, Bytes, Bytes>;
    for (auto const &[threshold, inverted, in, out] :
         {Row(.25f, false, {0, 1, 1, 0, 1, 0, 0, 0, 1, 1}, {0, 0, 0, 0, 1, 0, 0, 0, 0, 0}), // at least 2
          Row(.35f, false, {0, 1, 1, 0, 1, 1, 1, 0, 1, 1}, {0, 1, 1, 0, 0, 0, 0, 0, 1, 1}), // at least 3
          Row(.35f, true, {1, 0, 0, 1, 0, 0, 0, 5, 0, 0}, {1, 0, 0, 1, 1, 1, 1, 5, 0, 0}),
          Row(.05f, false, tattered, allButBeforeRuns),  // at least none
          Row(1e30f, false, tattered, allButBeforeRuns), // what no int holds is the smallest
          Row(infinity, false, tattered, allButBeforeRuns), Row(nan, false, tattered, tattered),
          Row(0, false, run, run), Row(-1, false, run, run), Row(1, false, run, Bytes(10, 0)),
          Row(1.1f, false, run, run), Row(1, false, {}, {})}) {
        auto const length = std::uint32_t(in.size());
        auto const erased = [&, t = threshold, i = inverted](char const *option, Grey const &frame) {
            return elements(filtered("BinaryLongLineRemover", {{option, t}, {"inverted", i}}, frame));
        };
        EXPECT_EQ(erased("thresholdX", frameOf({1, length}, in)), out) << threshold;
        EXPECT_EQ(erased("thresholdY", frameOf({length, 1}, in)), out) << threshold;
    }
}

TEST(BinaryLongLineRemover, LooksForBothDirectionsInTheFrameThatCameIn) {
    Grey const frame = frameOf<unsigned char>({3, 4}, {1, 1, 1, 0, /**/ 1, 0, 0, 1, /**/ 0, 0, 1, 1}),
               in = frame.clone();
    EXPECT_EQ(elements(filtered("BinaryLongLineRemover", {{"thresholdX", .75}, {"thresholdY", .7}}, frame)),
              (Bytes{0, 0, 0, 0, /**/ 0, 0, 0, 0, /**/ 0, 0, 1, 0}));
    EXPECT_EQ(elements(frame), elements(in)) << "the input is not changed";
}

using Byte = unsigned char;

TEST(ApplyHomogenousMorphology, GuardsAgainstElementsThatReachOffTheFrame) {
    auto const element = [](int sizeX, int originX, int sizeY, int originY, Shape<2> const &frame, char const *message,
                            int value = 1, std::optional<std::uint32_t> pitch = std::nullopt) {
        Options const options{{"elementSizeX", sizeX}, {"originX", originX},    {"elementSizeY", sizeY},
                              {"originY", originY},    {"elementValue", value}, {"invert", false}};
        return guarded<Byte>(options, frame, message, pitch);
    };
    expectGuarded("ApplyHomogenousMorphology",
                  {element(1, 0, 2, 1, {4, 1}, ""), element(3, 0, 3, 2, {2, 2}, ""), // one more than the frame has
                   element(4, 0, 2, 1, {4, 2}, "elementSizeX is 4 on a frame of 2 columns"),
                   element(2, 1, 3, 1, {1, 4}, "elementSizeY is 3 on a frame of 1 rows"),
                   element(largest, 0, 2, 1, {4, 5}, "elementSizeX is 2147483647 on a frame of 5 columns"),
                   element(1, 1, 2, 1, {4, 5}, "originX is 1 with an elementSizeX of 1;"),
                   element(2, 1, 3, -1, {4, 5}, "originY is -1 with"),
                   element(0, 0, 2, 1, {4, 5}, "elementSizeX is 0;"),
                   element(2, 1, smallest, smallest, {4, 5}, "elementSizeY is -2147483648;"),
                   element(0, -1, 0, 9, {0, 4}, ""),      // nothing to compare
                   element(0, 0, 2, 1, {4, 4}, "", 2),    // the node's own to refuse
                   element(2, 1, 2, 1, {4, 6}, "", 1, 7), // a square takes the frame as dense
                   element(2, 1, 3, 1, {4, 6}, "rows 7 bytes apart, which leads out of its memory", 1, 7)});
}

TEST(BinaryLongLineRemover, GuardsAgainstStridesThatLeadColumnsOutOfTheFrame) {
    Options const alongRows{{"thresholdX", .5}}, alongColumns{{"thresholdY", .5}};
    expectGuarded("BinaryLongLineRemover",
                  {guarded<Byte>(alongRows, {4, 6}, "", 7), guarded<Byte>(alongColumns, {4, 6}, ""),
                   guarded<Byte>(alongColumns, {4, 6}, "rows 7 bytes apart", 7)});
}

TEST(Grey2BinarySequence, GuardsAgainstListsThatDontFitInMemory) {
    std::vector<Guarded> cases;
    for (auto const &[count, both, message] : {std::tuple{4000, false, ""},
                                               {4096, false, "binThresholdCount is 4096"},
                                               {2000, true, ""},
                                               {2048, true, "binThresholdCount is 2048"},
                                               {1 << 30, false, "binThresholdCount is 1073741824"},
                                               {1 << 30, true, ""},
                                               {-1, true, ""},
                                               {-1 << 30, true, ""},
                                               {-1 - (1 << 30), true, "takes 2147483646 frames"}})
        cases.push_back(guarded<Byte>({{"binThresholdCount", count},
                                       {"inverted", true},
                                       {"noninverted", both},
                                       {"binThresholdMin", 0},
                                       {"binThresholdMax", 0}},
                                      {1024, 1024}, message));
    expectGuarded("Grey2BinarySequence", cases);
}

} // namespace
} // namespace zun::test
