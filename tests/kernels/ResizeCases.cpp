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

struct Method {
    char const *name;
    Resize *plainForm, *fast;
};
constexpr Method nearest{"resizeNearest ", plain::resizeNearest, resizeNearest},
    blockMean{"resizeBlockMean ", plain::resizeBlockMean, resizeBlockMean},
    bilinear{"resizeBilinear ", plain::resizeBilinear, resizeBilinear},
    areaMean{"resizeAreaMean ", plain::resizeAreaMean, resizeAreaMean};

template <Sizes (*sizes)(FrameSize)>
KernelCase resized(Method const &method, std::string const &setting) {
    return {method.name + setting,
            Content::bytes,
            frameBytes<3>,
            [](FrameSize size) { return sizes(size).areFrames() ? frameBytes<3>(sizes(size).to) : 0; },
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                auto const [from, to] = sizes(size);
                formOf(form, method.plainForm, method.fast)(reinterpret_cast<Vec3b const *>(in), from,
                                                            reinterpret_cast<Vec3b *>(out), to);
            },
            [](FrameSize size) { return size.rows > 0 && size.columns > 0 && sizes(size).areFrames(); }};
}

} // namespace

std::vector<KernelCase> resizeCases() {
    return {resized<scaled<2, 3>>(nearest, "to 2/3"),
            resized<scaled<2, 1>>(nearest, "to double"),
            resized<scaled<3, 1>>(nearest, "to triple"),
            resized<scaled<8, 7>>(nearest, "to 8/7"),
            resized<scaled<2, 9>>(nearest, "to 2/9"),
            resized<wholeRow>(nearest, "to a column"),
            resized<highAndNarrow>(nearest, "to high and narrow"),
            resized<blocks<2, 2>>(blockMean, "of 2 x 2"),
            resized<blocks<3, 3>>(blockMean, "of 3 x 3"),
            resized<blocks<1, 2>>(blockMean, "of 1 x 2"),
            resized<blocks<5, 4>>(blockMean, "of 5 x 4"),
            resized<blocks<129, 2>>(blockMean, "of 129 x 2"),
            resized<blocks<15, 17>>(blockMean, "of 15 x 17"),
            resized<blocks<17, 31>>(blockMean, "of 17 x 31"),
            resized<onePixel>(blockMean, "of all"),
            resized<wholeRow>(blockMean, "of a row"),
            resized<wholeColumn>(blockMean, "of a column"),
            resized<scaled<2, 3>>(bilinear, "to 2/3"),
            resized<scaled<5, 7>>(bilinear, "to 5/7"),
            resized<scaled<3, 2>>(bilinear, "to 3/2"),
            resized<scaled<7, 3>>(bilinear, "to 7/3"),
            resized<scaled<2, 11>>(bilinear, "to 2/11"),
            resized<onePixel>(bilinear, "to one pixel"),
            resized<lowAndWide>(bilinear, "to low and wide"),
            resized<highAndNarrow>(bilinear, "to high and narrow"),
            resized<scaled<2, 3>>(areaMean, "to 2/3"),
            resized<scaled<5, 7>>(areaMean, "to 5/7"),
            resized<scaled<3, 10>>(areaMean, "to 3/10"),
            resized<scaled<2, 31>>(areaMean, "to 2/31"),
            resized<lessByOne>(areaMean, "to one less"),
            resized<onePixel>(areaMean, "to one pixel")};
}

} // namespace zun::kernels
