#include <limits>

#include "KernelCase.h"
#include "imgproc/kernels/Warp.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

constexpr Vec3b black{0, 0, 0}, border{7, 255, 130};

/// A frame of the output's size, or one with more or fewer rows and columns.
KernelCase warp(std::string name, AffineMap const &map, Vec3b outside = border, std::uint32_t extra = 0,
                std::uint32_t divisor = 1) {
    auto const frameOf = [=](FrameSize to) { return FrameSize{to.rows / divisor + extra, to.columns / divisor}; };
    return {"warpAffine " + name, Content::bytes,
            [](FrameSize size) {
                return frameBytes<3>({size.rows + 40, size.columns});
            },
            frameBytes<3>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plain::warpAffine, warpAffine)(reinterpret_cast<Vec3b const *>(in), frameOf(size), map,
                                                            outside, reinterpret_cast<Vec3b *>(out), size);
            }};
}

} // namespace

std::vector<KernelCase> warpCases() {
    constexpr float infinity = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    return {warp("by 10 degrees", {0.98480775f, 0.17364818f, -10.5f, -0.17364818f, 0.98480775f, 12.25f}, black),
            warp("by 10 degrees, coloured border", {0.98480775f, 0.17364818f, -10, -0.17364818f, 0.98480775f, 9}),
            warp("by 100 degrees", {-0.17364818f, 0.98480775f, 20, -0.98480775f, -0.17364818f, 80}),
            warp("not at all", {1, 0, 0, 0, 1, 0}),
            warp("by whole pixels", {1, 0, -3, 0, 1, 2}),
            warp("by fractions", {1, 0, 0.25f, 0, 1, -0.625f}),
            warp("by next to nothing", {1, 0, -1e-9f, 0, 1, -1e-42f}),
            warp("to double", {0.5f, 0, 0, 0, 0.5f, 0}, border, 0, 2),
            warp("to a third", {3, 0, 1, 0, 3, 1}, border, 40),
            warp("mirrored", {-1, 0, 60.5f, 0, -1, 20}),
            warp("turned", {0, 1, 0, 1, 0, 0}, border, 40),
            warp("to beside the frame", {1, 0, 1e6f, 0, 1, 0}),
            warp("to one point", {0, 0, 0, 0, 0, 0}),
            warp("to one line", {0.1f, 0.1f, 1.5f, 0.2f, 0.2f, 0.5f}),
            warp("of an empty frame", {1, 0, 0, 0, 1, 0}, border, 0, 1000),
            warp("beyond all ints", {1e8f, 0, -3e9f, 1, 1, 0}),
            warp("to huge coordinates", {1, 1e30f, 0, 3e38f, 1, 0}),
            warp("around the smallest int", {100, 0, -2147483648.0f, 0, 1, 2147483520.0f}),
            warp("by what is not a number", {nan, 0, 0, 0, 1, 0}),
            warp("by infinities", {1, infinity, 0, 0, 1, -infinity})};
}

} // namespace zun::kernels
