#include <string>

#include "KernelCase.h"
#include "imgproc/kernels/BoxBlur.h"

namespace zun::kernels {
namespace {

template <int channels>
KernelCase blur(BoxSize box) {
    return {"boxBlur " + std::string(channels == 1 ? "grey " : "RGB ") + std::to_string(box.width) + "x" +
                std::to_string(box.height),
            Content::bytes, frameBytes<channels>, frameBytes<channels>,
            [box](KernelCase::Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::boxBlur, boxBlur)(in, out, size, channels, box);
            }};
}

} // namespace

std::vector<KernelCase> blurCases() {
    std::vector<KernelCase> all;
    for (BoxSize const box :
         {BoxSize{1, 1}, {2, 2}, {3, 3}, {9, 9}, {31, 31}, {16, 5}, {7, 130}, {300, 400}, {0, 3}, {4, 0}, {0, 0}}) {
        all.push_back(blur<1>(box));
        all.push_back(blur<3>(box));
    }
    return all;
}

} // namespace zun::kernels
