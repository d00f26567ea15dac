// What a node is built from: one entry of a pipeline description.
#pragma once

#include <map>
#include <string>

#include "pipeline/config/OptionNode.h"

namespace zun {

class PipelineState;

/// The node's part of the description. A plain value.
class NodeConfig {
public:
    explicit NodeConfig(std::string type, std::map<std::string, OptionNode> options = {},
                        std::map<std::string, std::string> inputs = {}, std::map<std::string, std::string> outputs = {},
                        std::map<std::string, int> limits = {});

    /// The type string with which the node is being built.
    std::string getType() const;
    /// Option name -> value; what the description doesn't set is absent.
    std::map<std::string, OptionNode> getParsedOptions() const;
    /// Port name -> stream name; what is not connected is absent.
    std::map<std::string, std::string> getInputs() const;
    std::map<std::string, std::string> getOutputs() const;
    /// Output name -> limit; absent where the description sets none.
    std::map<std::string, int> getLimits() const;

private:
    std::string typeString;
    std::map<std::string, OptionNode> optionValues;
    std::map<std::string, std::string> inputStreams, outputStreams;
    std::map<std::string, int> outputLimits;
};

/// Where the node stands in the pipeline that builds it.
struct NodeConstructionInfo {
    PipelineState *state = nullptr; ///< outlives the node
    int index = 0;                  ///< the node's place in the description, for messages
};

} // namespace zun
