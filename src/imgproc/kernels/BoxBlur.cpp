#include "imgproc/kernels/BoxBlur.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "imgproc/kernels/LowByte.h"

namespace zun::kernels {
namespace {

/// One axis of the box, over lines of a given length. Positions on a line are held within it: that is what repeats
/// the edge.
class Window {
public:
    std::int64_t size;
    float weight;

    Window(int extent, std::uint32_t lineLength)
        : size(extent), weight(1.0f / static_cast<float>(extent)), before(extent / 2),
          last(std::int64_t(lineLength) - 1) {}

    /// The i-th position under the window at the line's first.
    std::size_t first(std::int64_t i) const { return onLine(i - before); }
    /// The positions that leave and enter as the window moves to `position`.
    std::size_t leaving(std::int64_t position) const { return onLine(position - before - 1); }
    std::size_t entering(std::int64_t position) const { return onLine(position + size - before - 1); }

private:
    std::size_t onLine(std::int64_t position) const {
        return static_cast<std::size_t>(std::clamp<std::int64_t>(position, 0, last));
    }

    std::int64_t before, last;
};

/// The product of each byte value with the window's weight.
std::array<float, 256> productsOf(Window const &window) {
    std::array<float, 256> products;
    for (std::size_t value = 0; value < products.size(); value++)
        products[value] = static_cast<float>(value) * window.weight;
    return products;
}

/// Each sum waits for the one before it, so that several rows are summed abreast.
template <int channels>
constexpr std::size_t rowsAbreast = channels == 1 ? 8 : 4;

template <int channels>
struct RowBundle {
    std::array<unsigned char const *, rowsAbreast<channels>> in;
    std::array<unsigned char *, rowsAbreast<channels>> out;
};

template <int channels>
void blurAlongRows(RowBundle<channels> const &rows, std::uint32_t columns, Window const &window,
                   std::array<float, 256> const &products) {
    constexpr std::size_t count = rowsAbreast<channels>;
    float sums[count][channels] = {};
    auto const forEachSum = [&](auto visit) {
        for (std::size_t row = 0; row < count; row++)
            for (std::size_t channel = 0; channel < channels; channel++) visit(row, channel, sums[row][channel]);
    };
    auto const store = [&](std::size_t column) {
        forEachSum([&](std::size_t row, std::size_t channel, float &sum) {
            rows.out[row][column * channels + channel] = lowByte(sum);
        });
    };

    for (std::int64_t i = 0; i < window.size; i++) {
        std::size_t const at = window.first(i) * channels;
        forEachSum(
            [&](std::size_t row, std::size_t channel, float &sum) { sum += products[rows.in[row][at + channel]]; });
    }
    store(0);
    for (std::uint32_t column = 1; column < columns; column++) {
        std::size_t const leaving = window.leaving(column) * channels, entering = window.entering(column) * channels;
        forEachSum([&](std::size_t row, std::size_t channel, float &sum) {
            sum -= products[rows.in[row][leaving + channel]];
            sum += products[rows.in[row][entering + channel]];
        });
        store(column);
    }
}

/// The frame blurred along its rows, of which only those are kept that windows along the columns still reach.
template <int channels>
class BlurredRows {
public:
    BlurredRows(unsigned char const *frame, FrameSize frameSize, Window const &alongRow, int boxHeight)
        : in(frame), size(frameSize), pitch(std::size_t(frameSize.columns) * channels), window(alongRow),
          products(productsOf(alongRow)), capacity(static_cast<std::size_t>(std::min<std::int64_t>(
                                              frameSize.rows, boxHeight + std::int64_t(1 + rowsAbreast<channels>)))),
          ring(capacity * pitch) {}

    unsigned char const *row(std::size_t index) {
        while (done <= index) blurNext();
        return place(index);
    }

private:
    unsigned char *place(std::size_t index) { return ring.data() + index % capacity * pitch; }

    void blurNext() {
        RowBundle<channels> rows;
        std::size_t const last = size.rows - 1u;
        for (std::size_t i = 0; i < rowsAbreast<channels>; i++) {
            std::size_t const index = std::min(done + i, last);
            rows.in[i] = in + index * pitch;
            rows.out[i] = place(index);
        }
        blurAlongRows<channels>(rows, size.columns, window, products);
        done += rowsAbreast<channels>;
    }

    unsigned char const *in;
    FrameSize size;
    std::size_t pitch;
    Window const &window;
    std::array<float, 256> products;
    std::size_t capacity;
    std::vector<unsigned char> ring;
    std::size_t done = 0;
};

void add(float *__restrict sums, unsigned char const *__restrict row, float weight, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) sums[i] += static_cast<float>(row[i]) * weight;
}

void store(float const *__restrict sums, unsigned char *__restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) out[i] = lowByte(sums[i]);
}

void slide(float *__restrict sums, unsigned char const *__restrict leaving, unsigned char const *__restrict entering,
           float weight, unsigned char *__restrict out, std::size_t count) {
    for (std::size_t i = 0; i < count; i++) {
        float sum = sums[i] - static_cast<float>(leaving[i]) * weight;
        sum += static_cast<float>(entering[i]) * weight;
        sums[i] = sum;
        out[i] = lowByte(sum);
    }
}

template <int channels>
void blur(unsigned char const *in, unsigned char *out, FrameSize size, BoxSize box) {
    Window const alongRow(box.width, size.columns), alongColumn(box.height, size.rows);
    BlurredRows<channels> rows(in, size, alongRow, box.height);
    std::size_t const pitch = std::size_t(size.columns) * channels;
    std::vector<float> sums(pitch);

    for (std::int64_t i = 0; i < alongColumn.size; i++)
        add(sums.data(), rows.row(alongColumn.first(i)), alongColumn.weight, pitch);
    store(sums.data(), out, pitch);
    for (std::uint32_t row = 1; row < size.rows; row++) {
        unsigned char const *const entering = rows.row(alongColumn.entering(row));
        slide(sums.data(), rows.row(alongColumn.leaving(row)), entering, alongColumn.weight, out + row * pitch, pitch);
    }
}

} // namespace

void boxBlur(unsigned char const *in, unsigned char *out, FrameSize size, int channels, BoxSize box) {
    if (size.rows == 0 || size.columns == 0) return;
    if (channels == 1)
        blur<1>(in, out, size, box);
    else
        blur<3>(in, out, size, box);
}

} // namespace zun::kernels
