// Finds the edges in a grey frame.
//
//   - type: CannyEdgeDetector
//     inputs: {image: grey}
//     outputs: {cannyMapImg: edges}
//     options: {minThresh: 50, maxThresh: 150, l2GradNorm: false}

#include "vexa_imgproc/CannyEdgeDetector.h"

#include "containers/Arithmetic.h"
#include "containers/Mat.h"
#include "node/Registration.h"

class CannyEdgeDetector : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;

    bool l2GradNorm = false;
    float maxThresh = 0;
    float minThresh = 0;
    zun::InputStream<Frame> image;
    zun::OutputStream<Frame> cannyMapImg;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "CannyEdgeDetector",
                                           .sourcePath = "imgproc/CannyEdgeDetector",
                                           .summary = "Finds the edges in a grey frame"};
        static constexpr auto inputs =
            zun::rows(zun::input("image", "zun::Mat<unsigned char, 2>", &CannyEdgeDetector::image, "the grey frame"));
        static constexpr auto outputs =
            zun::rows(zun::output("cannyMapImg", "zun::Mat<unsigned char, 2>", &CannyEdgeDetector::cannyMapImg,
                                  "255 where an edge runs, else 0")
                          .shapedLike("image"));
        static constexpr auto options = zun::rows(
            zun::requiredOption("l2GradNorm", "bool", &CannyEdgeDetector::l2GradNorm,
                                "true: measure gradients by their length; false: by the sum of their parts"),
            zun::requiredOption("maxThresh", "float", &CannyEdgeDetector::maxThresh,
                                "gradient above which a pixel is an edge; its fraction is cut off")
                .atLeast(0),
            zun::requiredOption("minThresh", "float", &CannyEdgeDetector::minThresh,
                                "gradient above which a pixel next to an edge is one; its fraction is cut off")
                .atLeast(0));
    };

    void process(zun::Tick tick) override {
        Frame edges;
        Frame const frame = readStream(tick, image);
        zun::cannyEdgeDetector(frame, zun::truncateToInt(minThresh), zun::truncateToInt(maxThresh), l2GradNorm, edges);
        writeStream(tick, cannyMapImg, edges);
    }
};

static zun::Registration<CannyEdgeDetector> const registration;
