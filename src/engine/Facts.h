// What a host knows of node types beyond their specification.
//
// The engine asks a NodeFactsTable that its host hands it; the facts about the plug-in's types stand in guards/, those
// about host nodes in media/.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/NodeConfig.h"
#include "pipeline/Tick.h"

namespace zun::engine {

/// What a guard sees of a node that is about to process a tick.
class GuardView {
public:
    GuardView(NodeConfig const &config, Tick tick, std::map<std::string, std::shared_ptr<Variant>> inputsByPort)
        : nodeConfig(config), currentTick(tick), inputs(std::move(inputsByPort)) {}

    Tick tick() const { return currentTick; }
    NodeConfig const &config() const { return nodeConfig; }

    /// The value at an input port; null if the port is not connected, has no value at this tick, or another type.
    template <class T>
    T const *input(std::string const &port) const {
        auto const found = inputs.find(port);
        if (found == inputs.end()) return nullptr;
        auto const *const held = dynamic_cast<VariantType<T> const *>(found->second.get());
        return held != nullptr ? &held->value : nullptr;
    }

    /// The option's value as the node's field holds it.
    template <class T>
    T option(std::string const &name, T fallback) const {
        auto const options = nodeConfig.getParsedOptions();
        auto const found = options.find(name);
        return found == options.end() ? fallback : convertOption<T>(found->second);
    }

private:
    NodeConfig const &nodeConfig;
    Tick currentTick;
    std::map<std::string, std::shared_ptr<Variant>> inputs;
};

/// Why a node must not process a tick: the port that carries the offending value, and what is wrong with it.
struct Refusal {
    std::string port;
    std::string reason; ///< names index and value, and what to do
};

/// Refuses what would read or write outside memory, divide by zero, or never end.
using Guard = std::function<std::optional<Refusal>(GuardView const &)>;

/// What can be told of a node's outputs before the run.
struct Forecast {
    std::map<std::string, std::uint64_t> bytes; ///< output port -> bytes of one value, where known
    std::vector<std::string> errors;            ///< why the node would fail, such as an input file that is missing
};

struct NodeFacts {
    /// Inputs whose frames the node writes into.
    std::vector<std::string> changesInPlace;

    /// Called before each process(); none if empty.
    Guard guard = {};

    /// Output port -> the option that holds the type expression of its values.
    std::map<std::string, std::string> typeFromOption = {};

    /// Output port -> the input whose frames have the same shape, or "" for the only one that is connected.
    std::map<std::string, std::string> sizedLike = {};

    /// Asked once, ahead of the run, for a node whose description has no error; none if empty.
    std::function<Forecast(NodeConfig const &)> forecast = {};
};

/// By type string. A type that is absent has no facts.
using NodeFactsTable = std::map<std::string, NodeFacts>;

} // namespace zun::engine
