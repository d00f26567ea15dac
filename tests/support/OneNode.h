// A node on its own: built by its type string and run tick by tick, without an engine.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>

#include "containers/Exception.h"
#include "containers/Mat.h"
#include "containers/Variant.h"
#include "pipeline/NodeRegistry.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/PipelineState.h"

namespace zun::test {

using Values = std::map<std::string, std::shared_ptr<Variant>>; // by port or stream

template <class T>
std::shared_ptr<Variant> valueOf(T held) {
    return std::make_shared<VariantType<T>>(std::move(held));
}

/// What a value holds; throws std::bad_cast if it is of another type.
template <class T>
T const &held(std::shared_ptr<Variant> const &value) {
    return dynamic_cast<VariantType<T> const &>(*value).value;
}

/// Loads a plug-in as hosts do.
inline void loadLibrary(char const *path) {
    if (dlopen(path, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE) == nullptr) throw Exception(dlerror());
}

/// The value of an option, of the type that it is written in.
struct Option : OptionNode {
    Option(bool value) : OptionNode(ofBool(value)) {}
    Option(int value) : OptionNode(ofInt(value)) {}
    Option(double value) : OptionNode(ofFloat(value)) {}
    Option(std::string const &value) : OptionNode(ofString(value)) {}
    Option(char const *value) : OptionNode(ofString(value)) {}
    Option(Vec2i value) : OptionNode(ofVector({ofInt(value[0]), ofInt(value[1])})) {}
};

struct Options : std::map<std::string, OptionNode> {
    Options() = default;
    Options(std::initializer_list<std::pair<char const *, Option>> options) { insert(options.begin(), options.end()); }
};

/// A configuration that connects every port: an input to the stream of its own name, an output to "out.<its name>".
inline NodeConfig connected(std::string const &type, std::map<std::string, OptionNode> options = {}) {
    NodeRegistry::Entry const *const entry = NodeRegistry::find(type);
    if (entry == nullptr) throw Exception("no node type " + type);
    std::map<std::string, std::string> inputs, outputs;
    for (auto const &[port, input] : entry->specification.inputs) inputs[port] = port;
    for (auto const &[port, output] : entry->specification.outputs) outputs[port] = "out." + port;
    return NodeConfig(type, std::move(options), inputs, outputs);
}

class OneNode final : public PipelineState {
    struct TickValues {
        Values read, written;
    };

    template <class Action>
    auto locked(Action action) {
        std::lock_guard const lock(mutex);
        return action();
    }

public:
    explicit OneNode(NodeConfig nodeConfig, int index = 0) : config(std::move(nodeConfig)) {
        NodeRegistry::Entry const *const entry = NodeRegistry::find(config.getType());
        if (entry == nullptr) throw Exception("no node type " + config.getType());
        node.reset(entry->factory({this, index}, config));
        node->initialize();
    }
    explicit OneNode(std::string const &type, std::map<std::string, OptionNode> options = {})
        : OneNode(connected(type, std::move(options))) {}

    /// Runs a tick on values by input stream, and gives what the node wrote, by output stream. Thread-safe.
    Values run(Values inputs, Tick tick = 0) {
        locked([&] { ticks[tick] = {std::move(inputs), {}}; });
        node->process(tick);
        return locked([&] { return std::move(ticks.extract(tick).mapped().written); });
    }

    std::shared_ptr<Variant> getLinearInput(PipelineNode const *, Tick tick, std::string stream, bool) override {
        return locked([&] { return ticks.at(tick).read.at(stream); });
    }
    void setLinearOutput(Tick tick, std::string stream, std::shared_ptr<Variant> value) override {
        locked([&] { ticks.at(tick).written[stream] = std::move(value); });
    }
    std::uint64_t getStreamBufferCount(std::string const &stream) override {
        askedFor.push_back(stream);
        return buffered[stream];
    }

    NodeConfig const config;
    std::unique_ptr<PipelineNode> node;
    std::map<std::string, std::uint64_t> buffered; ///< what getStreamBufferCount() answers
    std::vector<std::string> askedFor;             ///< the streams it was asked for

private:
    std::mutex mutex;
    std::map<Tick, TickValues> ticks;
};

} // namespace zun::test
