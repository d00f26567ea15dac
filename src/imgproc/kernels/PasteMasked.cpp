#include "imgproc/kernels/PasteMasked.h"

namespace zun::kernels {

void plain::pasteMasked(unsigned char const *mask, std::uint32_t count, std::uint32_t width, Vec3b *target,
                        std::uint32_t targetGap, Vec3b const *source, std::uint32_t sourceGap) {
    std::uint32_t column = 0;
    for (std::uint32_t i = 0; i < count; i++) {
        if (mask[i] != 0) {
            Vec3b const pixel = *source;
            *target = pixel;
        }
        target++;
        source++;
        if (++column != width) continue; // a width of 0 is never reached
        column = 0;
        target += targetGap;
        source += sourceGap;
    }
}

} // namespace zun::kernels
