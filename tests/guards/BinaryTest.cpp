#include "Guarded.h"

namespace zun::test {
namespace {

using Byte = unsigned char;

Verdict element(int sizeX, int originX, int sizeY, int originY, Mat<Byte, 2> const &frame, char const *reason,
                int value = 1) {
    Options const options{{"elementSizeX", sizeX}, {"originX", originX},    {"elementSizeY", sizeY},
                          {"originY", originY},    {"elementValue", value}, {"invert", false}};
    return onInput(options, frame, reason);
}

TEST(MorphologyGuard, RefusesElementsThatReachOffTheFrame) {
    expectVerdicts("ApplyHomogenousMorphology",
                   {element(1, 0, 2, 1, blank<Byte>(4, 1), ""),
                    element(3, 0, 3, 2, blank<Byte>(2, 2), ""), // one more than the frame has
                    element(4, 0, 2, 1, blank<Byte>(4, 2), "elementSizeX is 4 on a frame of 2 columns"),
                    element(2, 1, 3, 1, blank<Byte>(1, 4), "elementSizeY is 3 on a frame of 1 rows"),
                    element(largest, 0, 2, 1, blank<Byte>(4, 5), "elementSizeX is 2147483647 on a frame of 5 columns"),
                    element(1, 1, 2, 1, blank<Byte>(4, 5), "originX is 1 with an elementSizeX of 1;"),
                    element(2, 0, 3, 3, blank<Byte>(4, 5), "originY is 3 with an elementSizeY of 3;"),
                    element(2, 1, 3, -1, blank<Byte>(4, 5), "originY is -1 with"),
                    element(3, largest, 2, 1, blank<Byte>(4, 5), "originX is 2147483647 with"),
                    element(0, 0, 2, 1, blank<Byte>(4, 5), "elementSizeX is 0;"),
                    element(2, 1, smallest, smallest, blank<Byte>(4, 5), "elementSizeY is -2147483648;"),
                    element(0, -1, 0, 9, blank<Byte>(0, 4), ""),   // nothing to compare
                    element(0, 0, 2, 1, blank<Byte>(4, 4), "", 2), // the node's own to refuse
                    element(2, 1, 2, 1, blank<Byte>(4, 6, 7), ""), // a square takes the frame as dense
                    element(2, 1, 3, 1, blank<Byte>(4, 6, 6), ""),
                    element(2, 1, 3, 1, blank<Byte>(4, 6, 7), "rows 7 bytes apart, which leads out of its memory")});
}

TEST(LongLinesGuard, RefusesStridesThatLeadColumnsOutOfTheFrame) {
    Options const alongRows{{"thresholdX", .5}}, alongColumns{{"thresholdY", .5}};
    expectVerdicts("BinaryLongLineRemover",
                   {onInput(alongRows, blank<Byte>(4, 6, 7), ""), onInput(alongColumns, blank<Byte>(4, 6, 6), ""),
                    onInput(alongColumns, blank<Byte>(4, 6, 7), "rows 7 bytes apart")});
}

TEST(Grey2BinarySequenceGuard, RefusesListsThatDontFitInMemory) {
    auto const verdict = [](int count, bool both, std::string const &reason) {
        Options const options{{"binThresholdCount", count},
                              {"inverted", true},
                              {"noninverted", both},
                              {"binThresholdMin", 0},
                              {"binThresholdMax", 0}};
        return onInput(options, blank<Byte>(1024, 1024), reason);
    };
    expectVerdicts("Grey2BinarySequence",
                   {verdict(4000, false, ""), verdict(4096, false, "binThresholdCount is 4096"),
                    verdict(2000, true, ""), verdict(2048, true, "binThresholdCount is 2048"),
                    verdict(1 << 30, false, "binThresholdCount is 1073741824"), verdict(1 << 30, true, ""),
                    verdict(-1, true, ""), verdict(-1 << 30, true, "")});
}

TEST(FindContoursGuard, RefusesFramesWhoseLabelsDoNotFitInMemory) {
    auto const verdict = [](std::uint32_t rows, std::uint32_t columns, char const *reason) {
        return onInput({}, blank<Byte>(rows, columns), reason);
    };
    expectVerdicts("FindContours",
                   {verdict(0, 0, ""), verdict(4, 6, ""), verdict(0, (1u << 29) - 2, ""), // two rows of border
                    verdict(0, (1u << 29) - 1, "0 rows and 536870911 columns"),
                    verdict((1u << 29) - 1, 0, "536870911 rows and 0 columns"),
                    verdict(0, 0xfffffffe, "4294967294 columns"), // with the border, sides and count wrap
                    verdict(0xffffffff, 0, "4294967295 rows"), verdict(65536, 65536, "65536 rows")});
}

} // namespace
} // namespace zun::test
