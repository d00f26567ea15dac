// Makes a list of up to four frames, for nodes that take lists.
//
//   - type: ListFrames
//     inputs: {first: blurred}
//     outputs: {list: sources}

#include <utility>
#include <vector>

#include "containers/Mat.h"
#include "media/Registrations.h"
#include "node/Registration.h"

namespace zun::media {

class ListFrames : public Node {
    using Frame = Mat<Vec3b, 2>;

    InputStream<Frame> first, second, third, fourth;
    OutputStream<std::vector<Frame>> list;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "ListFrames",
                                      .sourcePath = "media/ListFrames",
                                      .classCode = 1,
                                      .summary = "Makes a list of up to four frames"};
        static constexpr char const *frame = "zun::Mat<zun::Vec3b, 2>";
        static constexpr auto inputs =
            rows(input("first", frame, &ListFrames::first, "the list's first frame"),
                 optionalInput("second", frame, &ListFrames::second, "the next, where it is connected"),
                 optionalInput("third", frame, &ListFrames::third, "the next, where it is connected"),
                 optionalInput("fourth", frame, &ListFrames::fourth, "the next, where it is connected"));
        static constexpr auto outputs = rows(output("list", "zun::List<zun::Mat<zun::Vec3b, 2>>", &ListFrames::list,
                                                    "the frames, which share their pixels with the inputs"));
        static constexpr auto options = rows();
    };

    void process(Tick tick) override {
        std::vector<Frame> frames;
        for (InputStream<Frame> const *stream : {&first, &second, &third, &fourth})
            if (stream->connected()) frames.push_back(readStream(tick, *stream));
        writeStream(tick, list, std::move(frames));
    }
};

void registerListFrames() { static Registration<ListFrames> const once; }

} // namespace zun::media
