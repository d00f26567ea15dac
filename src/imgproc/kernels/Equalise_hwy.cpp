#include "imgproc/kernels/Equalise.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "imgproc/kernels/Scratch.h"
#include "imgproc/kernels/Vectors-inl.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

/// For each byte value, the byte that it becomes.
static void equalisedBytes(unsigned char const *in, std::size_t count, unsigned char (&bytes)[256]) {
    // Counting on one counter again and again waits for its memory; neighbours, often equal, go to different ones.
    std::uint32_t parts[4][256] = {};
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4)
        for (std::size_t part = 0; part < 4; part++) parts[part][in[i + part]]++;
    for (; i < count; i++) parts[0][in[i]]++;

    std::uint32_t below = 0;
    for (std::size_t v = 0; v < 256; v++) {
        bytes[v] = equalised(below, static_cast<std::uint32_t>(count));
        below += parts[0][v] + parts[1][v] + parts[2][v] + parts[3][v];
    }
}

/// For so many bins that a counter for each would take far more memory than the frame.
static void equaliseSparsely(Vec3f const *in, Vec3f *out, std::size_t count, int bins) {
    std::vector<std::size_t> taken(count);
    for (std::size_t i = 0; i < count; i++) taken[i] = binOf(in[i][0], bins);
    std::sort(taken.begin(), taken.end());
    for (std::size_t i = 0; i < count; i++) {
        auto const below = std::lower_bound(taken.begin(), taken.end(), binOf(in[i][0], bins)) - taken.begin();
        out[i] = {share(static_cast<std::uint32_t>(below), count), in[i][1], in[i][2]};
    }
}

/// The first half counts pixels by bin, in four parts; the second puts their shares in place.
using CountBins = void(Vec3f const *in, std::size_t count, int bins, std::uint32_t *counts);
using PutShares = void(Vec3f const *in, Vec3f *out, std::size_t count, int bins, float const *shares);

