// Takes one frame out of a list.
//
//   - type: PickFrame
//     inputs: {list: levels}
//     outputs: {frame: middle}
//     options: {index: 2}

#include <vector>

#include "containers/Mat.h"
#include "media/Registrations.h"
#include "node/Registration.h"

namespace zun::media {

class PickFrame : public Node {
    using Frame = Mat<unsigned char, 2>;

    int index = 0;
    InputStream<std::vector<Frame>> list;
    OutputStream<Frame> frame;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "PickFrame",
                                      .sourcePath = "media/PickFrame",
                                      .classCode = 1,
                                      .summary = "Takes one frame out of a list"};
        static constexpr auto inputs =
            rows(input("list", "zun::List<zun::Mat<unsigned char, 2>>", &PickFrame::list, "the frames"));
        static constexpr auto outputs = rows(output("frame", "zun::Mat<unsigned char, 2>", &PickFrame::frame,
                                                    "the one picked, which shares its pixels with the list's"));
        static constexpr auto options =
            rows(option("index", "int", "0", &PickFrame::index, "which frame: 0 is the first, -1 the last"));
    };

    void process(Tick tick) override {
        std::vector<Frame> const frames = readStream(tick, list);
        auto const count = static_cast<std::int64_t>(frames.size());
        std::int64_t const place = index < 0 ? count + index : index;
        require(place >= 0 && place < count, "place >= 0 && place < count", "PickFrame: there is no frame ", index,
                " in a list of ", count);
        writeStream(tick, frame, frames[static_cast<std::size_t>(place)]);
    }
};

void registerPickFrame() { static Registration<PickFrame> const once; }

} // namespace zun::media
