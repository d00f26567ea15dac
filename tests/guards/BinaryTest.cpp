#include <limits>

#include <gtest/gtest.h>

#include "Guarded.h"
#include "containers/Mat.h"

namespace zun {
namespace {

using Frame = Mat<unsigned char, 2>;
using Options = std::map<std::string, OptionNode>;

/// Empty if the guard passes a frame, else its reason.
std::string reason(std::string const &type, Options const &options, Frame const &frame) {
    auto const refusal = test::Guarded(type, options).refusal({{"input", test::valueOf(frame)}});
    if (refusal) {
        EXPECT_EQ(refusal->port, "input");
    }
    return refusal ? refusal->reason : "";
}

OptionNode number(int value) { return OptionNode::ofInt(value); }

TEST(MorphologyGuard, RefusesElementsThatReachOffTheFrame) {
    constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();
    struct {
        int size, origin, extent;
        char const *fault; // "#" stands for the axis
    } const cases[] = {
        {1, 0, 1, ""},
        {3, 0, 2, ""},
        {3, 2, 9, ""},
        {3, 1, 1, "elementSize# is 3 on a frame of 1 "},
        {largest, 0, 5, "elementSize# is 2147483647 on a frame of 5 "},
        {1, 1, 5, "origin# is 1 with an elementSize# of 1;"},
        {3, -1, 5, "origin# is -1 with"},
        {3, largest, 5, "origin# is 2147483647 with"},
        {0, 0, 5, "elementSize# is 0;"},
        {smallest, smallest, 5, "elementSize# is -2147483648;"},
    };
    for (char const axis : {'X', 'Y'})
        for (auto const &[size, origin, extent, fault] : cases) {
            std::string expected = fault;
            for (char &c : expected) c = c == '#' ? axis : c;
            char const other = axis == 'X' ? 'Y' : 'X';
            Options options{{"invert", OptionNode::ofBool(false)},
                            {"elementValue", number(1)},
                            {std::string("elementSize") + axis, number(size)},
                            {std::string("origin") + axis, number(origin)},
                            {std::string("elementSize") + other, number(2)},
                            {std::string("origin") + other, number(1)}};
            auto const side = [&](char of) { return of == axis ? unsigned(extent) : 4u; };
            std::string const given = reason("ApplyHomogenousMorphology", options, Frame({side('Y'), side('X')}, 1));
            EXPECT_EQ(given.empty(), expected.empty()) << given;
            EXPECT_TRUE(given.starts_with(expected)) << given;
            EXPECT_EQ(reason("ApplyHomogenousMorphology", options, Frame({0, 4})), "") << "nothing to compare";
            options["elementValue"] = number(2);
            EXPECT_EQ(reason("ApplyHomogenousMorphology", options, Frame({4, 4}, 1)), "") << "the node's own to refuse";
        }
}

TEST(Grey2BinarySequenceGuard, RefusesListsThatDontFitInMemory) {
    struct {
        int count;
        bool both, fits; // of frames of 1 MiB
    } const cases[] = {{4000, false, true},     {4096, false, false},  {2000, true, true}, {2048, true, false},
                       {-1, true, true},        {1 << 30, true, true}, // the node's own to refuse
                       {1 << 30, false, false}, {-1 << 30, true, true}};
    for (auto const &[count, both, fits] : cases) {
        std::string const given = reason("Grey2BinarySequence",
                                         {{"binThresholdCount", number(count)},
                                          {"binThresholdMin", number(0)},
                                          {"binThresholdMax", number(0)},
                                          {"inverted", OptionNode::ofBool(true)},
                                          {"noninverted", OptionNode::ofBool(both)}},
                                         Frame({1024, 1024}));
        EXPECT_EQ(given.empty(), fits) << given;
        EXPECT_EQ(given.starts_with("binThresholdCount is " + std::to_string(count)), !fits) << given;
    }
}

TEST(BinaryGuards, RefuseStridesThatLeadOutOfTheFrame) {
    Frame frame({4, 6}, 1);
    Options const longRuns{{"thresholdY", OptionNode::ofFloat(.5)}};
    Options const rectangle{
        {"elementValue", number(1)}, {"invert", OptionNode::ofBool(false)}, {"elementSizeX", number(2)}};
    for (unsigned const pitch : {6u, 7u}) {
        frame.strides[0] = pitch;
        EXPECT_EQ(reason("BinaryLongLineRemover", longRuns, frame).empty(), pitch == 6);
        EXPECT_EQ(reason("ApplyHomogenousMorphology", rectangle, frame).empty(), pitch == 6);
        EXPECT_EQ(reason("BinaryLongLineRemover", {}, frame), "") << "it only walks along rows";
    }
}

} // namespace
} // namespace zun
