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
#include "frame/Registration.h"
#include "imgproc/kernels/PasteMasked.h"

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
        if (static_cast<int>(mask.mask.count) <= 0) return;
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
                       "the frame to paste into; it is changed"));
        static constexpr auto outputs =
            zun::rows(zun::output("maskedFrames", "zun::Mat<zun::Vec3b, 2>", &ApplyMask::maskedFrames,
                                  "the target frame itself, with the pasted pixels"));
        static constexpr auto options = zun::rows(
            zun::option("fullSize", "bool", "true", &ApplyMask::fullSize,
                        "true: a source is read at the mask's rectangle, as the target; false: a source holds "
                        "only the rectangle's content"));
    };

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
};

static zun::Registration<ApplyMask> const registration;
