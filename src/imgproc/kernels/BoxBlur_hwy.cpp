// The frame goes through in blocks of as many rows as a vector has bytes. A block is transposed, so that its rows run
// side by side, one in each lane; their means go back into a ring of rows, along whose columns the second sums run.
#include "imgproc/kernels/BoxBlur.h"

#include <cstring>

#include "imgproc/kernels/BoxWindow.h"
#include "imgproc/kernels/Scratch.h"
#include "imgproc/kernels/Vectors-inl.h"

#ifndef ZUN_ONCE
#define ZUN_ONCE
namespace zun::kernels {

/// What is transposed at once: so many rows of a block, or of a transposed one.
constexpr std::size_t stripRows = 16;
/// No target's vectors are longer, and so no block has more rows.
constexpr std::size_t mostBytes = 64;
constexpr std::size_t mostChannels = 3;

constexpr std::size_t roundedUp(std::size_t count, std::size_t step) { return (count + step - 1) / step * step; }

struct BlurScratch {
    std::size_t pitch, ringRows; ///< multiples of mostBytes
    std::uint8_t *strip, *block, *ring;
    float *sums; ///< along the columns
};

using BlurBlocks = void(BlurScratch const &scratch, unsigned char const *in, unsigned char *out, FrameSize size,
                        int channels, BoxSize box);

static void blurWith(BlurBlocks blurBlocks, unsigned char const *in, unsigned char *out, FrameSize size, int channels,
                     BoxSize box) {
    if (size.rows == 0 || size.columns == 0) return;
    std::size_t const pixelBytes = static_cast<std::size_t>(channels);
    // Without pixels to add up there is no first sum of a column.
    if (box.width == 0 || box.height == 0) return void(std::memset(out, 0, size.rows * (size.columns * pixelBytes)));
    // Strips are written whole, beyond a row's end too.
    std::size_t const pitch = roundedUp((size.columns + stripRows) * pixelBytes, mostBytes);
    // From the row that leaves to the one that enters, and on to the end of its block.
    std::size_t const reached = static_cast<std::size_t>(box.height) + mostBytes;
    std::size_t const ringRows = roundedUp(reached < size.rows ? reached : size.rows, mostBytes);
    Scratch<std::uint8_t> const strip(stripRows * pitch), block(pitch * mostBytes), ring(ringRows * pitch);
    Scratch<float> const sums(pitch);
    blurBlocks({pitch, ringRows, strip.data(), block.data(), ring.data(), sums.data()}, in, out, size, channels, box);
}

} // namespace zun::kernels
#endif

HWY_BEFORE_NAMESPACE();
namespace zun::kernels::HWY_NAMESPACE {

#if ZUN_HAS_VECTORS

inline std::size_t blockRows() { return hn::Lanes(Bytes()); }

/// A running sum for each byte of a vector. That of byte 4 i + k is lane i of the k-th vector of sums: bytes become
/// lanes, and lanes bytes, without leaving their word.
class Sums {
public:
    explicit HWY_INLINE Sums(float factor)
        : a(hn::Zero(Floats())), b(a), c(a), d(a), weight(hn::Set(Floats(), factor)) {}
    HWY_INLINE Sums(float factor, float const *from)
        : a(hn::Load(Floats(), from)), b(hn::Load(Floats(), from + lanes())), c(hn::Load(Floats(), from + 2 * lanes())),
          d(hn::Load(Floats(), from + 3 * lanes())), weight(hn::Set(Floats(), factor)) {}

    HWY_INLINE void store(float *to) const {
        hn::Store(a, Floats(), to);
        hn::Store(b, Floats(), to + lanes());
        hn::Store(c, Floats(), to + 2 * lanes());
        hn::Store(d, Floats(), to + 3 * lanes());
    }

    HWY_INLINE void add(std::uint8_t const *entering) {
        VWords const words = load(entering);
        a = hn::Add(a, product<0>(words));
        b = hn::Add(b, product<1>(words));
        c = hn::Add(c, product<2>(words));
        d = hn::Add(d, product<3>(words));
    }

    HWY_INLINE void subtract(std::uint8_t const *leaving) {
        VWords const words = load(leaving);
        a = hn::Sub(a, product<0>(words));
        b = hn::Sub(b, product<1>(words));
        c = hn::Sub(c, product<2>(words));
        d = hn::Sub(d, product<3>(words));
    }

