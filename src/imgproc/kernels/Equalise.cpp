#include "imgproc/kernels/Equalise.h"

#include <algorithm>
#include <array>
#include <vector>

namespace zun::kernels {
namespace {

using Histogram = std::array<std::uint32_t, 256>;

Histogram histogramOf(unsigned char const *bytes, std::size_t count) {
    // Counting on one counter again and again waits for its memory; neighbours, often equal, go to different ones.
    std::array<Histogram, 4> parts{};
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4)
        for (std::size_t part = 0; part < 4; part++) parts[part][bytes[i + part]]++;
    for (; i < count; i++) parts[0][bytes[i]]++;

    Histogram sum;
    for (std::size_t v = 0; v < 256; v++) sum[v] = parts[0][v] + parts[1][v] + parts[2][v] + parts[3][v];
    return sum;
}

int binOf(float value, int bins) {
    int const bin = truncateToInt(value * static_cast<float>(bins));
    return std::max(std::min(bin, bins - 1), 0);
}

float share(std::uint32_t below, std::size_t count) {
    return static_cast<float>(static_cast<int>(below)) /
           static_cast<float>(static_cast<int>(static_cast<std::uint32_t>(count)));
}

template <class ShareOfBin>
void mapFirstChannel(Vec3f const *in, Vec3f *out, std::size_t count, int bins, ShareOfBin const &shareOfBin) {
    for (std::size_t i = 0; i < count; i++) {
        out[i] = in[i];
        out[i][0] = shareOfBin(binOf(in[i][0], bins));
    }
}

/// For so many bins that a counter for each would take far more memory than the frame.
void equaliseSparsely(Vec3f const *in, Vec3f *out, std::size_t count, int bins) {
    std::vector<int> taken(count);
    for (std::size_t i = 0; i < count; i++) taken[i] = binOf(in[i][0], bins);
    std::sort(taken.begin(), taken.end());
    mapFirstChannel(in, out, count, bins, [&](int bin) {
        auto const below = std::lower_bound(taken.begin(), taken.end(), bin) - taken.begin();
        return share(static_cast<std::uint32_t>(below), count);
    });
}

} // namespace

void equaliseGrey(unsigned char const *in, unsigned char *out, std::size_t count) {
    Histogram const histogram = histogramOf(in, count);
    std::array<unsigned char, 256> table;
    std::uint32_t below = 0;
    for (std::size_t v = 0; v < 256; v++) {
        table[v] = equalised(below, static_cast<std::uint32_t>(count));
        below += histogram[v];
    }
    for (std::size_t i = 0; i < count; i++) out[i] = table[in[i]];
}

void equaliseFirstChannel(Vec3f const *in, Vec3f *out, std::size_t count, int bins) {
    if (count == 0) return;
    constexpr int alwaysCounted = 1 << 20;
    if (bins > alwaysCounted && static_cast<std::size_t>(bins) > count) return equaliseSparsely(in, out, count, bins);

    std::vector<std::uint32_t> histogram(static_cast<std::size_t>(bins));
    for (std::size_t i = 0; i < count; i++) histogram[static_cast<std::size_t>(binOf(in[i][0], bins))]++;
    std::vector<float> shares(histogram.size());
    std::uint32_t below = 0;
    for (std::size_t bin = 0; bin < shares.size(); bin++) {
        shares[bin] = share(below, count);
        below += histogram[bin];
    }
    mapFirstChannel(in, out, count, bins, [&](int bin) { return shares[static_cast<std::size_t>(bin)]; });
}

} // namespace zun::kernels
