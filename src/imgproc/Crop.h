// Cuts a box that arrives on a stream out of a frame of one element type; CropAny takes either.
//
//   - type: Crop<Vec3b>
//     inputs: {image: photo, box: face}
//     outputs: {output: portrait}
//     options: {clamp: true}
#pragma once

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "imgproc/CropRectangle.h"
#include "node/Registration.h"

template <class T>
class Crop : public zun::Node {
    using Frame = zun::Mat<T, 2>;

    bool clamp = false;
    zun::InputStream<zun::Box> box;
    zun::InputStream<Frame> image;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    static constexpr zun::TemplateParameter<T> templateParameter{"T",
                                                                 {{{"Vec3b", "zun::Vec3b"}, {"Vec3f", "zun::Vec3f"}}}};

    struct Table {
        static constexpr zun::NodeRow node{.type = "Crop",
                                           .sourcePath = "imgproc/Crop",
                                           .summary = "Cuts a rectangle out of a frame of one element type",
                                           .typeInMessages = "Crop<T>"};
        static constexpr auto inputs =
            zun::rows(zun::input("box", "zun::Box", &Crop::box, "the rectangle to cut, in pixels"),
                      zun::input("image", "zun::Mat<T, 2>", &Crop::image, "the frame"));
        static constexpr auto outputs =
            zun::rows(zun::output("output", "zun::Mat<T, 2>", &Crop::output, "the cut, on storage of its own"));
        static constexpr auto options =
            zun::rows(zun::option("clamp", "bool", "false", &Crop::clamp,
                                  "true: cut only what lies in the frame; false: repeat the frame's edge outside"));
    };

    zun::Verdict guard(zun::Arriving const &in) const { return zun::checkCrop(box, in[image], in[box], clamp); }

    void process(zun::Tick tick) override {
        Frame const frame = readStream(tick, image);
        zun::Box const cut = readStream(tick, box);
        writeStream(tick, output, zun::cropRectangle(frame, cut, clamp));
    }
};
