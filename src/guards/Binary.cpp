#include "guards/Binary.h"

#include <sstream>
#include <string>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "guards/Cropping.h"

namespace zun::guards {
namespace {

using Frame = Mat<unsigned char, 2>;

/// Refuses a frame of which the node would read elements, by its strides, that it doesn't have. A dense one passes.
std::optional<engine::Refusal> checkStrides(Frame const &frame) {
    std::uint64_t const last = (std::uint64_t(frame.shape[0]) - 1) * frame.strides[0] + frame.shape[1] - 1;
    if (last < frame.count) return std::nullopt;
    std::ostringstream reason;
    reason << "the frame of " << frame.shape[0] << " rows and " << frame.shape[1] << " columns has rows "
           << frame.strides[0] << " bytes apart, which leads out of its memory; send a dense frame";
    return engine::Refusal{"input", reason.str()};
}

/// What is wrong with the element along one axis, for an extent of the frame; empty if nothing is.
std::string faultOfElement(std::string const &axis, int size, int origin, std::uint32_t extent, char const *lines) {
    std::ostringstream fault;
    if (size < 1)
        fault << "elementSize" << axis << " is " << size << "; set it to 1 or more";
    else if (origin < 0 || origin >= size)
        fault << "origin" << axis << " is " << origin << " with an elementSize" << axis << " of " << size
              << "; set it to 0 or more, below the size";
    else if (std::int64_t(extent) + 1 < size)
        fault << "elementSize" << axis << " is " << size << " on a frame of " << extent << " " << lines
              << "; set it to at most one more than the frame has";
    return fault.str();
}

} // namespace

std::optional<engine::Refusal> grey2BinarySequence(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("input");
    if (frame == nullptr) return std::nullopt;
    int const polarities = int(view.option("inverted", false)) + int(view.option("noninverted", false));
    int const count = view.option("binThresholdCount", 0), length = wrappingMultiply(polarities, count);
    if (length <= 0) return std::nullopt;

    // Memory is asked for ahead by the length, even if a negative count has wrapped around to it.
    constexpr std::uint64_t bookkeeping = 256; // of each frame: its header and what the allocator keeps of its storage
    std::uint64_t const bytes = (frame->count + bookkeeping) * std::uint64_t(length);
    if (bytes <= largestCutBytes) return std::nullopt;
    std::ostringstream reason;
    reason << "binThresholdCount is " << count << ", which with this frame of " << frame->shape[0] << " rows and "
           << frame->shape[1] << " columns takes " << length
           << " frames and more than 4 GiB; set it to a smaller number";
    return engine::Refusal{"input", reason.str()};
}

std::optional<engine::Refusal> applyHomogenousMorphology(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("input");
    int const value = view.option("elementValue", 0);
    if (frame == nullptr || frame->count == 0 || (value != 0 && value != 1)) return std::nullopt;

    int const sizeX = view.option("elementSizeX", 3), sizeY = view.option("elementSizeY", 3);
    std::string fault = faultOfElement("X", sizeX, view.option("originX", 1), frame->shape[1], "columns");
    if (fault.empty()) fault = faultOfElement("Y", sizeY, view.option("originY", 1), frame->shape[0], "rows");
    if (!fault.empty()) return engine::Refusal{"input", fault};
    return sizeX == sizeY ? std::nullopt : checkStrides(*frame);
}

std::optional<engine::Refusal> binaryLongLineRemover(engine::GuardView const &view) {
    auto const *const frame = view.input<Frame>("input");
    bool const readsColumns = view.option("thresholdY", 0.0f) > 0;
    return frame == nullptr || frame->count == 0 || !readsColumns ? std::nullopt : checkStrides(*frame);
}

} // namespace zun::guards
