#include "imgproc/kernels/Equalise.h"

#include <vector>

namespace zun::kernels {

void plain::equaliseGrey(unsigned char const *in, unsigned char *out, std::size_t count) {
    std::uint32_t histogram[256] = {};
    for (std::size_t i = 0; i < count; i++) histogram[in[i]]++;

    unsigned char bytes[256];
    std::uint32_t below = 0;
    for (std::size_t v = 0; v < 256; v++) {
        bytes[v] = equalised(below, static_cast<std::uint32_t>(count));
        below += histogram[v];
    }
    for (std::size_t i = 0; i < count; i++) out[i] = bytes[in[i]];
}

void plain::equaliseFirstChannel(Vec3f const *in, Vec3f *out, std::size_t count, int bins) {
    if (count == 0) return;
    std::vector<std::uint32_t> histogram(static_cast<std::size_t>(bins));
    for (std::size_t i = 0; i < count; i++) histogram[binOf(in[i][0], bins)]++;

    std::vector<float> shares(histogram.size());
    std::uint32_t below = 0;
    for (std::size_t bin = 0; bin < shares.size(); bin++) {
        shares[bin] = share(below, count);
        below += histogram[bin];
    }
    for (std::size_t i = 0; i < count; i++) out[i] = {shares[binOf(in[i][0], bins)], in[i][1], in[i][2]};
}

} // namespace zun::kernels
