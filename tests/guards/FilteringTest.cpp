#include "Guarded.h"

namespace zun::test {
namespace {

using Byte = unsigned char;

template <class T>
Verdict verdict(Options const &options, std::uint32_t rows, std::uint32_t columns, char const *reason) {
    return onInput(options, blank<T>(rows, columns), reason);
}

Options box(int width, int height) { return {{"kernelSizeX", width}, {"kernelSizeY", height}}; }
Options bins(int count) { return {{"histogramSize", count}}; }
Options windows(int stepX, int stepY, int width, int height) {
    return {{"stepX", stepX}, {"stepY", stepY}, {"windowWidth", width}, {"windowHeight", height}};
}

TEST(BlurGuard, RefusesBoxesWithoutPixelsOrWithTooMany) {
    expectVerdicts("GreyBoxBlur",
                   {verdict<Byte>(box(1, 100), 4, 6, ""), verdict<Byte>(box(3, -2), 4, 6, "kernelSizeY is -2"),
                    verdict<Byte>(box(0, -1), 0, 6, ""), verdict<Byte>(box(40000, 40000), 4, 6, ""),
                    verdict<Byte>(box(largest - 1, 1), 1, 1, ""),
                    verdict<Byte>(box(largest, 1), 1, 1, "larger than any")}); // a sum past 32 bits
    expectVerdicts("RGBBoxBlur",
                   {verdict<Vec3b>(box(0, 3), 4, 6, "kernelSizeX is 0; set it to 1 or more"),
                    verdict<Vec3b>(box(-1, largest), 4, 0, ""),
                    verdict<Vec3b>(box(40000, 40000), 4, 6, "4 rows and 6 columns, with kernelSizeX 40000")});
}

TEST(NormaliseGuards, RefuseWhatHasNothingToDivideBy) {
    expectVerdicts("NormalizeGreyImage",
                   {verdict<Byte>({}, 1, 1, ""), verdict<Byte>({}, 0, 7, "frame of 0 rows and 7 columns is empty")});
    expectVerdicts("NormalizeYCbCrImage", {verdict<Vec3f>(bins(largest), 1, 1, ""),
                                           verdict<Vec3f>(bins(0), 1, 1, "histogramSize is 0; set it to 1 or more"),
                                           verdict<Vec3f>(bins(-largest - 1), 1, 1, ""), // the node fails by itself
                                           verdict<Vec3f>(bins(0), 7, 0, "")});
}

TEST(SlidingWindowGuard, RefusesWindowsWithoutAnEndOrATotal) {
    expectVerdicts(
        "SlidingWindowNormalizeGreyImage",
        {verdict<Byte>(windows(3, 4, 3, 4), 9, 9, ""),
         verdict<Byte>(windows(largest, largest, largest, largest), 9, 9, ""),
         verdict<Byte>(windows(12, 10, 9, 9), 9, 9, ""), // the first window covers all
         verdict<Byte>(windows(0, 1, 3, 3), 9, 9, "stepX is 0; set it to 1 or more"),
         verdict<Byte>(windows(1, -1, 3, 3), 9, 9, "stepY is -1"),
         verdict<Byte>(windows(1, 1, 0, 3), 9, 9, "windowWidth is 0"),
         verdict<Byte>(windows(1, 1, 3, -3), 9, 9, "windowHeight is -3"),
         verdict<Byte>(windows(4, 1, 3, 3), 9, 9, "column 3 lies under no window, with stepX 4 and windowWidth 3"),
         verdict<Byte>(windows(1, 5, 3, 4), 9, 9, "row 4 lies under no window, with stepY 5 and windowHeight 4"),
         verdict<Byte>(windows(0, 0, 0, 0), 0, 9, ""), // no row to move over
         verdict<Byte>(windows(0, 1, 0, 0), 9, 0, ""), verdict<Byte>(windows(1, 0, 3, 3), 9, 0, "stepY is 0"),
         verdict<Byte>(windows(1, 1, 256, 256), 511, 511, "row 255, column 255 hold a multiple of 2^32 pixels"),
         verdict<Byte>(windows(1, 1, 256, 255), 511, 511, ""),
         verdict<Byte>(windows(4, 1, 256, 512), 1023, 508, "row 511, column 252 hold a multiple"), // 2^18 by 2^14
         verdict<Byte>(windows(4, 1, 256, 512), 1022, 508, ""), // the last window over the row is cut off
         verdict<Byte>(windows(4, 1, 256, 512), 1023, 507, ""), verdict<Byte>(windows(8, 1, 256, 512), 1023, 508, "")});
}

} // namespace
} // namespace zun::test
