#include "observers/Picture.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

#include "containers/Exception.h"
#include "containers/Mask.h"
#include "containers/Mat.h"
#include "pipeline/types/Contents.h"
#include "vexa_core/MatAlloc.h"

namespace zun::observers {
namespace {

using Bytes = Mat<unsigned char, 2>;

template <class T>
T const *valueIn(Variant const &value) {
    auto const *const held = dynamic_cast<VariantType<T> const *>(&value);
    return held != nullptr ? &held->value : nullptr;
}

/// Calls `visit` with the elements of the list that the value is, if it is a list of `T`.
template <class T, class Visitor>
bool tryList(Variant const &value, Visitor const &visit) {
    std::vector<T> const *const list = valueIn<std::vector<T>>(value);
    if (list != nullptr) visit(*list);
    return list != nullptr;
}

template <class Visitor>
bool visitList(Variant const &value, Visitor const &visit) {
    return tryList<Bytes>(value, visit) || tryList<Mat<float, 2>>(value, visit) ||
           tryList<Mat<Vec3b, 2>>(value, visit) || tryList<Mat<Vec4b, 2>>(value, visit) ||
           tryList<Mat<Vec3f, 2>>(value, visit) || tryList<Mask>(value, visit);
}

template <class T, class Visitor>
bool tryOne(Variant const &value, Visitor const &visit) {
    T const *const one = valueIn<T>(value);
    if (one != nullptr) visit(*one);
    return one != nullptr;
}

template <class Visitor>
bool visitOne(Variant const &value, Visitor const &visit) {
    return tryOne<Bytes>(value, visit) || tryOne<Mat<float, 2>>(value, visit) || tryOne<Mat<Vec3b, 2>>(value, visit) ||
           tryOne<Mat<Vec4b, 2>>(value, visit) || tryOne<Mat<Vec3f, 2>>(value, visit) || tryOne<Mask>(value, visit);
}

/// Calls `visit` with the frame or mask of an index; false where there is none.
template <class Visitor>
bool visitFrame(Variant const &value, std::size_t index, Visitor const &visit) {
    if (visitOne(value, [&](auto const &one) {
            if (index == 0) visit(one);
        }))
        return index == 0;
    bool found = false;
    visitList(value, [&](auto const &list) {
        found = index < list.size();
        if (found) visit(list[index]);
    });
    return found;
}

template <class T>
struct Element {
    using Number = T;
    static constexpr int channels = 1;
};
template <class T, int N>
struct Element<Vec<T, N>> {
    using Number = T;
    static constexpr int channels = N;
};

template <class T>
void requirePixels(Mat<T, 2> const &frame) {
    constexpr auto longest = std::uint32_t(std::numeric_limits<int>::max());
    bool const fits = frame.shape[0] <= longest && frame.shape[1] <= longest && Contents<Mat<T, 2>>::sound(frame);
    if (frame.count == 0 || !fits)
        throw Exception("a frame of " + std::to_string(frame.shape[0]) + " x " + std::to_string(frame.shape[1]) +
                        " pixels can't be shown");
}

template <class T>
media::Pixels emptyPixels(Mat<T, 2> const &frame) {
    requirePixels(frame);
    media::Pixels pixels;
    pixels.height = static_cast<int>(frame.shape[0]);
    pixels.width = static_cast<int>(frame.shape[1]);
    pixels.channels = Element<T>::channels;
    return pixels;
}

std::size_t numbersIn(media::Pixels const &pixels) {
    return pixels.rowBytes() * static_cast<std::size_t>(pixels.height);
}

void makeBytes(media::Pixels &pixels) {
    pixels.bytes = MatAlloc::getGlobalMatAlloc()->getElements<unsigned char>(numbersIn(pixels));
}

Picture::Range rangeOf(float const *numbers, std::size_t count) {
    float least = std::numeric_limits<float>::infinity(), most = -least;
    for (std::size_t i = 0; i < count; i++) {
        if (!std::isfinite(numbers[i])) continue;
        least = std::min(least, numbers[i]);
        most = std::max(most, numbers[i]);
    }
    return least <= most ? Picture::Range{least, most} : Picture::Range{};
}

unsigned char placeIn(Picture::Range range, float number) {
    if (std::isnan(number) || range.from == range.to) return 0;
    double const place = (double(number) - double(range.from)) / (double(range.to) - double(range.from));
    return static_cast<unsigned char>(std::lround(std::clamp(place, 0.0, 1.0) * 255));
}

template <class T>
Picture show(Mat<T, 2> const &frame) {
    using Number = typename Element<T>::Number;
    Picture picture;
    media::Pixels &pixels = picture.pixels = emptyPixels(frame);
    auto const *const numbers = reinterpret_cast<Number const *>(frame.first());
    std::size_t const count = numbersIn(pixels);
    if constexpr (std::is_same_v<Number, float>) {
        picture.range = rangeOf(numbers, count);
        makeBytes(pixels);
        std::transform(numbers, numbers + count, pixels.bytes.get(),
                       [&](float number) { return placeIn(*picture.range, number); });
    } else {
        pixels.bytes = std::shared_ptr<unsigned char>(frame.data, reinterpret_cast<unsigned char *>(frame.first()));
    }
    return picture;
}

Picture show(Bytes const &frame) {
    Picture picture = show<unsigned char>(frame);
    unsigned char const *const first = frame.first();
    picture.binary = std::all_of(first, first + frame.count, [](unsigned char pixel) { return pixel <= 1; });
    if (!picture.binary) return picture;
    makeBytes(picture.pixels);
    std::transform(first, first + frame.count, picture.pixels.bytes.get(),
                   [](unsigned char pixel) { return static_cast<unsigned char>(pixel * 255); });
    return picture;
}

Picture show(Mask const &mask) {
    Picture picture = show(mask.mask);
    picture.x = mask.rectangle.x;
    picture.y = mask.rectangle.y;
    return picture;
}

template <class T>
std::vector<double> numbersAt(Mat<T, 2> const &frame, std::int64_t x, std::int64_t y) {
    using Number = typename Element<T>::Number;
    if (x < 0 || y < 0 || x >= std::int64_t(frame.shape[1]) || y >= std::int64_t(frame.shape[0])) return {};
    if (!Contents<Mat<T, 2>>::sound(frame)) return {};
    std::size_t const pixel = static_cast<std::size_t>(y) * frame.shape[1] + static_cast<std::size_t>(x);
    auto const *const first = reinterpret_cast<Number const *>(frame.first() + pixel);
    return {first, first + Element<T>::channels};
}

std::vector<double> numbersAt(Mask const &mask, std::int64_t x, std::int64_t y) { return numbersAt(mask.mask, x, y); }

} // namespace

std::size_t frameCount(Variant const &value) {
    std::size_t count = 0;
    if (!visitOne(value, [&](auto const &) { count = 1; }))
        visitList(value, [&](auto const &list) { count = list.size(); });
    return count;
}

bool isFrameList(Variant const &value) {
    return visitList(value, [](auto const &) {});
}

Picture pictureOf(Variant const &value, std::size_t index) {
    Picture picture;
    if (!visitFrame(value, index, [&](auto const &frame) { picture = show(frame); }))
        throw Exception("the value holds no frame " + std::to_string(index));
    return picture;
}

std::vector<double> pixelAt(Variant const &value, std::size_t index, std::int64_t x, std::int64_t y) {
    std::vector<double> numbers;
    visitFrame(value, index, [&](auto const &frame) { numbers = numbersAt(frame, x, y); });
    return numbers;
}

media::Pixels reduced(media::Pixels const &pixels, int mostWidth, int mostHeight) {
    int const step =
        std::max({1, (pixels.width + mostWidth - 1) / mostWidth, (pixels.height + mostHeight - 1) / mostHeight});
    if (step == 1) return pixels;
    media::Pixels small;
    small.width = (pixels.width + step - 1) / step;
    small.height = (pixels.height + step - 1) / step;
    small.channels = pixels.channels;
    makeBytes(small);
    unsigned char *out = small.bytes.get();
    for (int top = 0; top < pixels.height; top += step)
        for (int left = 0; left < pixels.width; left += step)
            for (int channel = 0; channel < pixels.channels; channel++) {
                int const bottom = std::min(top + step, pixels.height), right = std::min(left + step, pixels.width);
                unsigned sum = 0;
                for (int y = top; y < bottom; y++)
                    for (int x = left; x < right; x++)
                        sum += pixels.bytes.get()[static_cast<std::size_t>(y) * pixels.rowBytes() +
                                                  static_cast<std::size_t>(x * pixels.channels + channel)];
                unsigned const covered = static_cast<unsigned>((bottom - top) * (right - left));
                *out++ = static_cast<unsigned char>((sum + covered / 2) / covered);
            }
    return small;
}

} // namespace zun::observers
