#include "guards/Filtering.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <sstream>
#include <string>

#include "containers/Mat.h"
#include "guards/Cropping.h"

namespace zun::guards {
namespace {

using Grey = Mat<unsigned char, 2>;

template <class T>
std::string show(Mat<T, 2> const &frame) {
    return std::to_string(frame.shape[0]) + " rows and " + std::to_string(frame.shape[1]) + " columns";
}

std::optional<engine::Refusal> refuseBelowOne(char const *option, int value) {
    if (value >= 1) return std::nullopt;
    return engine::Refusal{"input", std::string(option) + " is " + std::to_string(value) + "; set it to 1 or more"};
}

template <class T>
std::optional<engine::Refusal> checkBox(Mat<T, 2> const &frame, int width, int height) {
    if (frame.count == 0) return std::nullopt;
    if (auto const refusal = refuseBelowOne("kernelSizeX", width)) return refusal;
    if (auto const refusal = refuseBelowOne("kernelSizeY", height)) return refusal;

    std::uint64_t const rows = std::uint64_t(frame.shape[0]) + static_cast<unsigned>(height),
                        columns = std::uint64_t(frame.shape[1]) + static_cast<unsigned>(width);
    constexpr std::uint64_t longest = std::numeric_limits<int>::max();
    if (rows <= longest && columns <= longest && rows * columns <= largestCutBytes / sizeof(T)) return std::nullopt;
    std::ostringstream reason;
    reason << "the frame of " << show(frame) << ", with kernelSizeX " << width << " and kernelSizeY " << height
           << " added to continue its edges, is larger than any frame may be; set smaller sizes";
    return engine::Refusal{"input", reason.str()};
}

/// A position along an axis whose windows' lengths come to a multiple of the highest power of two.
struct Position {
    std::uint32_t index = 0;
    std::uint64_t total = 0;
    int powerOfTwo = -1; ///< at most 32
};

Position worstPosition(std::uint32_t extent, int step, int length) {
    Position worst;
    std::uint64_t total = 0;
    for (std::int64_t at = 0; at < extent; at++) {
        std::int64_t const ended = at - length;
        if (at % step == 0) total += std::uint64_t(std::min<std::int64_t>(length, extent - at));
        if (ended >= 0 && ended % step == 0) total -= std::uint64_t(length);
        int const power = std::countr_zero(static_cast<std::uint32_t>(total));
        bool const uncovered = total == 0 && worst.total != 0; // tells more than a total that wraps
        if (power > worst.powerOfTwo || uncovered) worst = {static_cast<std::uint32_t>(at), total, power};
    }
    return worst;
}

} // namespace

std::optional<engine::Refusal> boxBlur(engine::GuardView const &view) {
    int const width = view.option("kernelSizeX", 0), height = view.option("kernelSizeY", 0);
    if (auto const *const grey = view.input<Grey>("input")) return checkBox(*grey, width, height);
    if (auto const *const colour = view.input<Mat<Vec3b, 2>>("input")) return checkBox(*colour, width, height);
    return std::nullopt;
}

std::optional<engine::Refusal> normalizeGreyImage(engine::GuardView const &view) {
    auto const *const frame = view.input<Grey>("input");
    if (frame == nullptr || frame->count != 0) return std::nullopt;
    return engine::Refusal{"input", "the frame of " + show(*frame) +
                                        " is empty, and its histogram has nothing to divide by; leave it out"};
}

std::optional<engine::Refusal> normalizeYCbCrImage(engine::GuardView const &view) {
    auto const *const frame = view.input<Mat<Vec3f, 2>>("input");
    if (frame == nullptr || frame->count == 0 || view.option("histogramSize", 256) != 0) return std::nullopt;
    return engine::Refusal{"input", "histogramSize is 0; set it to 1 or more"};
}

std::optional<engine::Refusal> slidingWindowNormalizeGreyImage(engine::GuardView const &view) {
    auto const *const frame = view.input<Grey>("input");
    if (frame == nullptr || frame->shape[0] == 0) return std::nullopt;
    int const stepX = view.option("stepX", 1), stepY = view.option("stepY", 1);
    int const width = view.option("windowWidth", 0), height = view.option("windowHeight", 0);
    if (auto const refusal = refuseBelowOne("stepY", stepY)) return refusal;
    if (frame->shape[1] == 0) return std::nullopt;
    if (auto const refusal = refuseBelowOne("stepX", stepX)) return refusal;
    if (auto const refusal = refuseBelowOne("windowHeight", height)) return refusal;
    if (auto const refusal = refuseBelowOne("windowWidth", width)) return refusal;

    Position const row = worstPosition(frame->shape[0], stepY, height);
    Position const column = worstPosition(frame->shape[1], stepX, width);
    if (row.powerOfTwo + column.powerOfTwo < 32) return std::nullopt;
    std::ostringstream reason;
    if (row.total == 0)
        reason << "row " << row.index << " lies under no window, with stepY " << stepY << " and windowHeight " << height
               << "; set stepY to at most windowHeight";
    else if (column.total == 0)
        reason << "column " << column.index << " lies under no window, with stepX " << stepX << " and windowWidth "
               << width << "; set stepX to at most windowWidth";
    else
        reason << "the windows over row " << row.index << ", column " << column.index
               << " hold a multiple of 2^32 pixels in all, which 32 bits take for none; set a smaller window (" << width
               << " by " << height << ") or larger steps (" << stepX << ", " << stepY << ")";
    return engine::Refusal{"input", reason.str()};
}

} // namespace zun::guards
