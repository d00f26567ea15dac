#include "imgproc/kernels/Colour.h"

#include <algorithm>

#include "imgproc/kernels/LowByte.h"

namespace zun::kernels {
namespace {

template <class T, std::size_t N>
float dot(Vec<T, static_cast<int>(N)> const &pixel, std::array<float, N> const &weights) {
    float sum = weights[0] * static_cast<float>(pixel.elements[0]);
    for (std::size_t k = 1; k < N; k++) sum += weights[k] * static_cast<float>(pixel.elements[k]);
    return sum;
}

template <class Pixel, class Rows>
Vec3f product(Pixel const &pixel, Rows const &rows) {
    return {dot(pixel, rows[0]), dot(pixel, rows[1]), dot(pixel, rows[2])};
}

Vec3b clamped(Vec3f const &pixel) {
    auto const byte = [](float v) { return static_cast<unsigned char>(std::min(std::max(0.0f, v), 255.0f)); };
    return {byte(pixel[0]), byte(pixel[1]), byte(pixel[2])};
}

template <class From, class To, class Convert>
void forEachPixel(From const *__restrict in, To *__restrict out, std::uint32_t count, Convert convert) {
    for (std::uint32_t i = 0; i < count; i++) out[i] = convert(in[i]);
}

} // namespace

void plain::reverseChannels(Vec3b const *in, Vec3b *out, std::uint32_t count) {
    forEachPixel(in, out, count, [](Vec3b const &pixel) { return Vec3b{pixel[2], pixel[1], pixel[0]}; });
}

void plain::pickChannels(Vec4b const *in, Vec3b *out, std::uint32_t count, std::array<int, 3> chosen) {
    auto const [a, b, c] = chosen;
    forEachPixel(in, out, count, [a, b, c](Vec4b const &pixel) { return Vec3b{pixel[a], pixel[b], pixel[c]}; });
}

void plain::multiply(Vec3b const *in, Vec3f *out, std::uint32_t count, Weights<3> weights) {
    forEachPixel(in, out, count, [weights](Vec3b const &pixel) { return product(pixel, weights); });
}

void plain::multiplyFour(Vec4b const *in, Vec3f *out, std::uint32_t count, Weights<4> weights) {
    forEachPixel(in, out, count, [weights](Vec4b const &pixel) { return product(pixel, weights); });
}

void plain::multiplyToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> weights) {
    forEachPixel(in, out, count, [weights](Vec3f const &pixel) { return clamped(product(pixel, weights)); });
}

void multiplyTwiceToBytes(Vec3f const *in, Vec3b *out, std::uint32_t count, Weights<3> first, Weights<3> second) {
    forEachPixel(in, out, count,
                 [first, second](Vec3f const &pixel) { return clamped(product(product(pixel, first), second)); });
}

void plain::weightedSum(Vec3b const *in, unsigned char *out, std::uint32_t count, std::array<float, 3> weights) {
    forEachPixel(in, out, count, [weights](Vec3b const &pixel) { return lowByte(dot(pixel, weights)); });
}

void plain::weightedSumOfFour(Vec4b const *in, unsigned char *out, std::uint32_t count, std::array<float, 4> weights) {
    forEachPixel(in, out, count, [weights](Vec4b const &pixel) { return lowByte(dot(pixel, weights)); });
}

void plain::weightedSumOfFloats(Vec3f const *in, unsigned char *out, std::uint32_t count,
                                std::array<float, 3> weights) {
    forEachPixel(in, out, count, [weights](Vec3f const &pixel) { return lowByte(dot(pixel, weights)); });
}

void plain::broadcast(unsigned char const *in, Vec3b *out, std::uint32_t count) {
    forEachPixel(in, out, count, [](unsigned char cell) { return Vec3b{cell, cell, cell}; });
}

void toFirstChannel(unsigned char const *in, Vec3f *out, std::uint32_t count) {
    forEachPixel(in, out, count, [](unsigned char cell) { return Vec3f{static_cast<float>(cell), 0.0f, 0.0f}; });
}

void negate(unsigned char const *in, unsigned char *out, std::uint32_t count) {
    forEachPixel(in, out, count, [](unsigned char cell) { return static_cast<unsigned char>(-cell); });
}

} // namespace zun::kernels
