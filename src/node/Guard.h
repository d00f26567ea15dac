// What a node class needs for its guard: typed access to the values that are about to be read, and refusals.
//
//   zun::Verdict guard(zun::Arriving const &in) const {
//       Frame const *const frame = in[input];
//       if (frame == nullptr || frame->count != 0) return zun::pass;
//       return zun::refuse(input, "the frame is empty; leave it out");
//   }
//
// A guard reads the node's own option fields and what arrives. It refuses only what would read or write outside of
// memory, divide integers by zero, never end, or take more than mostBytes. Frames at inputs of their type arrive sound:
// Generated refuses the others before it asks the node.
#pragma once

#include <cstdint>
#include <optional>
#include <sstream>
#include <string>
#include <typeinfo>
#include <vector>

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "node/Table.h"
#include "pipeline/types/Contents.h"

namespace zun {

/// The most that a node may take for one value that it makes, 4 GiB.
inline constexpr std::uint64_t mostBytes = std::uint64_t(1) << 32;

/// Nothing, or why the node must not process the tick.
using Verdict = std::optional<Diagnostic>;

inline constexpr std::nullopt_t pass = std::nullopt;

/// Why the values of a tick must not reach the node. The parts, texts and numbers, make up the message, which names
/// the value, says what is wrong with it, and what to do.
template <class T, class... Parts>
Diagnostic refuse(InputStream<T> const &at, Parts const &...parts) {
    std::ostringstream message;
    (message << ... << parts);
    Diagnostic refusal;
    refusal.port = at.portName;
    refusal.message = message.str();
    return refusal;
}

/// The values that a node is about to read.
class Arriving {
public:
    explicit Arriving(TickInputs const &tickInputs) : inputs(tickInputs) {}

    Tick tick() const { return inputs.now(); }

    /// The value at an input; null where it is not connected, or holds nothing at this tick.
    template <class T>
    T const *operator[](InputStream<T> const &stream) const {
        Variant const *const value = inputs.at(stream.port);
        return value != nullptr ? &static_cast<VariantType<T> const *>(value)->value : nullptr;
    }
    Variant const *operator[](InputStream<Variant> const &stream) const { return inputs.at(stream.port); }

    /// The value at an input of any type, if it is a `T`.
    template <class T>
    T const *as(InputStream<Variant> const &stream) const {
        Variant const *const value = inputs.at(stream.port);
        bool const isIt = value != nullptr && typeid(*value) == typeid(VariantType<T>);
        return isIt ? &static_cast<VariantType<T> const *>(value)->value : nullptr;
    }

private:
    TickInputs inputs;
};

/// "3 rows and 4 columns", in a message.
template <class T>
std::string sizeOf(Mat<T, 2> const &frame) {
    return std::to_string(frame.shape[0]) + " rows and " + std::to_string(frame.shape[1]) + " columns";
}

/// "4294967295 by 2 by 3 elements", in a message.
template <class T, int N>
std::string sizeOf(Mat<T, N> const &mat) {
    std::string size = std::to_string(mat.shape[0]);
    for (std::size_t i = 1; i < mat.shape.size(); i++) size += " by " + std::to_string(mat.shape[i]);
    return size + " elements";
}

/// "(x 1, y 2, width 3, height 4)", in a message.
template <class T>
std::ostream &operator<<(std::ostream &out, Rect<T> const &rect) {
    return out << "(x " << rect.x << ", y " << rect.y << ", width " << rect.width << ", height " << rect.height << ")";
}

/// Whether values of a type hold frames, whose shapes can say more than there is.
template <class T>
inline constexpr bool holdsFrames = false;
template <class T, int N>
inline constexpr bool holdsFrames<Mat<T, N>> = true;
template <class T>
inline constexpr bool holdsFrames<std::vector<T>> = holdsFrames<T>;

/// Refuses a frame that holds another number of elements than its shape says. A node with an input of any type asks
/// for each type that it takes.
template <class Held, class T, int N>
Verdict refuseUnsound(InputStream<Held> const &at, Mat<T, N> const &frame) {
    if (Contents<Mat<T, N>>::sound(frame)) return pass;
    return refuse(at, "the frame says to have ", sizeOf(frame), " but holds ", frame.count,
                  frame.count == 1 ? " element" : " elements", "; correct the size that it was made with");
}

template <class Held, class T>
Verdict refuseUnsound(InputStream<Held> const &at, std::vector<T> const &list) {
    for (T const &element : list)
        if (Verdict const verdict = refuseUnsound(at, element)) return verdict;
    return pass;
}

} // namespace zun