    /// The sums' low bytes.
    HWY_INLINE VBytes bytes() const {
        hn::Repartition<std::uint16_t, Bytes> const pairs;
        auto const low = hn::BitCast(pairs, lowBytes(a, b)), high = hn::BitCast(pairs, lowBytes(c, d));
        auto const raised = hn::BitCast(pairs, hn::ShiftLeft<16>(hn::BitCast(Words(), high)));
        return hn::BitCast(Bytes(), hn::OddEven(raised, low));
    }

private:
    static HWY_INLINE std::size_t lanes() { return hn::Lanes(Floats()); }
    static HWY_INLINE VWords load(std::uint8_t const *bytes) { return hn::BitCast(Words(), hn::Load(Bytes(), bytes)); }

    template <int byte>
    HWY_INLINE VFloats product(VWords words) const {
        VWords const values = hn::And(hn::ShiftRight<8 * byte>(words), hn::Set(Words(), 0xFF));
        return hn::Mul(hn::ConvertTo(Floats(), hn::BitCast(Ints(), values)), weight);
    }

    /// Those of `even` in the lanes' first bytes, those of `odd` in their second ones.
    static HWY_INLINE VBytes lowBytes(VFloats even, VFloats odd) {
        return hn::OddEven(hn::BitCast(Bytes(), hn::ShiftLeft<8>(truncate(odd))), hn::BitCast(Bytes(), truncate(even)));
    }

    VFloats a, b, c, d, weight;
};

/// Stores the vector's blocks of sixteen bytes `step` apart.
template <class D>
HWY_INLINE void storeBlocks(D d, hn::Vec<D> bytes, std::uint8_t *out, std::size_t step) {
    if constexpr (hn::MaxLanes(d) == 16) {
        hn::StoreU(bytes, d, out);
    } else {
        hn::Half<D> const half;
        storeBlocks(half, hn::LowerHalf(half, bytes), out, step);
        storeBlocks(half, hn::UpperHalf(half, bytes), out + hn::MaxLanes(half) / 16 * step, step);
    }
}

/// Sixteen rows of a vector each, to sixteen bytes of as many rows as the vector has bytes.
HWY_INLINE void transpose(std::uint8_t const *in, std::size_t inPitch, std::uint8_t *out, std::size_t outPitch) {
    VBytes rows[stripRows], mixed[stripRows];
    for (std::size_t i = 0; i < stripRows; i++) rows[i] = hn::Load(Bytes(), in + i * inPitch);
    auto const mix = [](VBytes const *from, VBytes *to) HWY_ATTR {
        for (std::size_t i = 0; i < stripRows / 2; i++) {
            to[2 * i] = hn::InterleaveLower(Bytes(), from[i], from[i + stripRows / 2]);
            to[2 * i + 1] = hn::InterleaveUpper(Bytes(), from[i], from[i + stripRows / 2]);
        }
    };
    mix(rows, mixed);
    mix(mixed, rows);
    mix(rows, mixed);
    mix(mixed, rows);
    for (std::size_t i = 0; i < stripRows; i++) storeBlocks(Bytes(), rows[i], out + i * outPitch, stripRows * outPitch);
}

/// The frame blurred along its rows. The ring keeps those that windows along the columns still reach.
class BlurredRows {
public:
    BlurredRows(std::uint8_t const *frame, FrameSize size, std::size_t bytesOfPixel, BoxWindow const &alongRow,
                BlurScratch const &memory)
        : in(frame), last(size.rows - 1u), columns(size.columns), pixelBytes(bytesOfPixel),
          rowBytes(size.columns * bytesOfPixel), window(alongRow), scratch(memory) {}

    std::uint8_t const *row(std::size_t index) {
        for (; done <= index; done += blockRows()) {
            transposeBlock();
            blurBlock();
        }
        return place(index);
    }

private:
    std::uint8_t *place(std::size_t index) const { return scratch.ring + index % scratch.ringRows * scratch.pitch; }

    /// One channel of a column, now a line of the block.
    HWY_INLINE std::uint8_t *line(std::size_t column, std::size_t channel) const {
        return scratch.block + (column * pixelBytes + channel) * blockRows();
    }

