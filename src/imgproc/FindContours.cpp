// Finds the borders of all objects and holes in a binary frame; what is not 0 belongs to an object. The lists are
// parallel, in the order of the borders' topmost pixels.
//
//   - type: FindContours
//     inputs: {input: binary}
//     outputs: {boundingBox: boxes, area: areas}

#include <cstring>
#include <utility>
#include <vector>

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "node/Registration.h"
#include "vexa_imgproc/Contours.h"

class FindContours : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;
    using Contour = zun::Contours::Contour;
    using Ints = std::vector<int>;
    using Boxes = std::vector<zun::Rectf>;
    using PointLists = std::vector<std::vector<zun::Vec<int, 2>>>;

    zun::InputStream<Frame> input;
    zun::OutputStream<Ints> area;
    zun::OutputStream<Boxes> boundingBox;
    zun::OutputStream<Ints> greenArea;
    zun::OutputStream<PointLists> points;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "FindContours",
                                           .sourcePath = "imgproc/FindContours",
                                           .summary = "Finds the borders of objects and holes in a binary frame"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<unsigned char, 2>", &FindContours::input, "the binary frame"));
        static constexpr auto outputs = zun::rows(
            zun::output("area", "zun::List<int>", &FindContours::area, "pixels within each border, its own included"),
            zun::output("boundingBox", "zun::List<zun::Rectf>", &FindContours::boundingBox,
                        "the smallest box about each border, in pixels of the frame"),
            zun::output("greenArea", "zun::List<int>", &FindContours::greenArea,
                        "area of the polygon through each border's pixels, without its fraction"),
            zun::output("points", "zun::List<zun::List<zun::Vec<int, 2>>>", &FindContours::points,
                        "each border's pixels in order: (x, y)"));
        static constexpr auto options = zun::rows();
    };

    /// The labels of the frame with its border have to fit in memory.
    zun::Verdict guard(zun::Arriving const &in) const {
        Frame const *const frame = in[input];
        if (frame == nullptr) return zun::pass;
        constexpr std::uint64_t mostLabels = zun::mostBytes / sizeof(int);
        std::uint64_t const rows = frame->shape[0] + std::uint64_t(2), columns = frame->shape[1] + std::uint64_t(2);
        if (rows <= mostLabels / columns) return zun::pass;
        return zun::refuse(input, "the frame of ", sizeOf(*frame), ", with a border of one pixel, needs more than ",
                           mostLabels, " labels, which don't fit in memory; crop or shrink it first");
    }

    void process(zun::Tick tick) override {
        Frame framed = withBorder(readStream(tick, input));
        zun::Contours const contours(framed, false);
        writeList(tick, boundingBox, contours, [](Contour const &contour) {
            zun::Rect<int> const box = contour.getBoundingBox();
            return zun::Rectf{float(box.x), float(box.y), float(box.width), float(box.height)};
        });
        writeList(tick, area, contours, [](Contour const &contour) { return contour.getArea(); });
        writeList(tick, greenArea, contours,
                  [](Contour const &contour) { return zun::truncateToInt(contour.getGreenArea()); });
        writeList(tick, points, contours, [](Contour const &contour) { return contour.getPointVector(); });
    }

private:
    static Frame withBorder(Frame const &frame) {
        Frame framed({frame.shape[0] + 2, frame.shape[1] + 2}, 0);
        for (std::size_t row = 0; frame.count > 0 && row < frame.shape[0]; row++)
            std::memcpy(framed.first() + (row + 1) * framed.shape[1] + 1, frame.first() + row * frame.shape[1],
                        frame.shape[1]);
        return framed;
    }

    /// A list that nobody reads is not made.
    template <class T, class Measure>
    void writeList(zun::Tick tick, zun::OutputStream<std::vector<T>> const &stream, zun::Contours const &contours,
                   Measure measure) {
        if (!stream.connected()) return;
        std::vector<T> list;
        list.reserve(contours.size());
        for (Contour const contour : contours) list.push_back(measure(contour));
        writeStream(tick, stream, std::move(list));
    }
};

static zun::Registration<FindContours> const registration;
