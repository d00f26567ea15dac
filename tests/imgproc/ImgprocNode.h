// Nodes of the plug-in on their own, and short ways to say what they are given.
#pragma once

#include <algorithm>
#include <initializer_list>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "containers/Mat.h"
#include "containers/Rect.h"
#include "support/Failures.h"
#include "support/Frames.h"
#include "support/OneNode.h"

namespace zun::test {

using Frame = Mat<Vec3b, 2>;
using Floats = Mat<Vec3f, 2>;
using Grey = Mat<unsigned char, 2>;
using Bytes = std::vector<unsigned char>;

inline constexpr int smallest = std::numeric_limits<int>::min(), largest = std::numeric_limits<int>::max();
inline constexpr float nan = std::numeric_limits<float>::quiet_NaN(), infinity = std::numeric_limits<float>::infinity();

/// A node whose ports are all connected, as OneNode does it.
inline OneNode nodeOf(std::string const &type, Options const &options = {}) {
    loadLibrary(ZUN_IMGPROC);
    return OneNode(type, options);
}

using Ports = std::set<std::string>;

/// A node of which only the ports given are connected, each to the stream of its name.
inline OneNode nodeOf(std::string const &type, Options const &options, Ports const &inputs, Ports const &outputs) {
    loadLibrary(ZUN_IMGPROC);
    std::map<std::string, std::string> from, to;
    for (std::string const &port : inputs) from[port] = port;
    for (std::string const &port : outputs) to[port] = port;
    return OneNode(NodeConfig(type, options, from, to));
}

/// What a node writes to its port "output", or another.
template <class T>
T run(std::string const &type, Options const &options, Values const &inputs, std::string const &port = "output") {
    return held<T>(nodeOf(type, options).run(inputs).at("out." + port));
}

/// For a node that turns a frame at its port "input" into one of the same kind.
template <class T>
Mat<T, 2> filtered(std::string const &type, Options const &options, Mat<T, 2> const &frame) {
    return run<Mat<T, 2>>(type, options, {{"input", valueOf(frame)}});
}

/// A frame of the cells given, row by row.
template <class T>
Mat<T, 2> frameOf(Shape<2> const &shape, std::vector<T> const &cells) {
    Mat<T, 2> const frame(shape);
    std::copy(cells.begin(), cells.end(), frame.first());
    return frame;
}

/// A colour frame whose three channels are equal.
inline Frame grey(Shape<2> const &shape, Bytes const &cells) {
    std::vector<Vec3b> pixels;
    for (unsigned char const cell : cells) pixels.push_back({cell, cell, cell});
    return frameOf(shape, pixels);
}

/// What the guard of a node says of values, which are named by port.
inline std::optional<Diagnostic> refusal(OneNode const &node, Values const &inputs) {
    NodeFacts const &facts = NodeRegistry::find(node.config.getType())->facts;
    std::vector<Variant const *> byPort;
    for (NodeFacts::Input const &input : facts.inputs)
        byPort.push_back(inputs.contains(input.name) ? inputs.at(input.name).get() : nullptr);
    return facts.guard(*node.node, TickInputs(0, byPort.data()));
}

/// What a guard has to say: at which port, and a part of its message; no message if the values are to pass.
struct Guarded {
    Options options;
    Values inputs;
    std::string port, message;
};

inline void expectGuarded(std::string const &type, std::vector<Guarded> const &cases) {
    for (Guarded const &expected : cases) {
        SCOPED_TRACE(type + ", case " + std::to_string(&expected - cases.data()) + ": " + expected.message);
        auto const given = refusal(nodeOf(type, expected.options), expected.inputs);
        ASSERT_EQ(given.has_value(), !expected.message.empty()) << (given ? given->message : "not refused");
        if (!given) continue;
        EXPECT_EQ(given->port, expected.port);
        EXPECT_NE(given->message.find(expected.message), std::string::npos) << given->message;
    }
}

/// A frame without memory: guards look at no pixel.
template <class T>
Mat<T, 2> blank(std::uint32_t rows, std::uint32_t columns, std::optional<std::uint32_t> pitch = std::nullopt) {
    Mat<T, 2> frame;
    frame.shape = {rows, columns};
    frame.strides = {pitch.value_or(columns), 1};
    frame.count = rows * columns;
    return frame;
}

/// For a node that is given a frame without memory at its port "input".
template <class T>
Guarded guarded(Options const &options, Shape<2> const &shape, std::string const &message,
                std::optional<std::uint32_t> pitch = std::nullopt) {
    return {options, {{"input", valueOf(blank<T>(shape[0], shape[1], pitch))}}, "input", message};
}

} // namespace zun::test
