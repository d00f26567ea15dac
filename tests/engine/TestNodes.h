// Small nodes to build test graphs from. Their values are plain functions of inputs and tick, so that a run has one
// right result, and they note what the engine does with them.
#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "engine/Description.h"
#include "engine/Run.h"
#include "pipeline/Tick.h"

namespace zun::engine::test {

/// What the sinks of a run received, and what the engine did wrong, if anything.
struct Journal {
    std::mutex mutex;
    std::map<std::string, std::vector<std::pair<Tick, int>>> received; ///< sink -> (tick, value), in order of arrival
    std::map<std::string, Tick> flushedAt;
    std::vector<std::string> violations;

    void violation(std::string const &what) {
        std::lock_guard const lock(mutex);
        violations.push_back(what);
    }
    void clear();
};

Journal &journal();

/// Registers the node types, once:
///   TestSource            generator; options length (-1: without end), endsAt (unknown to getRunUntil), stall
///   TestMix, TestMixSerial  out = a function of a, b (either may be left out), tick and option seed; option work:
///   spins TestSink              notes what it reads under its option `label` TestFail              passes a on; fails
///   at the ticks `at` and `alsoAt`, writes nothing at tick `skip` TestFrame, TestPaint, TestFrameSum   a frame; a node
///   that adds 1 to every pixel of the frame it reads; its sum
void registerTestNodes();

using Bindings = std::vector<std::pair<std::string, std::string>>;
using Options = std::vector<std::pair<std::string, OptionNode>>;

NodeDescription node(std::string const &type, std::string const &name, Bindings const &inputs, Bindings const &outputs,
                     Options const &options = {}, std::vector<std::pair<std::string, int>> const &limits = {});

inline OptionNode number(std::int64_t value) { return OptionNode::ofInt(value); }
inline OptionNode text(std::string const &value) { return OptionNode::ofString(value); }

struct RunResult {
    Tick ticks = 0;
    std::string error; ///< empty if the run succeeded
    std::map<std::string, std::vector<std::pair<Tick, int>>> received;
    std::map<std::string, Tick> flushedAt;
    std::vector<std::string> violations;
    std::uint64_t bytesPeak = 0;
};

/// Runs a graph and collects what its sinks received.
RunResult runGraph(std::vector<NodeDescription> const &nodes, RunOptions const &options);

} // namespace zun::engine::test
