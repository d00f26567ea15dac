// Pastes source frames into the target frame where masks are set. It draws into the very frame that it reads, and
// passes that on; one mask serves for all sources, and one source for all masks.
//
//   - type: ApplyMask
//     inputs: {masks: ovals, sourceFrames: blurred, targetFrames: photo}
//     outputs: {maskedFrames: anonymous}
//     options: {fullSize: true}

#include <algorithm>
#include <vector>

#include "containers/Mask.h"
#include "containers/Mat.h"
#include "imgproc/kernels/PasteMasked.h"
#include "node/Registration.h"

class ApplyMask : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;
    using Frames = std::vector<Frame>;
    using Masks = std::vector<zun::Mask>;

    bool fullSize = true;
    zun::InputStream<Masks> masks;
    zun::InputStream<Frames> sourceFrames;
    zun::InputStream<Frame> targetFrames;
    zun::OutputStream<Frame> maskedFrames;

    static zun::Vec3b *corner(Frame const &frame, zun::Rect<int> const &rectangle) {
        return frame.first() + (rectangle.x + std::int64_t(rectangle.y) * frame.shape[1]);
    }

    /// From the end of a row of the rectangle to the start of the next.
    static std::uint32_t gap(Frame const &frame, std::uint32_t width) {
        return frame.strides[0] - frame.strides[1] * width;
    }

    void paste(Frame const &source, zun::Mask const &mask, Frame const &target) const {
        if (!pastes(mask)) return;
        auto const width = static_cast<std::uint32_t>(mask.rectangle.width);
        zun::kernels::pasteMasked(mask.mask.first(), mask.mask.count, width, corner(target, mask.rectangle),
                                  gap(target, width), fullSize ? corner(source, mask.rectangle) : source.first(),
                                  fullSize ? gap(source, width) : 0);
    }

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "ApplyMask",
                                           .sourcePath = "imgproc/ApplyMask",
                                           .summary = "Pastes frames into a frame through masks"};
        static constexpr auto inputs = zun::rows(
            zun::input("masks", "zun::List<zun::Mask>", &ApplyMask::masks,
                       "where to paste: rectangles inside the target, with a byte for each pixel that is not 0 where "
                       "the source shows"),
            zun::input("sourceFrames", "zun::List<zun::Mat<zun::Vec3b, 2>>", &ApplyMask::sourceFrames,
                       "what to paste: as many frames as masks, or one of either"),
            zun::input("targetFrames", "zun::Mat<zun::Vec3b, 2>", &ApplyMask::targetFrames,
                       "the frame to paste into; it is changed")
                .changedInPlace());
        static constexpr auto outputs =
            zun::rows(zun::output("maskedFrames", "zun::Mat<zun::Vec3b, 2>", &ApplyMask::maskedFrames,
                                  "the target frame itself, with the pasted pixels")
                          .shapedLike("targetFrames"));
        static constexpr auto options = zun::rows(
            zun::option("fullSize", "bool", "true", &ApplyMask::fullSize,
                        "true: a source is read at the mask's rectangle, as the target; false: a source holds "
                        "only the rectangle's content"));
    };

    /// Lists whose lengths don't fit are for the node itself to refuse.
    zun::Verdict guard(zun::Arriving const &in) const {
        Masks const *const shapes = in[masks];
        Frames const *const sources = in[sourceFrames];
        Frame const *const target = in[targetFrames];
        if (shapes == nullptr || sources == nullptr || target == nullptr) return zun::pass;
        bool const oneMask = shapes->size() == 1, oneSource = sources->size() == 1;
        if (!oneMask && !oneSource && shapes->size() != sources->size()) return zun::pass;
        std::size_t const pairs = oneMask ? sources->size() : shapes->size();
        for (std::size_t i = 0; i < pairs; i++) {
            std::size_t const m = oneMask ? 0 : i, s = !oneMask && oneSource ? 0 : i;
            if (auto verdict = checkTarget((*shapes)[m], m, *target)) return verdict;
            if (auto verdict = checkSource((*shapes)[m], m, (*sources)[s], s)) return verdict;
        }
        return zun::pass;
    }

    void process(zun::Tick tick) override {
        Frame const target = readStream(tick, targetFrames);
        Frames const sources = readStream(tick, sourceFrames);
        Masks const shapes = readStream(tick, masks);
        bool const oneMask = shapes.size() == 1, oneSource = sources.size() == 1;
        require(oneMask || oneSource || shapes.size() == sources.size(), "masks.size() == sourceFrames.size()",
                "Must provide either 1 mask/sourceFrame, or the same number of both");
        std::size_t const pairs = oneMask ? sources.size() : shapes.size();
        for (std::size_t i = 0; i < pairs; i++)
            paste(sources[!oneMask && oneSource ? 0 : i], shapes[oneMask ? 0 : i], target);
        writeStream(tick, maskedFrames, target);
    }

private:
    /// A mask without elements, or with more than an int can count, pastes nothing.
    static bool pastes(zun::Mask const &mask) { return static_cast<int>(mask.mask.count) > 0; }

    /// Whether the way over a frame at the mask's rectangle stays among the frame's elements. The rectangle is not
    /// looked at otherwise: one that leaves the frame at its right goes on in the next row.
    static bool staysIn(Frame const &frame, zun::Mask const &mask) {
        zun::Rect<int> const &rect = mask.rectangle;
        std::int64_t const corner = rect.x + std::int64_t(rect.y) * frame.shape[1];
        if (corner < 0 || corner >= frame.count) return false;
        std::uint64_t const last = mask.mask.count - 1, width = static_cast<std::uint32_t>(rect.width);
        std::uint64_t const rowEnds = width == 0 ? 0 : last / width;
        return static_cast<std::uint64_t>(corner) + last + rowEnds * gap(frame, static_cast<std::uint32_t>(width)) <
               frame.count;
    }

    zun::Verdict checkTarget(zun::Mask const &mask, std::size_t index, Frame const &target) const {
        if (!pastes(mask)) return zun::pass;
        zun::Rect<int> const &rect = mask.rectangle;
        std::uint64_t const width = static_cast<std::uint32_t>(rect.width),
                            height = static_cast<std::uint32_t>(rect.height);
        if (width != 0 && height != 0 && mask.mask.count > width * height)
            return zun::refuse(masks, "mask ", index, " ", rect, " has ", mask.mask.count,
                               " elements, more than its rectangle; make the two the same size");
        if (staysIn(target, mask)) return zun::pass;
        return zun::refuse(masks, "mask ", index, " ", rect, " leaves the target frame of ", sizeOf(target),
                           "; crop boxes to the frame before they become masks");
    }

    zun::Verdict checkSource(zun::Mask const &mask, std::size_t index, Frame const &source,
                             std::size_t sourceIndex) const {
        if (!pastes(mask) || (fullSize ? staysIn(source, mask) : source.count >= mask.mask.count)) return zun::pass;
        if (fullSize)
            return zun::refuse(sourceFrames, "source frame ", sourceIndex, " of ", sizeOf(source),
                               " is too small: mask ", index, " ", mask.rectangle,
                               " leaves it; send a frame of the target's size, or switch the option fullSize off");
        return zun::refuse(sourceFrames, "source frame ", sourceIndex, " of ", sizeOf(source),
                           " has fewer pixels than mask ", index, " has elements (", mask.mask.count,
                           "); send the content of the mask's rectangle, or set the option fullSize");
    }
};

static zun::Registration<ApplyMask> const registration;
