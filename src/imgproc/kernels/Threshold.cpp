#include "imgproc/kernels/Threshold.h"

namespace zun::kernels {

void plain::setAtLeast(unsigned char const *__restrict in, unsigned char *__restrict out, std::uint32_t count,
                       int threshold) {
    for (std::uint32_t i = 0; i < count; i++) out[i] = in[i] >= threshold;
}

void plain::setBelow(unsigned char const *__restrict in, unsigned char *__restrict out, std::uint32_t count,
                     int threshold) {
    for (std::uint32_t i = 0; i < count; i++) out[i] = in[i] < threshold;
}

void plain::splitAt(unsigned char const *in, unsigned char *atLeast, unsigned char *below, std::uint32_t count,
                    int threshold) {
    setAtLeast(in, atLeast, count, threshold);
    setBelow(in, below, count, threshold);
}

} // namespace zun::kernels
