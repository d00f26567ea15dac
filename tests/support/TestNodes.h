// Small nodes to build test graphs from. Their values are plain functions of inputs and tick, so that a run has one
// right result, and they note what the engine does with them.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "description/Description.h"
#include "node/Registration.h"
#include "run/Progress.h"
#include "run/Run.h"

namespace zun::engine::test {

/// The rows of a table that leaves some out.
struct NoRows {
    static constexpr auto inputs = rows(), outputs = rows(), options = rows();
};

/// Registers the node types, once:
///   TestSource                   generator; options length (-1: without end), endsAt (unknown to getRunUntil), scale
///   TestMix, TestMixSerial       out = a function of a, b (either may be left out), tick and seed; sleeps if told
///                                work: 1, fails at the ticks failAt (late) and alsoFailAt, writes nothing at tick skip
///   TestSink                     notes what it reads under its option label
///   TestFrame, TestPaint, TestFrameSum   a frame; a node that adds 1 to each pixel of the frame it reads; the sum
///   TestRelay, TestDoubles       hands on a value of any type; sums a frame of doubles
///   TestSparse                   generator whose ticks overlap, and which tells its end, length, only when there
void registerTestNodes();

/// What the sinks of a run received, and what the engine did wrong, if anything.
struct Notes {
    std::map<std::string, std::vector<std::pair<Tick, int>>> received; ///< sink -> (tick, value), in order of arrival
    std::map<std::string, Tick> flushedAt;
    std::vector<std::string> violations;
};

struct RunResult : Notes {
    Tick ticks = 0;
    std::string error;           ///< empty if the run succeeded
    std::uint64_t bytesPeak = 0; ///< in flight, unless the options bring an observer
};

/// Runs the nodes of a description.
RunResult runGraph(std::string const &nodes, RunOptions const &options = {}, RunControl *control = nullptr);

/// Diagnostics, each given by its beginning and a part of its message.
using Expected = std::vector<std::pair<std::string, std::string>>;

/// Expects these diagnostics and no others.
void expectDiagnostics(Diagnostics const &found, Expected const &expected);

} // namespace zun::engine::test
