// A node by itself: its type, ports and limits.
#include <algorithm>

#include "graph/GraphBuilder.h"
#include "pipeline/NodeSpecification.h"

namespace zun::engine {
namespace {

/// A type expression of a specification with its template parameters replaced by what the type string chooses.
std::string resolved(std::string const &expression, NodeRegistry::Entry const &type) {
    return chooseParameters(expression, type.specification, type.type);
}

/// Ports that are left open, and those whose stream could not be read.
bool isUnconnected(PortBinding const &binding) { return binding.stream == noStream || binding.stream.empty(); }

template <class Facts>
std::size_t rowOf(Facts const &facts, std::string const &name) {
    auto const found = std::find_if(facts.begin(), facts.end(), [&](auto const &entry) { return entry.name == name; });
    return found == facts.end() ? unknownRow : static_cast<std::size_t>(found - facts.begin());
}

} // namespace

void GraphBuilder::checkNode(GraphNode &node) {
    NodeDescription const &described = *node.description;
    if (findType(node)) {
        NodeSpecification const &known = node.type->specification;
        bindPorts(node, described.inputs, known.inputs, known.outputs, "input", "output", node.inputs);
        bindPorts(node, described.outputs, known.outputs, known.inputs, "output", "input", node.outputs);
        checkRequiredInputs(node);
        checkOptions(node);
        checkLimits(node);
        settleTypes(node);
        return;
    }
    auto const bindUnknown = [&](std::vector<PortBinding> const &bindings, std::vector<GraphPort> &bound) {
        for (PortBinding const &binding : bindings)
            if (!isUnconnected(binding))
                bound.push_back({.name = binding.port, .stream = streamNamed(binding.stream), .place = binding.place});
    };
    bindUnknown(described.inputs, node.inputs);
    bindUnknown(described.outputs, node.outputs);
}

bool GraphBuilder::findType(GraphNode &node) {
    NodeDescription const &described = *node.description;
    node.failed = described.type.empty(); // was reported when the description was read
    if (node.failed) return false;
    node.type = NodeRegistry::find(described.type);
    if (node.type == nullptr) {
        std::vector<std::string> known;
        for (NodeRegistry::Entry const *other : NodeRegistry::entries()) known.push_back(other->type);
        error(node, described.typePlace, "",
              "has an unknown type" + (known.empty() ? ": no node types are known; load a plug-in that has some"
                                                     : diagnostics.knownNames(described.type, known)));
        return false;
    }
    NodeSpecification const &specification = node.type->specification;
    bool const canBuild = (specification.classCode & 1) != 0 && specification.baseType == "PipelineNode";
    if (!canBuild)
        error(node, described.typePlace, "",
              "has a type that can't be built from a description: its class code is " +
                  std::to_string(specification.classCode) + " and its base type " + quoted(specification.baseType));
    return true;
}

/// Finds the port that each binding means. `others` are the ports of the other direction.
template <class Ports, class Others>
void GraphBuilder::bindPorts(GraphNode &node, std::vector<PortBinding> const &bindings, Ports const &ports,
                             Others const &others, char const *kind, char const *otherKind,
                             std::vector<GraphPort> &bound) {
    for (PortBinding const &binding : bindings) {
        GraphPort port{.name = binding.port, .place = binding.place};
        auto found = ports.find(port.name);
        if (found == ports.end()) {
            std::vector<std::string> const names = keysOf(ports);
            bool const swapped = others.contains(port.name);
            error(node, binding.place, port.name,
                  std::string("has no ") + kind + " " + quoted(port.name) +
                      (swapped ? std::string(": it is an ") + otherKind : diagnostics.knownNames(port.name, names)));
            port.name = diagnostics.nearest(port.name, names).value_or(port.name);
            found = ports.find(port.name);
        }
        if (found != ports.end()) port.type = resolved(found->second.type, *node.type);
        node.failed |= binding.stream.empty(); // was reported when the description was read
        if (isUnconnected(binding)) continue;
        port.stream = streamNamed(binding.stream);
        bound.push_back(std::move(port));
    }
}

void GraphBuilder::checkRequiredInputs(GraphNode &node) {
    auto const &bindings = node.description->inputs;
    for (auto const &[name, input] : node.type->specification.inputs) {
        if (input.optional) continue;
        auto const isIt = [&, port = name](auto const &other) { return other.name == port; };
        if (std::any_of(node.inputs.begin(), node.inputs.end(), isIt)) continue;
        auto const left = std::find_if(bindings.begin(), bindings.end(),
                                       [&, port = name](PortBinding const &binding) { return binding.port == port; });
        if (left == bindings.end())
            error(node, node.description->place, name,
                  "needs input " + quoted(name) + ": connect it to a stream of type " +
                      resolved(input.type, *node.type));
        else if (left->stream == noStream)
            error(node, left->place, name, "needs input " + quoted(name) + ", so it can't be left open");
    }
}

void GraphBuilder::checkLimits(GraphNode &node) {
    std::vector<std::string> const names = keysOf(node.type->specification.outputs);
    for (LimitSetting const &limit : node.description->limits)
        if (!node.type->specification.outputs.contains(limit.port))
            error(node, limit.place, limit.port,
                  "has no output " + quoted(limit.port) + " to limit" + diagnostics.knownNames(limit.port, names));
}

/// Fills in what the type's facts say about the ports, including a type that an option holds.
void GraphBuilder::settleTypes(GraphNode &node) {
    NodeFacts const &facts = node.type->facts;
    for (GraphPort &input : node.inputs) {
        input.row = rowOf(facts.inputs, input.name);
        if (input.row == unknownRow) continue;
        input.value = facts.inputs[input.row].type;
        input.changedInPlace = facts.inputs[input.row].changedInPlace;
    }
    for (GraphPort &output : node.outputs) {
        output.row = rowOf(facts.outputs, output.name);
        if (output.row == unknownRow || facts.outputs[output.row].typeOption.empty()) continue;
        std::string const &optionName = facts.outputs[output.row].typeOption;
        auto const &options = node.description->options;
        auto const setting = std::find_if(options.begin(), options.end(),
                                          [&](OptionSetting const &option) { return option.name == optionName; });
        if (setting == options.end() || !acceptsOption<std::string>(setting->value)) continue;
        std::string const expression = convertOption<std::string>(setting->value);
        bool const isKnown = valueTypeNamed(expression) != nullptr || canonicalType(expression) == "any";
        if (!isKnown) {
            std::vector<std::string> spellings;
            for (ValueType const *type : valueTypes()) spellings.push_back(type->spelling);
            error(node, setting->place, optionName,
                  "has an unknown type of values " + quoted(expression) + " in option " + quoted(optionName) +
                      diagnostics.knownNames(expression, spellings));
        }
        output.type = isKnown ? expression : "any";
    }
}

} // namespace zun::engine
