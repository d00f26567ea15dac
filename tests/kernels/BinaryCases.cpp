#include <cstdlib>

#include "KernelCase.h"
#include "imgproc/kernels/LongRuns.h"
#include "imgproc/kernels/Morphology.h"
#include "imgproc/kernels/Threshold.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

KernelCase morphology(std::string name, Element const &element, bool inverted) {
    return {"erodeOrDilate " + name, Content::binary, frameBytes<1>, frameBytes<1>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::erodeOrDilate, erodeOrDilate)(in, size.columns, out, size.rows, size.columns,
                                                                  element, 1, inverted ? 0 : 1, inverted ? 1 : 0);
            }};
}

/// Three ways to find what reaches a threshold, one after the other in the output.
KernelCase threshold(int level) {
    return {"setAtLeast, setBelow, splitAt " + std::string(level < 0 ? "below " : "") + std::to_string(std::abs(level)),
            Content::bytes, frameBytes<1>, frameBytes<4>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                std::uint32_t const count = size.rows * size.columns;
                formOf(form, plain::setAtLeast, setAtLeast)(in, out, count, level);
                formOf(form, plain::setBelow, setBelow)(in, out + count, count, level);
                formOf(form, plain::splitAt, splitAt)(in, out + 2 * count, out + 3 * count, count, level);
            }};
}

KernelCase longRuns(std::string name, bool alongRows, RunRule const &rule) {
    return {"overwriteLong" + name, Content::binary, frameBytes<1>, frameBytes<1>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                if (alongRows)
                    formOf(form, plain::overwriteLongRowRuns, overwriteLongRowRuns)(in, out, size.rows, size.columns,
                                                                                    rule);
                else
                    formOf(form, plain::overwriteLongColumnRuns,
                           overwriteLongColumnRuns)(in, size.columns, out, size.rows, size.columns, rule);
            }};
}

} // namespace

std::vector<KernelCase> binaryCases() {
    std::vector<KernelCase> all;
    for (int const level : {-1, 0, 1, 128, 255, 256}) all.push_back(threshold(level));
    for (int const length : {-3, 1, 2, 5, 17, 100})
        for (bool const alongRows : {true, false})
            all.push_back(longRuns((alongRows ? "RowRuns " : "ColumnRuns ") + std::string(length < 0 ? "below " : "") +
                                       std::to_string(std::abs(length)),
                                   alongRows, {1, 0, length}));
    for (KernelCase const &one :
         {morphology("3x3", {3, 3, 1, 1}, false), morphology("5x5", {5, 5, 2, 2}, false),
          morphology("15x15", {15, 15, 7, 7}, true), morphology("3x15", {3, 15, 1, 7}, false),
          morphology("1x1", {1, 1, 0, 0}, false), morphology("7x2 from a corner", {7, 2, 6, 0}, false),
          morphology("14x1000", {14, 1000, 3, 999}, false), morphology("1000x4", {1000, 4, 0, 3}, true)})
        all.push_back(one);
    return all;
}

} // namespace zun::kernels
