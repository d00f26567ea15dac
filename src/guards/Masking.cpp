#include "guards/Masking.h"

#include <sstream>
#include <string>
#include <vector>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "guards/Cropping.h"

namespace zun::guards {
namespace {

using Frame = Mat<Vec3b, 2>;

std::string show(Rect<int> const &rect) {
    std::ostringstream text;
    text << "(x " << rect.x << ", y " << rect.y << ", width " << rect.width << ", height " << rect.height << ")";
    return text.str();
}

std::string showSize(Frame const &frame) {
    return std::to_string(frame.shape[0]) + " rows and " + std::to_string(frame.shape[1]) + " columns";
}

bool liesIn(Frame const &frame, Rect<int> const &rect) {
    return rect.x >= 0 && rect.y >= 0 && rect.width >= 0 && rect.height >= 0 &&
           std::int64_t(rect.x) + rect.width <= frame.shape[1] && std::int64_t(rect.y) + rect.height <= frame.shape[0];
}

/// Whether the node's way through `elements` of a rectangle in the frame stays among the frame's elements, as it does
/// in any dense frame.
bool staysIn(Frame const &frame, Rect<int> const &rect, std::uint32_t elements) {
    auto const width = static_cast<std::uint32_t>(rect.width);
    std::uint32_t const gap = frame.strides[0] - frame.strides[1] * width; // modulo 2^32, as the node has it
    std::uint64_t const corner = std::uint64_t(rect.x) + std::uint64_t(rect.y) * frame.shape[1];
    std::uint64_t const last = elements - 1;
    return last / width * gap < frame.count && corner + last + last / width * gap < frame.count;
}

/// What is wrong with a frame that the mask is laid over, or null.
char const *faultOf(Frame const &frame, Mask const &mask) {
    if (!liesIn(frame, mask.rectangle)) return "leaves";
    return staysIn(frame, mask.rectangle, mask.mask.count) ? nullptr : "leads out of the memory of";
}

/// A mask without elements, or with more than an int can count, pastes nothing.
bool pastes(Mask const &mask) { return static_cast<std::int32_t>(mask.mask.count) > 0; }

std::optional<engine::Refusal> checkTarget(Mask const &mask, std::size_t index, Frame const &target) {
    Rect<int> const &rect = mask.rectangle;
    std::ostringstream reason;
    reason << "mask " << index << " " << show(rect) << " ";
    bool const hasArea = rect.width > 0 && rect.height > 0;
    if (hasArea && mask.mask.count > std::uint64_t(rect.width) * std::uint64_t(rect.height)) {
        reason << "has " << mask.mask.count << " elements, more than its rectangle; make the two the same size";
    } else if (char const *const fault = hasArea ? faultOf(target, mask) : "has elements but no area in") {
        reason << fault << " the target frame of " << showSize(target) << "; cut boxes to the frame before they "
               << "become masks";
    } else {
        return std::nullopt;
    }
    return engine::Refusal{"masks", reason.str()};
}

std::optional<engine::Refusal> checkSource(Mask const &mask, std::size_t index, Frame const &source,
                                           std::size_t sourceIndex, bool fullSize) {
    std::ostringstream reason;
    reason << "source frame " << sourceIndex << " of " << showSize(source) << " ";
    if (!fullSize && source.count < mask.mask.count) {
        reason << "has fewer pixels than mask " << index << " has elements (" << mask.mask.count
               << "); send the content of the mask's rectangle, or set the option fullSize";
    } else if (char const *const fault = fullSize ? faultOf(source, mask) : nullptr) {
        reason << "is too small: mask " << index << " " << show(mask.rectangle) << " " << fault
               << " it; send a frame of the target's size, or switch the option fullSize off";
    } else {
        return std::nullopt;
    }
    return engine::Refusal{"sourceFrames", reason.str()};
}

} // namespace

std::optional<engine::Refusal> maskFactory(engine::GuardView const &view) {
    auto const *const boxes = view.input<std::vector<Box>>("rectangles");
    if (boxes == nullptr) return std::nullopt;

    std::uint64_t total = 0;
    for (std::size_t i = 0; i < boxes->size(); i++) {
        Rect<int> const box = roundToInt((*boxes)[i]);
        std::int64_t const elements = std::int64_t(box.width) * box.height;
        if (elements == 0) continue;
        bool const negative = box.width < 0 || box.height < 0;
        bool const describable = !negative && elements < std::int64_t(1) << 32;
        total += describable ? std::uint64_t(elements) : 0;
        if (describable && total <= largestCutBytes) continue;

        std::ostringstream reason;
        reason << "box " << i << ", rounded to " << show(box) << ", "
               << (negative      ? "has a negative size; send boxes of at least no size"
                   : describable ? "brings the masks to more than 4 GiB; send fewer or smaller boxes"
                                 : "is larger than any mask may be; send boxes of the size of a frame");
        return engine::Refusal{"rectangles", reason.str()};
    }
    return std::nullopt;
}

std::optional<engine::Refusal> applyMask(engine::GuardView const &view) {
    auto const *const masks = view.input<std::vector<Mask>>("masks");
    auto const *const sources = view.input<std::vector<Frame>>("sourceFrames");
    auto const *const target = view.input<Frame>("targetFrames");
    if (masks == nullptr || sources == nullptr || target == nullptr) return std::nullopt;

    bool const oneMask = masks->size() == 1, oneSource = sources->size() == 1;
    if (!oneMask && !oneSource && masks->size() != sources->size()) return std::nullopt;
    bool const fullSize = view.option<bool>("fullSize", true);
    std::size_t const pairs = oneMask ? sources->size() : masks->size();
    for (std::size_t i = 0; i < pairs; i++) {
        std::size_t const m = oneMask ? 0 : i, s = oneMask || !oneSource ? i : 0;
        Mask const &mask = (*masks)[m];
        if (!pastes(mask)) continue;
        if (auto refusal = checkTarget(mask, m, *target)) return refusal;
        if (auto refusal = checkSource(mask, m, (*sources)[s], s, fullSize)) return refusal;
    }
    return std::nullopt;
}

} // namespace zun::guards
