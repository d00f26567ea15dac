// Cuts a box that arrives on a stream out of a byte or float colour frame, whichever the tick brings.
//
//   - type: CropAny
//     inputs: {image: photo, box: face}
//     outputs: {output: portrait}
//     options: {clamp: true}

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "imgproc/CropRectangle.h"
#include "node/Registration.h"

class CropAny : public zun::Node {
    using ByteFrame = zun::Mat<zun::Vec3b, 2>;
    using FloatFrame = zun::Mat<zun::Vec3f, 2>;

    bool clamp = false;
    zun::InputStream<zun::Box> box;
    zun::InputStream<zun::Variant> image;
    zun::OutputStream<zun::Variant> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "CropAny",
                                           .sourcePath = "imgproc/CropAny",
                                           .summary = "Cuts a rectangle out of a byte or float colour frame"};
        static constexpr auto inputs =
            zun::rows(zun::input("box", "zun::Box", &CropAny::box, "the rectangle to cut, in pixels"),
                      zun::input("image", "any", &CropAny::image, "a frame of Vec3b or Vec3f pixels"));
        static constexpr auto outputs = zun::rows(
            zun::output("output", "any", &CropAny::output, "the cut, on storage of its own, of the image's type"));
        static constexpr auto options =
            zun::rows(zun::option("clamp", "bool", "false", &CropAny::clamp,
                                  "true: cut only what lies in the frame; false: repeat the frame's edge outside"));
    };

    zun::Verdict guard(zun::Arriving const &in) const {
        zun::Verdict verdict = check(in, in.as<ByteFrame>(image));
        return verdict ? verdict : check(in, in.as<FloatFrame>(image));
    }

    void process(zun::Tick tick) override {
        std::shared_ptr<zun::Variant> const held = readStream(tick, image);
        auto const *const byteImage = dynamic_cast<zun::VariantType<ByteFrame> *>(held.get());
        auto const *const floatImage = dynamic_cast<zun::VariantType<FloatFrame> *>(held.get());
        require(byteImage || floatImage, "byteImage || floatImage",
                "CropAny: image input is neither float or byte image");
        zun::Box const cut = readStream(tick, box);
        if (byteImage != nullptr)
            writeStream(tick, output, zun::cropRectangle(byteImage->value, cut, clamp));
        else
            writeStream(tick, output, zun::cropRectangle(floatImage->value, cut, clamp));
    }

private:
    template <class Frame>
    zun::Verdict check(zun::Arriving const &in, Frame const *frame) const {
        if (frame == nullptr) return zun::pass;
        zun::Verdict verdict = zun::refuseUnsound(image, *frame);
        return verdict ? verdict : zun::checkCrop(box, frame, in[box], clamp);
    }
};

static zun::Registration<CropAny> const registration;
