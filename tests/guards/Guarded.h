// Nodes of the plug-in behind their guards.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "guards/Guards.h"
#include "imgproc/ImgprocNode.h"

namespace zun::test {

/// The guard's answer for a node; inputs are named by port.
inline std::optional<engine::Refusal> refusal(OneNode const &node, Values const &inputs) {
    return guards::facts().at(node.config.getType()).guard(engine::GuardView(node.config, 0, inputs));
}

/// What a guard has to say of inputs: at which port, and a part of its reason; nothing if it is to pass them.
struct Verdict {
    Options options;
    Values inputs;
    std::string port, reason;
};

inline void expectVerdicts(std::string const &type, std::vector<Verdict> const &verdicts) {
    for (Verdict const &expected : verdicts) {
        SCOPED_TRACE(type + ", case " + std::to_string(&expected - verdicts.data()) + ": " + expected.reason);
        auto const given = refusal(nodeOf(type, expected.options), expected.inputs);
        ASSERT_EQ(given.has_value(), !expected.reason.empty()) << (given ? given->reason : "not refused");
        if (!given) continue;
        EXPECT_EQ(given->port, expected.port);
        EXPECT_NE(given->reason.find(expected.reason), std::string::npos) << given->reason;
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

/// Of a frame at the port "input".
template <class T>
Verdict onInput(Options const &options, Mat<T, 2> const &frame, std::string const &reason) {
    return {options, {{"input", valueOf(frame)}}, "input", reason};
}

} // namespace zun::test
