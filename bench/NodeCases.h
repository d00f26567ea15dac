// What bench_nodes times: whole nodes on frames, each beside the nearest operation of OpenCV.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "imgproc/kernels/FrameSize.h"
#include "run/SingleNode.h"

namespace zun::bench {

/// Somebody else's way to the same result, or the nearest there is, on one thread. It may keep its storage from call to
/// call, as a node's storage comes back to it from the pool.
struct Peer {
    std::string name;
    std::function<void()> run;
    std::optional<double> aim = {}; ///< the node's time over the peer's that it should not exceed
};

struct NodeCase {
    std::string type;
    std::string setting; ///< what is special about it, for the table
    engine::PortValues inputs;
    std::map<std::string, OptionNode> options;
    std::set<std::string> outputs; ///< those that are connected; empty: all
    std::optional<Peer> peer = {};
    std::uint64_t bytes = 0; ///< a copy of so many reads and writes as much as the node; 0 where it touches little
    std::optional<double> aimedMilliseconds = {}; ///< where there is no peer to aim at
};

/// All cases for a frame size. The plug-in imgproc has to be loaded.
std::vector<NodeCase> nodeCases(kernels::FrameSize size);

} // namespace zun::bench