    /// Below the frame its last row is taken. The rows are copied first, one after the other: so they come fast from
    /// memory, and may be read beyond their ends.
    void transposeBlock() const {
        for (std::size_t top = 0; top < blockRows(); top += stripRows) {
            for (std::size_t i = 0; i < stripRows; i++)
                std::memcpy(scratch.strip + i * scratch.pitch, in + HWY_MIN(done + top + i, last) * rowBytes, rowBytes);
            for (std::size_t left = 0; left < rowBytes; left += blockRows())
                transpose(scratch.strip + left, scratch.pitch, scratch.block + left * blockRows() + top, blockRows());
        }
    }

    void blurBlock() const {
        alignas(64) float sums[mostChannels][mostBytes];
        for (std::size_t channel = 0; channel < pixelBytes; channel++) {
            Sums first(window.weight);
            for (std::int64_t i = 0; i < window.size; i++) first.add(line(window.first(i), channel));
            first.store(sums[channel]);
        }
        alignas(64) std::uint8_t means[stripRows * mostChannels * mostBytes];
        for (std::size_t left = 0; left < columns; left += stripRows) {
            for (std::size_t channel = 0; channel < pixelBytes; channel++)
                blurStrip(left, channel, sums[channel], means + channel * blockRows());
            for (std::size_t i = 0; i < stripRows * pixelBytes; i += stripRows)
                transpose(means + i * blockRows(), blockRows(), place(done) + left * pixelBytes + i, scratch.pitch);
        }
    }

    /// One channel of a strip's columns. Those beyond the row's end are as harmless as they are useless.
    HWY_INLINE void blurStrip(std::size_t left, std::size_t channel, float *kept, std::uint8_t *means) const {
        Sums sums(window.weight, kept);
        for (std::size_t i = 0; i < stripRows; i++) {
            hn::Store(sums.bytes(), Bytes(), means + i * pixelBytes * blockRows());
            auto const next = static_cast<std::int64_t>(left + i + 1);
            sums.subtract(line(window.leaving(next), channel));
            sums.add(line(window.entering(next), channel));
        }
        sums.store(kept);
    }

    std::uint8_t const *in;
    std::size_t last, columns, pixelBytes, rowBytes;
    BoxWindow const &window;
    BlurScratch const &scratch;
    std::size_t done = 0;
};

void blurBlocks(BlurScratch const &scratch, unsigned char const *in, unsigned char *out, FrameSize size, int channels,
                BoxSize box) {
    std::size_t const pixelBytes = static_cast<std::size_t>(channels), rowBytes = size.columns * pixelBytes;
    BoxWindow const alongRow(box.width, size.columns), alongColumn(box.height, size.rows);
    BlurredRows rows(in, size, pixelBytes, alongRow, scratch);

    for (std::int64_t i = 0; i < alongColumn.size; i++) {
        std::uint8_t const *const entering = rows.row(alongColumn.first(i));
        for (std::size_t x = 0; x < rowBytes; x += blockRows()) {
            Sums sums = i == 0 ? Sums(alongColumn.weight) : Sums(alongColumn.weight, scratch.sums + x);
            sums.add(entering + x);
            sums.store(scratch.sums + x);
        }
    }
    for (std::uint32_t row = 0; row < size.rows; row++, out += rowBytes) {
        std::uint8_t const *const entering = rows.row(alongColumn.entering(row + std::int64_t(1))),
                                  *const leaving = rows.row(alongColumn.leaving(row + std::int64_t(1)));
        // A row's last vector reaches into the next row, which comes later, but must not reach beyond the frame.
        bool const fits = (size.rows - row) * rowBytes >= roundedUp(rowBytes, blockRows());
        std::uint8_t *const means = fits ? out : scratch.strip;
        for (std::size_t x = 0; x < rowBytes; x += blockRows()) {
            Sums sums(alongColumn.weight, scratch.sums + x);
            hn::StoreU(sums.bytes(), Bytes(), means + x);
            sums.subtract(leaving + x);
            sums.add(entering + x);
            sums.store(scratch.sums + x);
        }
        if (!fits) std::memcpy(out, means, rowBytes);
    }
}

void boxBlur(unsigned char const *in, unsigned char *out, FrameSize size, int channels, BoxSize box) {
    blurWith(blurBlocks, in, out, size, channels, box);
}

#endif

} // namespace zun::kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

ZUN_DISPATCH(boxBlur)
