#include "KernelCase.h"
#include "imgproc/kernels/Resize.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;
using Resize = void(Vec3b const *, FrameSize, Vec3b *, FrameSize);

struct Sizes {
    FrameSize from, to;

    bool areFrames() const { return from.rows > 0 && from.columns > 0 && to.rows > 0 && to.columns > 0; }
};

/// From a frame of the size given to one that is smaller by a ratio, or larger.
template <std::uint32_t num, std::uint32_t den>
Sizes scaled(FrameSize size) {
    return {size, {size.rows * num / den, size.columns * num / den}};
}

/// From as many whole blocks as there are.
template <std::uint32_t height, std::uint32_t width>
Sizes blocks(FrameSize size) {
    FrameSize const to{size.rows / height, size.columns / width};
    return {{to.rows * height, to.columns * width}, to};
}

Sizes wholeRow(FrameSize size) { return {size, {size.rows, 1}}; }
Sizes wholeColumn(FrameSize size) { return {size, {1, size.columns}}; }
Sizes onePixel(FrameSize size) { return {size, {1, 1}}; }
Sizes lowAndWide(FrameSize size) { return {size, {size.rows / 2, size.columns * 3 / 2}}; }
Sizes highAndNarrow(FrameSize size) { return {size, {size.rows + 3, size.columns * 5 / 9}}; }
Sizes lessByOne(FrameSize size) { return {size, {size.rows - 1, size.columns - 1}}; }

template <Sizes (*sizes)(FrameSize)>
KernelCase resized(std::string name, Resize *plainForm, Resize *fast) {
    return {std::move(name),
            Content::bytes,
            frameBytes<3>,
            [](FrameSize size) { return sizes(size).areFrames() ? frameBytes<3>(sizes(size).to) : 0; },
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                auto const [from, to] = sizes(size);
                formOf(form, plainForm, fast)(reinterpret_cast<Vec3b const *>(in), from, reinterpret_cast<Vec3b *>(out),
                                              to);
            },
            [](FrameSize size) { return size.rows > 0 && size.columns > 0 && sizes(size).areFrames(); }};
}

template <Sizes (*sizes)(FrameSize)>
KernelCase nearest(std::string const &setting) {
    return resized<sizes>("resizeNearest " + setting, plain::resizeNearest, resizeNearest);
}

template <Sizes (*sizes)(FrameSize)>
KernelCase blockMean(std::string const &setting) {
    return resized<sizes>("resizeBlockMean " + setting, plain::resizeBlockMean, resizeBlockMean);
}

template <Sizes (*sizes)(FrameSize)>
KernelCase bilinear(std::string const &setting) {
    return resized<sizes>("resizeBilinear " + setting, plain::resizeBilinear, resizeBilinear);
}

template <Sizes (*sizes)(FrameSize)>
KernelCase areaMean(std::string const &setting) {
    return resized<sizes>("resizeAreaMean " + setting, plain::resizeAreaMean, resizeAreaMean);
}

} // namespace

std::vector<KernelCase> resizeCases() {
    return {nearest<scaled<2, 3>>("to 2/3"),
            nearest<scaled<2, 1>>("to double"),
            nearest<scaled<3, 1>>("to triple"),
            nearest<scaled<8, 7>>("to 8/7"),
            nearest<scaled<2, 9>>("to 2/9"),
            nearest<wholeRow>("to a column"),
            nearest<highAndNarrow>("to high and narrow"),
            blockMean<blocks<2, 2>>("of 2 x 2"),
            blockMean<blocks<3, 3>>("of 3 x 3"),
            blockMean<blocks<1, 2>>("of 1 x 2"),
            blockMean<blocks<5, 4>>("of 5 x 4"),
            blockMean<blocks<129, 2>>("of 129 x 2"),
            blockMean<blocks<15, 17>>("of 15 x 17"),
            blockMean<blocks<17, 31>>("of 17 x 31"),
            blockMean<onePixel>("of all"),
            blockMean<wholeRow>("of a row"),
            blockMean<wholeColumn>("of a column"),
            bilinear<scaled<2, 3>>("to 2/3"),
            bilinear<scaled<5, 7>>("to 5/7"),
            bilinear<scaled<3, 2>>("to 3/2"),
            bilinear<scaled<7, 3>>("to 7/3"),
            bilinear<scaled<2, 11>>("to 2/11"),
            bilinear<onePixel>("to one pixel"),
            bilinear<lowAndWide>("to low and wide"),
            bilinear<highAndNarrow>("to high and narrow"),
            areaMean<scaled<2, 3>>("to 2/3"),
            areaMean<scaled<5, 7>>("to 5/7"),
            areaMean<scaled<3, 10>>("to 3/10"),
            areaMean<scaled<2, 31>>("to 2/31"),
            areaMean<lessByOne>("to one less"),
            areaMean<onePixel>("to one pixel")};
}

} // namespace zun::kernels
