#include <algorithm>

#include "KernelCase.h"
#include "imgproc/kernels/Colour.h"

namespace zun::kernels {
namespace {

using Form = KernelCase::Form;

/// A kernel that takes frames as one flat run of pixels.
template <class In, class Out, class... Parameters>
KernelCase flat(std::string name, Content content, void (*plainForm)(In const *, Out *, std::uint32_t, Parameters...),
                void (*fast)(In const *, Out *, std::uint32_t, Parameters...),
                std::type_identity_t<Parameters> const &...parameters) {
    return {std::move(name),
            content,
            frameBytes<sizeof(In)>,
            frameBytes<sizeof(Out)>,
            [=](Form form, unsigned char const *in, unsigned char *out, FrameSize size) {
                formOf(form, plainForm, fast)(reinterpret_cast<In const *>(in), reinterpret_cast<Out *>(out),
                                              size.rows * size.columns, parameters...);
            },
            [](FrameSize) { return true; },
            std::max(alignof(In), alignof(Out))};
}

constexpr Weights<3> weights = {{{1.0f, 0.0f, 1.402f}, {1.0f, -0.344136f, -0.714136f}, {1.0f, 1.772f, -0.081312f}}};

} // namespace

std::vector<KernelCase> colourCases() {
    Weights<3> scaled = weights;
    for (auto &row : scaled)
        for (float &weight : row) weight *= 256.0f;
    return {flat<Vec3b, Vec3b>("reverseChannels", Content::bytes, plain::reverseChannels, reverseChannels),
            flat<Vec4b, Vec3b>("pickChannels first", Content::bytes, plain::pickChannels, pickChannels, {0, 1, 2}),
            flat<Vec4b, Vec3b>("pickChannels reversed", Content::bytes, plain::pickChannels, pickChannels, {3, 2, 1}),
            flat<Vec3b, Vec3f, Weights<3>>("multiply", Content::bytes, plain::multiply, multiply, weights),
            flat<Vec3f, Vec3b, Weights<3>>("multiplyToBytes", Content::floats, plain::multiplyToBytes, multiplyToBytes,
                                           scaled),
            flat<Vec3b, unsigned char, std::array<float, 3>>("weightedSum", Content::bytes, plain::weightedSum,
                                                             weightedSum, {0.299f, 0.587f, 0.114f}),
            flat<Vec4b, unsigned char, std::array<float, 4>>("weightedSum of four", Content::bytes,
                                                             plain::weightedSumOfFour, weightedSumOfFour,
                                                             {0.114f, 0.587f, 0.299f, 0.0f}),
            flat<Vec3f, unsigned char, std::array<float, 3>>("weightedSum of floats", Content::floats,
                                                             plain::weightedSumOfFloats, weightedSumOfFloats,
                                                             {1.0f, 0.0f, 0.0f}),
            flat<Vec4b, Vec3f, Weights<4>>("multiply four", Content::bytes, plain::multiplyFour, multiplyFour,
                                           {{{0.0f, 0.299f, 0.587f, 0.114f},
                                             {0.0f, -0.168736f, -0.331264f, 0.5f},
                                             {0.0f, 0.5f, -0.418688f, -0.081312f}}}),
            flat<unsigned char, Vec3b>("broadcast", Content::bytes, plain::broadcast, broadcast)};
}

} // namespace zun::kernels
