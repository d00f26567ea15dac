// Makes a mask of the size of each box: 1 inside a rectangle or an ellipse, 0 elsewhere. The ellipse's diameters are
// one less than the box; ApplyMask pastes through the masks.
//
//   - type: MaskFactory
//     inputs: {rectangles: faces}
//     outputs: {masks: ovals}
//     options: {maskShape: 1}

#include <cstring>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "imgproc/kernels/Ellipse.h"
#include "node/Registration.h"

class MaskFactory : public zun::Node {
    using Boxes = std::vector<zun::Box>;
    using Masks = std::vector<zun::Mask>;

    static constexpr int rectangleShape = 0; // anything else is an ellipse

    int maskShape = rectangleShape;
    zun::InputStream<Boxes> rectangles;
    zun::OutputStream<Masks> masks;

    zun::Mask maskOf(zun::Box const &box) const {
        zun::Rect<int> const rounded = zun::roundToInt(box);
        int const width = rounded.width, height = rounded.height;
        zun::Mat<unsigned char, 2> const mask({static_cast<std::uint32_t>(height), static_cast<std::uint32_t>(width)});
        if (mask.count != 0) std::memset(mask.first(), maskShape == rectangleShape ? 1 : 0, mask.count);
        if (maskShape != rectangleShape)
            zun::kernels::fillEllipse(mask.first(), height, width, 1,
                                      {.centreRow = height / 2,
                                       .centreColumn = width / 2,
                                       .horizontalDiameter = zun::wrappingSubtract(width, 1),
                                       .verticalDiameter = zun::wrappingSubtract(height, 1)});
        return {rounded, mask};
    }

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "MaskFactory",
                                           .sourcePath = "imgproc/MaskFactory",
                                           .summary = "Makes a rectangular or elliptic mask of each box"};
        static constexpr auto inputs =
            zun::rows(zun::input("rectangles", "zun::List<zun::Box>", &MaskFactory::rectangles,
                                 "the boxes, in pixels; each of the four numbers is rounded by itself"));
        static constexpr auto outputs =
            zun::rows(zun::output("masks", "zun::List<zun::Mask>", &MaskFactory::masks,
                                  "a mask for each box, of its size and at its place, of bytes 0 and 1"));
        static constexpr auto options = zun::rows(zun::requiredOption("maskShape", "int", &MaskFactory::maskShape,
                                                                      "what is set; any value but 0 gives an ellipse")
                                                      .choose({{0, "rectangle"}, {1, "ellipse"}}));
    };

    /// All masks together have to fit in memory. The size of a mask is a product of 32 bits, so that negative sides can
    /// cancel, or come to almost 4 GiB. An ellipse is drawn by the sides themselves, so their product must not wrap.
    zun::Verdict guard(zun::Arriving const &in) const {
        Boxes const *const boxes = in[rectangles];
        std::uint64_t total = 0;
        for (std::size_t i = 0; boxes != nullptr && i < boxes->size(); i++) {
            zun::Rect<int> const box = zun::roundToInt((*boxes)[i]);
            auto const bytes = static_cast<unsigned>(zun::wrappingMultiply(box.width, box.height));
            bool const drawn = maskShape != rectangleShape && box.width > 0 && box.height > 0;
            if (drawn && std::int64_t(box.width) * box.height != bytes)
                return zun::refuse(rectangles, "box ", i, ", rounded to ", box,
                                   ", is larger than any mask may be; send boxes of the size of a frame");
            total += bytes;
            if (total > zun::mostBytes)
                return zun::refuse(rectangles, "box ", i, ", rounded to ", box, ", makes a mask of ", bytes,
                                   " bytes and brings the masks to more than 4 GiB; send fewer or smaller boxes");
        }
        return zun::pass;
    }

    void process(zun::Tick tick) override {
        Masks made;
        for (zun::Box const &box : readStream(tick, rectangles)) made.push_back(maskOf(box));
        writeStream(tick, masks, made);
    }
};

static zun::Registration<MaskFactory> const registration;
