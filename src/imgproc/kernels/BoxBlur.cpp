#include "imgproc/kernels/BoxBlur.h"

#include <vector>

#include "imgproc/kernels/BoxWindow.h"
#include "imgproc/kernels/LowByte.h"

namespace zun::kernels {
namespace {

/// One channel of a line, whose positions are `step` bytes apart.
void blurLine(unsigned char const *in, unsigned char *out, std::size_t step, std::size_t length,
              BoxWindow const &window) {
    auto const product = [&](std::size_t position) { return static_cast<float>(in[position * step]) * window.weight; };
    float sum = 0;
    for (std::int64_t i = 0; i < window.size; i++) sum += product(window.first(i));
    out[0] = lowByte(sum);
    for (std::size_t position = 1; position < length; position++) {
        sum -= product(window.leaving(static_cast<std::int64_t>(position)));
        sum += product(window.entering(static_cast<std::int64_t>(position)));
        out[position * step] = lowByte(sum);
    }
}

} // namespace

void plain::boxBlur(unsigned char const *in, unsigned char *out, FrameSize size, int channels, BoxSize box) {
    BoxWindow const alongRow(box.width, size.columns), alongColumn(box.height, size.rows);
    std::size_t const pixelBytes = static_cast<std::size_t>(channels), rowBytes = size.columns * pixelBytes;
    std::vector<unsigned char> means(size.rows * rowBytes);
    if (means.empty()) return;
    for (std::size_t row = 0; row < size.rows; row++)
        for (std::size_t i = row * rowBytes; i < row * rowBytes + pixelBytes; i++)
            blurLine(in + i, means.data() + i, pixelBytes, size.columns, alongRow);
    for (std::size_t i = 0; i < rowBytes; i++) blurLine(means.data() + i, out + i, rowBytes, size.rows, alongColumn);
}

} // namespace zun::kernels
