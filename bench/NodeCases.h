// What bench_nodes times: whole nodes on frames, each beside the nearest operation of OpenCV.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/SingleNode.h"

namespace zun::bench {

struct NodeCase {
    std::string type;
    std::string setting; ///< what is special about it, for the table
    std::map<std::string, OptionNode> options;
    engine::PortValues inputs;
    std::set<std::string> outputs;   ///< those that are connected; empty: all
    std::string peerName;            ///< "" where OpenCV has nothing like it
    std::function<void()> peer = {}; ///< the peer's work on the same frame, with storage that it may keep
    std::uint64_t bytes = 0;         ///< read and written by a copy of the frame
};

/// All cases for a frame size.
std::vector<NodeCase> nodeCases(int columns, int rows);

} // namespace zun::bench
