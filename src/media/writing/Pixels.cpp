#include "media/writing/Pixels.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "containers/Exception.h"
#include "containers/Mat.h"
#include "node/Guard.h"
#include "pipeline/TypeMismatch.h"
#include "pipeline/types/ValueType.h"

namespace zun::media {
namespace {

unsigned char scaledByte(float value, float scale) {
    float const scaled = value * scale;
    return std::isnan(scaled) ? 0 : static_cast<unsigned char>(std::clamp(std::round(scaled), 0.0f, 255.0f));
}

template <class T>
constexpr int channelsOf = std::is_arithmetic_v<T> ? 1 : static_cast<int>(sizeof(T) / sizeof(float));
template <>
inline constexpr int channelsOf<Vec3b> = 3;
template <>
inline constexpr int channelsOf<Vec4b> = 4;

/// Fills `pixels` if the value is a frame of this element type.
template <class T, class Number>
bool tryFrame(std::shared_ptr<Variant> const &value, float scale, bool takesFloats, Pixels &pixels) {
    auto const *const held = dynamic_cast<VariantType<Mat<T, 2>> const *>(value.get());
    if (held == nullptr) return false;
    Mat<T, 2> const &frame = held->value;
    bool const isInt = frame.count != 0 && frame.count <= std::uint32_t(std::numeric_limits<int>::max());
    if (!isInt || !Contents<Mat<T, 2>>::sound(frame))
        throw Exception("a frame of " + sizeOf(frame) + " can't be written");
    pixels.height = static_cast<int>(frame.shape[0]);
    pixels.width = static_cast<int>(frame.shape[1]);
    pixels.channels = channelsOf<T>;
    auto *const first = reinterpret_cast<Number *>(frame.first());
    if constexpr (std::is_same_v<Number, unsigned char>) {
        if (scale == 0.0f) {
            pixels.bytes = std::shared_ptr<unsigned char>(value, first);
            return true;
        }
    } else if (scale == 0.0f) {
        if (!takesFloats)
            throw Exception("a frame of floats can't be written as it is, but to .tiff: set the option scale, 255 for "
                            "values from 0 to 1");
        pixels.floats = std::shared_ptr<float>(value, first);
        return true;
    }
    std::size_t const count = pixels.rowBytes() * static_cast<std::size_t>(pixels.height);
    pixels.bytes = MatAlloc::getGlobalMatAlloc()->getElements<unsigned char>(count);
    std::transform(first, first + count, pixels.bytes.get(),
                   [&](Number number) { return scaledByte(static_cast<float>(number), scale); });
    return true;
}

} // namespace

Pixels pixelsOf(std::shared_ptr<Variant> const &value, float scale, bool takesFloats) {
    Pixels pixels;
    if (tryFrame<unsigned char, unsigned char>(value, scale, takesFloats, pixels) ||
        tryFrame<Vec3b, unsigned char>(value, scale, takesFloats, pixels) ||
        tryFrame<Vec4b, unsigned char>(value, scale, takesFloats, pixels) ||
        tryFrame<float, float>(value, scale, takesFloats, pixels) ||
        tryFrame<Vec3f, float>(value, scale, takesFloats, pixels))
        return pixels;
    Variant const &held = *value;
    ValueType const *const type = valueTypeOf(held);
    throw Exception("a value of type " + (type != nullptr ? type->spelling : demangle(typeid(held))) +
                    " is not a frame that can be written");
}

} // namespace zun::media
