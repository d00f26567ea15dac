// A node of one's own: keeps only a few values of each colour channel.

#include <algorithm>

#include "containers/Mat.h"
#include "node/Registration.h"

class Posterise : public zun::Node {
    using Frame = zun::Mat<zun::Vec3b, 2>;

    int levels = 0;
    zun::InputStream<Frame> input;
    zun::OutputStream<Frame> output;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{
            .type = "Posterise", .sourcePath = "Posterise", .summary = "Keeps a few values of each channel"};
        static constexpr auto inputs =
            zun::rows(zun::input("input", "zun::Mat<zun::Vec3b, 2>", &Posterise::input, "the frame"));
        // The size of its frames is known ahead of the run, so that `zun check` can tell what memory it takes.
        static constexpr auto outputs = zun::rows(
            zun::output("output", "zun::Mat<zun::Vec3b, 2>", &Posterise::output, "its poster").shapedLike("input"));
        // `zun check` warns of a value that is out of range.
        static constexpr auto options =
            zun::rows(zun::option("levels", "int", "4", &Posterise::levels, "values of each channel, from 2 to 256")
                          .between(2, 256));
    };

    void process(zun::Tick tick) override {
        require(levels >= 2 && levels <= 256, "levels >= 2 && levels <= 256", "Posterise: levels is ", levels);
        Frame const frame = readStream(tick, input).clone();
        std::for_each(frame.first(), frame.first() + frame.count, [this](zun::Vec3b &pixel) {
            for (int i = 0; i < 3; i++)
                pixel[i] = static_cast<unsigned char>(pixel[i] * levels / 256 * 255 / (levels - 1));
        });
        writeStream(tick, output, frame);
    }
};

static zun::Registration<Posterise> const registration;