static void equaliseFirstChannelWith(CountBins countBins, PutShares putShares, Vec3f const *in, Vec3f *out,
                                     std::size_t count, int bins) {
    constexpr int mostInCache = 1 << 12; // of which four times as many counters are still at hand
    constexpr int alwaysCounted = 1 << 20;
    if (bins > alwaysCounted && static_cast<std::size_t>(bins) > count) return equaliseSparsely(in, out, count, bins);
    if (count == 0 || bins < 1 || bins > mostInCache) return plain::equaliseFirstChannel(in, out, count, bins);

    auto const binCount = static_cast<std::size_t>(bins);
    Scratch<std::uint32_t> const counts(4 * binCount);
    std::memset(counts.data(), 0, 4 * binCount * sizeof(std::uint32_t));
    countBins(in, count, bins, counts.data());
    Scratch<float> const shares(binCount);
    std::uint32_t below = 0;
    for (std::size_t i = 0; i < binCount; i++) {
        shares[i] = share(below, count);
        below += counts[i] + counts[binCount + i] + counts[2 * binCount + i] + counts[3 * binCount + i];
    }
    putShares(in, out, count, bins, shares.data());
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

#if HWY_TARGET == HWY_AVX3_DL
/// Looks bytes up in a table of 256.
class Table {
public:
    explicit HWY_INLINE Table(unsigned char const *bytes)
        : first(hn::LoadU(Bytes(), bytes)), second(hn::LoadU(Bytes(), bytes + 64)),
          third(hn::LoadU(Bytes(), bytes + 128)), fourth(hn::LoadU(Bytes(), bytes + 192)) {}

    HWY_INLINE VBytes operator[](VBytes bytes) const {
        auto const low = _mm512_permutex2var_epi8(first.raw, bytes.raw, second.raw);
        auto const high = _mm512_permutex2var_epi8(third.raw, bytes.raw, fourth.raw);
        return VBytes{_mm512_mask_blend_epi8(_mm512_movepi8_mask(bytes.raw), low, high)};
    }

private:
    VBytes first, second, third, fourth;
};
#else
class Table {
public:
    explicit HWY_INLINE Table(unsigned char const *bytes) : table(bytes) {}

    HWY_INLINE VBytes operator[](VBytes bytes) const {
        // Each sixteenth of the table gives its entry, or 0 where that lies in another: what the byte is off the
        // beginning of the sixteenth is 16 or more then, and made an index of 128 or more.
        VBytes result = hn::Zero(Bytes());
        for (unsigned i = 0; i < 256; i += 16) {
            VBytes const off = hn::Xor(bytes, hn::Set(Bytes(), static_cast<std::uint8_t>(i)));
            VBytes const index = hn::SaturatedAdd(off, hn::Set(Bytes(), std::uint8_t{0x70}));
            result = hn::Or(result, hn::TableLookupBytesOr0(hn::LoadDup128(Bytes(), table + i), index));
        }
        return result;
    }

private:
    unsigned char const *table;
};
#endif

void equaliseGrey(unsigned char const *in, unsigned char *out, std::size_t count) {
    alignas(64) unsigned char bytes[256];
    equalisedBytes(in, count, bytes);
    std::size_t done = 0;
#if HWY_TARGET <= HWY_AVX2
    Table const table(bytes);
    for (; count - done >= hn::Lanes(Bytes()); done += hn::Lanes(Bytes()))
        hn::StoreU(table[hn::LoadU(Bytes(), in + done)], Bytes(), out + done);
#endif
    for (; done < count; done++) out[done] = bytes[in[done]];
}

constexpr std::size_t lanes = hn::MaxLanes(Floats());

/// The bins of the first channel of whole vectors of pixels.
class Bins {
public:
    explicit HWY_INLINE Bins(int bins)
        : scale(hn::Set(Floats(), static_cast<float>(bins))), last(hn::Set(Ints(), bins - 1)) {}

    HWY_INLINE VInts of(VFloats values) const {
        return hn::Max(hn::Min(truncate(hn::Mul(values, scale)), last), hn::Zero(Ints()));
    }

private:
    VFloats scale;
    VInts last;
};

void countBins(Vec3f const *in, std::size_t count, int bins, std::uint32_t *counts) {
    Bins const vectors(bins);
    std::size_t const binCount = static_cast<std::size_t>(bins);
    // So many at once that the bins really go through memory: taken from registers, each costs more.
    constexpr std::size_t atOnce = 256;
    alignas(64) std::uint32_t taken[atOnce];
    std::size_t done = 0;
    for (; count - done >= atOnce; done += atOnce) {
        for (std::size_t i = 0; i < atOnce; i += lanes) {
            VFloats x, y, z;
            prefetchAhead<3 * sizeof x>(in + done + i);
            hn::LoadInterleaved3(Floats(), reinterpret_cast<float const *>(in + done + i), x, y, z);
            hn::Store(hn::BitCast(Words(), vectors.of(x)), Words(), taken + i);
        }
        // Neighbours, often of the same bin, go to different counters.
        for (std::size_t i = 0; i < atOnce; i += 4)
            for (std::size_t part = 0; part < 4; part++) counts[part * binCount + taken[i + part]]++;
    }
    for (; done < count; done++) counts[binOf(in[done].elements[0], bins)]++;
}

void putShares(Vec3f const *in, Vec3f *out, std::size_t count, int bins, float const *shares) {
    Bins const vectors(bins);
    std::size_t done = 0;
    for (; count - done >= lanes; done += lanes) {
        VFloats x, y, z;
        prefetchAhead<3 * sizeof x>(in + done);
        hn::LoadInterleaved3(Floats(), reinterpret_cast<float const *>(in + done), x, y, z);
        hn::StoreInterleaved3(hn::GatherIndex(Floats(), shares, vectors.of(x)), y, z, Floats(),
                              reinterpret_cast<float *>(out + done));
    }
    for (; done < count; done++) {
        out[done] = in[done];
        out[done].elements[0] = shares[binOf(in[done].elements[0], bins)];
    }
}

void equaliseFirstChannel(Vec3f const *in, Vec3f *out, std::size_t count, int bins) {
    equaliseFirstChannelWith(countBins, putShares, in, out, count, bins);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(equaliseGrey)
ZUN_DISPATCH(equaliseFirstChannel)
