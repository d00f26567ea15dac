#include "imgproc/kernels/Threshold.h"

#include <algorithm>

namespace zun::kernels {
namespace {

/// `above` where in[i] is at least the threshold, else the other of 0 and 1.
void binarise(unsigned char const *__restrict in, unsigned char *__restrict out, std::uint32_t count, int threshold,
              unsigned char above) {
    auto const below = static_cast<unsigned char>(1 - above);
    if (threshold > 255) {
        std::fill_n(out, count, below);
        return;
    }
    auto const least = static_cast<unsigned char>(std::max(threshold, 0)); // bytes compare faster than ints
    for (std::uint32_t i = 0; i < count; i++) out[i] = in[i] >= least ? above : below;
}

} // namespace

void setAtLeast(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold) {
    binarise(in, out, count, threshold, 1);
}

void setBelow(unsigned char const *in, unsigned char *out, std::uint32_t count, int threshold) {
    binarise(in, out, count, threshold, 0);
}

void splitAt(unsigned char const *__restrict in, unsigned char *__restrict atLeast, unsigned char *__restrict below,
             std::uint32_t count, int threshold) {
    if (threshold > 255) {
        std::fill_n(atLeast, count, static_cast<unsigned char>(0));
        std::fill_n(below, count, static_cast<unsigned char>(1));
        return;
    }
    auto const least = static_cast<unsigned char>(std::max(threshold, 0));
    for (std::uint32_t i = 0; i < count; i++) {
        auto const reached = static_cast<unsigned char>(in[i] >= least);
        atLeast[i] = reached;
        below[i] = reached ^ 1;
    }
}

} // namespace zun::kernels
