#include <limits>

#include "KernelCase.h"
#include "imgproc/kernels/Resize.h"
#include "imgproc/kernels/Warp.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

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

Sizes row(FrameSize size) { return {size, {size.rows, 1}}; }
Sizes column(FrameSize size) { return {size, {1, size.columns}}; }
Sizes onePixel(FrameSize size) { return {size, {1, 1}}; }
Sizes low(FrameSize size) { return {size, {size.rows / 2, size.columns * 3 / 2}}; }
Sizes high(FrameSize size) { return {size, {size.rows + 3, size.columns * 5 / 9}}; }
Sizes lessByOne(FrameSize size) { return {size, {size.rows - 1, size.columns - 1}}; }

struct Method {
    char const *name;
    void (*plainForm)(Vec3b const *, FrameSize, Vec3b *, FrameSize),
        (*fast)(Vec3b const *, FrameSize, Vec3b *, FrameSize);
};
constexpr Method nearest{"resizeNearest ", plain::resizeNearest, resizeNearest},
    block{"resizeBlockMean ", plain::resizeBlockMean, resizeBlockMean},
    bilinear{"resizeBilinear ", plain::resizeBilinear, resizeBilinear},
    area{"resizeAreaMean ", plain::resizeAreaMean, resizeAreaMean};

KernelCase resized(Method const &method, std::string const &setting, Sizes (*sizes)(FrameSize)) {
    auto const outputBytes = [=](FrameSize size) {
        return sizes(size).areFrames() ? frameBytes<3>(sizes(size).to) : 0;
    };
    return {method.name + setting,
            Content::bytes,
            frameBytes<3>,
            outputBytes,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                auto const [from, to] = sizes(size);
                formOf(form, method.plainForm, method.fast)(reinterpret_cast<Vec3b const *>(in), from,
                                                            reinterpret_cast<Vec3b *>(out), to);
            },
            [=](FrameSize size) { return size.rows > 0 && size.columns > 0 && sizes(size).areFrames(); }};
}

/// To a frame of the output's size from one of the same, or with more or fewer rows and columns.
KernelCase warped(std::string const &setting, AffineMap const &map, std::uint32_t extra = 0, std::uint32_t divisor = 1,
                  Vec3b outside = {7, 255, 130}) {
    auto const inputBytes = [](FrameSize size) { return frameBytes<3>({size.rows + 40, size.columns}); };
    return {"warpAffine " + setting, Content::bytes, inputBytes, frameBytes<3>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                FrameSize const from{size.rows / divisor + extra, size.columns / divisor};
                formOf(form, plain::warpAffine, warpAffine)(reinterpret_cast<Vec3b const *>(in), from, map, outside,
                                                            reinterpret_cast<Vec3b *>(out), size);
            }};
}

} // namespace

std::vector<KernelCase> geometryCases() {
    constexpr float infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    std::vector<KernelCase> all;
    all.insert(all.end(), {resized(nearest, "to 2/3", scaled<2, 3>), resized(nearest, "to double", scaled<2, 1>),
                           resized(nearest, "to triple", scaled<3, 1>), resized(nearest, "to 8/7", scaled<8, 7>),
                           resized(nearest, "to 2/9", scaled<2, 9>), resized(nearest, "to a column", row),
                           resized(nearest, "to high and narrow", high)});
    all.insert(all.end(), {resized(block, "of 2 x 2", blocks<2, 2>), resized(block, "of 3 x 3", blocks<3, 3>),
                           resized(block, "of 1 x 2", blocks<1, 2>), resized(block, "of 5 x 4", blocks<5, 4>),
                           resized(block, "of 129 x 2", blocks<129, 2>), resized(block, "of 15 x 17", blocks<15, 17>),
                           resized(block, "of 17 x 31", blocks<17, 31>), resized(block, "of all", onePixel),
                           resized(block, "of a row", row), resized(block, "of a column", column)});
    all.insert(all.end(), {resized(bilinear, "to 2/3", scaled<2, 3>), resized(bilinear, "to 5/7", scaled<5, 7>),
                           resized(bilinear, "to 3/2", scaled<3, 2>), resized(bilinear, "to 7/3", scaled<7, 3>),
                           resized(bilinear, "to 2/11", scaled<2, 11>), resized(bilinear, "to one pixel", onePixel),
                           resized(bilinear, "to low and wide", low), resized(bilinear, "to high and narrow", high)});
    all.insert(all.end(), {resized(area, "to 2/3", scaled<2, 3>), resized(area, "to 5/7", scaled<5, 7>),
                           resized(area, "to 3/10", scaled<3, 10>), resized(area, "to 2/31", scaled<2, 31>),
                           resized(area, "to one less", lessByOne), resized(area, "to one pixel", onePixel)});
    AffineMap const tenDegrees{0.98480775f, 0.17364818f, -10.5f, -0.17364818f, 0.98480775f, 12.25f};
    all.insert(all.end(),
               {warped("by 10 degrees", tenDegrees, 0, 1, {0, 0, 0}),
                warped("by 10 degrees, coloured border", tenDegrees),
                warped("by 100 degrees", {-0.17364818f, 0.98480775f, 20, -0.98480775f, -0.17364818f, 80}),
                warped("not at all", {1, 0, 0, 0, 1, 0}), warped("by whole pixels", {1, 0, -3, 0, 1, 2}),
                warped("by fractions", {1, 0, 0.25f, 0, 1, -0.625f}),
                warped("by next to nothing", {1, 0, -1e-9f, 0, 1, -1e-42f}),
                warped("to double", {0.5f, 0, 0, 0, 0.5f, 0}, 0, 2), warped("to a third", {3, 0, 1, 0, 3, 1}, 40)});
    all.insert(all.end(),
               {warped("mirrored", {-1, 0, 60.5f, 0, -1, 20}), warped("turned", {0, 1, 0, 1, 0, 0}, 40),
                warped("to beside the frame", {1, 0, 1e6f, 0, 1, 0}), warped("to one point", {0, 0, 0, 0, 0, 0}),
                warped("to one line", {0.1f, 0.1f, 1.5f, 0.2f, 0.2f, 0.5f}),
                warped("of an empty frame", {1, 0, 0, 0, 1, 0}, 0, 1000),
                warped("beyond all ints", {1e8f, 0, -3e9f, 1, 1, 0}),
                warped("to huge coordinates", {1, 1e30f, 0, 3e38f, 1, 0}),
                warped("around the smallest int", {100, 0, -2147483648.0f, 0, 1, 2147483520.0f}),
                warped("by what is not a number", {nan, 0, 0, 0, 1, 0}),
                warped("by infinities", {1, infinity, 0, 0, 1, -infinity})});
    return all;
}

} // namespace zun::kernels
