#include "imgproc/kernels/Invert.h"

namespace zun::kernels {

void invert(unsigned char const *__restrict in, unsigned char *__restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) out[i] = static_cast<unsigned char>(~in[i]);
}

} // namespace zun::kernels
