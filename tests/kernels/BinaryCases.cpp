#include "KernelCase.h"
#include "imgproc/kernels/Morphology.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

KernelCase morphology(std::string name, Element const &element, bool inverted) {
    return {"matchElement " + name, Content::binary, frameBytes<1>, frameBytes<1>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::matchElement, matchElement)(in, size.columns, out, size.rows, size.columns, element,
                                                                1, inverted ? 0 : 1, inverted ? 1 : 0);
            }};
}

} // namespace

std::vector<KernelCase> binaryCases() {
    return {morphology("3x3", {3, 3, 1, 1}, false),           morphology("5x5", {5, 5, 2, 2}, false),
            morphology("15x15", {15, 15, 7, 7}, true),        morphology("3x15", {3, 15, 1, 7}, false),
            morphology("1x1", {1, 1, 0, 0}, false),           morphology("7x2 from a corner", {7, 2, 6, 0}, false),
            morphology("14x1000", {14, 1000, 3, 999}, false), morphology("1000x4", {1000, 4, 0, 3}, true)};
}

} // namespace zun::kernels
