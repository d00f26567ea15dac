// Finds straight line segments in a frame of edges.
//
//   - type: HoughLines
//     inputs: {image: edges}
//     outputs: {houghLines: segments, houghLinesImg: drawn}
//     options: {rho: 1, theta: 0.0174533, threshold: 50, edgeThresh: 0, lineLenMin: 30, lineGapMax: 5, quantize: false}

#include "vexa_imgproc/HoughLines.h"

#include <numbers>

#include "containers/Mat.h"
#include "node/Registration.h"

class HoughLines : public zun::Node {
    using Frame = zun::Mat<unsigned char, 2>;
    using Lines = zun::Mat<zun::Vec<int, 4>, 1>;

    int edgeThresh = 0;
    int lineGapMax = 0;
    int lineLenMin = 0;
    bool quantize = false;
    float rho = 0;
    float theta = 0;
    int threshold = 0;
    zun::InputStream<Frame> image;
    zun::OutputStream<Lines> houghLines;
    zun::OutputStream<Frame> houghLinesImg;

public:
    using Node::Node;

    struct Table {
        static constexpr zun::NodeRow node{.type = "HoughLines",
                                           .sourcePath = "imgproc/HoughLines",
                                           .summary = "Finds straight line segments in a frame of edges"};
        static constexpr auto inputs =
            zun::rows(zun::input("image", "zun::Mat<unsigned char, 2>", &HoughLines::image, "the frame to search"));
        static constexpr auto outputs =
            zun::rows(zun::output("houghLines", "zun::Mat<zun::Vec<int, 4>, 1>", &HoughLines::houghLines,
                                  "the ends of each segment: x0, y0, x1, y1"),
                      zun::output("houghLinesImg", "zun::Mat<unsigned char, 2>", &HoughLines::houghLinesImg,
                                  "the segments, drawn at 255, as large as the frame")
                          .shapedLike("image"));
        static constexpr auto options = zun::rows(
            zun::requiredOption("edgeThresh", "int", &HoughLines::edgeThresh, "pixels above it are edges")
                .between(0, 255),
            zun::requiredOption("lineGapMax", "int", &HoughLines::lineGapMax,
                                "most pixels missing in a row within a segment")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::requiredOption("lineLenMin", "int", &HoughLines::lineLenMin,
                                "least length of a segment in pixels, as columns or rows")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::requiredOption("quantize", "bool", &HoughLines::quantize,
                                "true: leave out segments that lie all along within rho of longer ones"),
            zun::requiredOption("rho", "float", &HoughLines::rho, "distance step of the search in pixels, above 0")
                .is(zun::OptionKind::Pixels)
                .atLeast(0),
            zun::requiredOption("theta", "float", &HoughLines::theta, "angle step in radians, above 0")
                .is(zun::OptionKind::Angle)
                .between(0, std::numbers::pi),
            zun::requiredOption("threshold", "int", &HoughLines::threshold, "least number of edge pixels on a line")
                .atLeast(0));
    };

    void process(zun::Tick tick) override {
        Lines lines;
        Frame drawn;
        Frame const frame = readStream(tick, image);
        zun::houghLines(frame, rho, theta, threshold, edgeThresh, lineLenMin, lineGapMax, quantize, lines, drawn);
        writeStream(tick, houghLines, lines);
        writeStream(tick, houghLinesImg, drawn);
    }
};

static zun::Registration<HoughLines> const registration;
