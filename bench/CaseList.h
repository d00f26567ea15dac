// What the files of cases share: the frames, and how a case is written down.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "NodeCases.h"
#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"

namespace zun::bench {

using Grey = Mat<unsigned char, 2>;
using Colour = Mat<Vec3b, 2>;
using Floats = Mat<Vec3f, 2>;
using Options = std::map<std::string, OptionNode>;

/// The same picture in all forms: smooth areas, edges, and some noise.
struct Frames {
    Frames(int columns, int rows);

    Shape<2> shape;
    Grey grey, binary, coarse; ///< coarse: few, clean contours
    Colour colour;
    Floats floats; ///< YCbCr
};

template <class T>
std::shared_ptr<Variant> value(T held) {
    return std::make_shared<VariantType<T>>(std::move(held));
}

template <class T, int Type>
cv::Mat view(Mat<T, 2> const &mat) {
    return {static_cast<int>(mat.shape[0]), static_cast<int>(mat.shape[1]), Type, mat.first()};
}
inline cv::Mat view(Grey const &mat) { return view<unsigned char, CV_8UC1>(mat); }
inline cv::Mat view(Colour const &mat) { return view<Vec3b, CV_8UC3>(mat); }
inline cv::Mat view(Floats const &mat) { return view<Vec3f, CV_32FC3>(mat); }

/// The part of a frame from its top left corner on.
inline Colour cornerOf(Colour const &frame, int columns, int rows) {
    Colour const corner({static_cast<std::uint32_t>(rows), static_cast<std::uint32_t>(columns)});
    view(frame)(cv::Rect(0, 0, columns, rows)).copyTo(view(corner));
    return corner;
}

inline OptionNode number(int n) { return OptionNode::ofInt(n); }
inline OptionNode real(double x) { return OptionNode::ofFloat(x); }
inline OptionNode flag(bool b) { return OptionNode::ofBool(b); }

class CaseList {
public:
    CaseList(int frameColumns, int frameRows)
        : columns(frameColumns), rows(frameRows), frames(frameColumns, frameRows), out(std::make_shared<cv::Mat>()),
          other(std::make_shared<cv::Mat>()) {}

    void add(NodeCase one) { cases.push_back(std::move(one)); }

    /// Most nodes have one frame at "input" and write one like it.
    template <class Frame>
    void on(Frame const &frame, std::string type, std::string setting, Options options, Peer peer) {
        add({.type = std::move(type),
             .setting = std::move(setting),
             .inputs = {{"input", value(frame)}},
             .options = std::move(options),
             .outputs = {},
             .peer = std::move(peer),
             .bytes = frame.bytes()});
    }

    std::uint64_t pixels() const { return frames.grey.count; }

    int const columns, rows;
    Frames const frames;
    std::shared_ptr<cv::Mat> const out, other; ///< the peers' storage, kept from call to call
    std::vector<NodeCase> cases;
};

// Each adds the cases of some nodes.
void addColourCases(CaseList &list);
void addDrawingCases(CaseList &list);
void addMaskCases(CaseList &list);
void addBinaryCases(CaseList &list);
void addDetectorCases(CaseList &list);
void addFilterCases(CaseList &list);
void addGeometryCases(CaseList &list);

} // namespace zun::bench
