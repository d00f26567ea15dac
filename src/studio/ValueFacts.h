// What a page needs to know of a value before it asks for its contents.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/types/ValueType.h"

namespace zun::studio {

struct FrameFacts {
    int width = 0, height = 0, channels = 1; ///< 0 x 0: a frame without pixels
    bool binary = false;
    std::optional<std::pair<float, float>> range; ///< of a frame of floats, which is shown as 0..255
    int x = 0, y = 0;                             ///< of a mask: its place in the frame that it is for
};

struct ValueFacts {
    /// Of a list of frames, so many are described and can be shown.
    static constexpr std::size_t mostFrames = 256;

    char const *kind = "other"; ///< "frame", "frames", "record" or "other"
    std::string summary;
    std::uint64_t bytes = 0;
    std::vector<FrameFacts> frames;
};

/// `type` is null for a type that nobody has made known. Thread-safe.
ValueFacts factsOf(Variant const &value, ValueType const *type);

} // namespace zun::studio
