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
    std::vector<std::size_t> taken(count);
    for (std::size_t i = 0; i < count; i++) taken[i] = binOf(in[i][0], bins);
    std::sort(taken.begin(), taken.end());
    mapFirstChannel(in, out, count, bins, [&](std::size_t bin) {
        auto const below = std::lower_bound(taken.begin(), taken.end(), bin) - taken.begin();
        return share(static_cast<std::uint32_t>(below), count);
    });
}

} // namespace

void equalisedBytes(unsigned char const *in, std::size_t count, unsigned char (&bytes)[256]) {
    Histogram const histogram = histogramOf(in, count);
    std::uint32_t below = 0;
    for (std::size_t v = 0; v < 256; v++) {
        bytes[v] = equalised(below, static_cast<std::uint32_t>(count));
        below += histogram[v];
    }
}

void plain::equaliseGrey(unsigned char const *in, unsigned char *out, std::size_t count) {
    unsigned char bytes[256];
    equalisedBytes(in, count, bytes);
    for (std::size_t i = 0; i < count; i++) out[i] = bytes[in[i]];
}

void sharesOfCounts(std::uint32_t const *counts, float *shares, std::size_t bins, std::size_t count) {
    std::uint32_t below = 0;
    for (std::size_t bin = 0; bin < bins; bin++) {
        shares[bin] = share(below, count);
        below += counts[bin];
    }
}

void plain::equaliseFirstChannel(Vec3f const *in, Vec3f *out, std::size_t count, int bins) {
    if (count == 0) return;
    constexpr int alwaysCounted = 1 << 20;
    if (bins > alwaysCounted && static_cast<std::size_t>(bins) > count) return equaliseSparsely(in, out, count, bins);

    std::vector<std::uint32_t> histogram(static_cast<std::size_t>(bins));
    for (std::size_t i = 0; i < count; i++) histogram[binOf(in[i][0], bins)]++;
    std::vector<float> shares(histogram.size());
    sharesOfCounts(histogram.data(), shares.data(), shares.size(), count);
    mapFirstChannel(in, out, count, bins, [&](std::size_t bin) { return shares[bin]; });
}

} // namespace zun::kernels
