#include "pipeline/NodeConfig.h"

#include <utility>

namespace zun {

NodeConfig::NodeConfig(std::string type, std::map<std::string, OptionNode> options,
                       std::map<std::string, std::string> inputs, std::map<std::string, std::string> outputs,
                       std::map<std::string, int> limits)
    : typeString(std::move(type)), optionValues(std::move(options)), inputStreams(std::move(inputs)),
      outputStreams(std::move(outputs)), outputLimits(std::move(limits)) {}

std::string NodeConfig::getType() const { return typeString; }
std::map<std::string, OptionNode> NodeConfig::getParsedOptions() const { return optionValues; }
std::map<std::string, std::string> NodeConfig::getInputs() const { return inputStreams; }
std::map<std::string, std::string> NodeConfig::getOutputs() const { return outputStreams; }
std::map<std::string, int> NodeConfig::getLimits() const { return outputLimits; }

} // namespace zun
