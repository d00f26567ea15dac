// A node by itself: its type, ports, options and limits.
#include <algorithm>

#include "engine/CheckModel.h"
#include "engine/PortTypes.h"
#include "engine/Scalars.h"
#include "engine/ValueTypes.h"

namespace zun::engine {
namespace {

using Type = OptionNode::Type;

bool checkType(CheckedNode &node, Report &report) {
    NodeDescription const &described = *node.description;
    node.failed = described.type.empty(); // was reported when the description was read
    if (node.failed) return false;
    NodeRegistry::Entry const *const entry = NodeRegistry::find(described.type);
    if (entry == nullptr) {
        std::vector<std::string> known;
        for (NodeRegistry::Entry const *other : NodeRegistry::entries()) known.push_back(other->type);
        node.error(report, described.typePlace,
                   "has an unknown type" + (known.empty() ? ": no node types are known, load a plug-in that has some"
                                                          : report.knownNames(described.type, known)));
        return false;
    }
    node.specification = &entry->specification;
    bool const canBuild = (entry->specification.classCode & 1) != 0 && entry->specification.baseType == "PipelineNode";
    if (!canBuild)
        node.error(report, described.typePlace,
                   "has a type that can't be built from a description: its class code is " +
                       std::to_string(entry->specification.classCode) + " and its base type " +
                       quoted(entry->specification.baseType));
    return true;
}

/// Whether convertOption() has a conversion to the type; it would log its failure, so it is not asked.
bool converts(OptionNode const &value, std::string const &canonical) {
    bool const isNumber = value.type == Type::BOOL || value.type == Type::INT || value.type == Type::FLOAT;
    if (canonical == "int" || canonical == "bool" || canonical == "float") return isNumber;
    if (canonical == "std::string") return isNumber || value.type == Type::STRING;
    if (canonical == "zun::Vec<int, 2>")
        return value.type == Type::VECTOR && value.vectorValue.size() == 2 && converts(*value.vectorValue[0], "int") &&
               converts(*value.vectorValue[1], "int");
    return true;
}

std::string conversionHint(OptionNode const &value, std::string const &canonical) {
    if (value.type == Type::STRING && converts(resolvePlain(value.text).value, canonical))
        return "; write it without quotes (a ${name} for it needs a line of its own, outside of { })";
    if (canonical == "bool") return "; write true or false";
    if (canonical == "int") return "; write a number such as 10";
    if (canonical == "float") return "; write a number such as 0.5";
    if (canonical == "std::string") return "; write a text, in quotes";
    return "; write a list of two numbers such as [3, 5]";
}

/// What happens to a number on its way into an int is legal, but hardly meant.
void warnOfLostDigits(CheckedNode const &node, OptionSetting const &option, Report &report) {
    int const stored = convertOption<int>(option.value);
    bool const same = option.value.type == Type::INT     ? stored == option.value.intValue
                      : option.value.type == Type::FLOAT ? stored == option.value.floatValue
                                                         : true;
    if (!same)
        report.warning(option.place, node.label() + ": option " + quoted(option.name) + " is an int, so " +
                                         quoted(option.value.text) + " becomes " + std::to_string(stored));
}

void checkOptions(CheckedNode &node, Report &report) {
    auto const &known = node.specification->options;
    std::vector<std::string> missing;
    for (auto const &[name, option] : known)
        if (!option.optional) missing.push_back(name);
    for (OptionSetting const &option : node.description->options) {
        std::string name = option.name;
        auto found = known.find(name);
        if (found == known.end()) {
            std::vector<std::string> const names = keysOf(known);
            node.error(report, option.place,
                       "has no option " + quoted(name) +
                           (names.empty() ? "; it has none at all" : report.knownNames(name, names)));
            name = report.nearest(name, names).value_or(name);
            found = known.find(name);
        }
        std::erase(missing, name);
        node.failed |= option.value.type == Type::NONE; // was reported when the description was read
        if (found == known.end() || option.value.type == Type::NONE) continue;
        std::string const type = canonicalType(found->second.type);
        if (!converts(option.value, type))
            node.error(report, option.place,
                       "takes " + found->second.type + " as option " + quoted(name) + ", not " +
                           quoted(option.value.text) + " of type " + option.value.getTypeExpression() +
                           conversionHint(option.value, type));
        else if (type == "int")
            warnOfLostDigits(node, option, report);
    }
    for (std::string const &name : missing)
        node.error(report, node.description->place,
                   "needs option " + quoted(name) + ", of type " + known.at(name).type);
}

/// Finds the port that each binding means. `others` are the ports of the other direction.
template <class Ports, class Others>
void bindPorts(CheckedNode &node, std::vector<PortBinding> const &bindings, Ports const &ports, Others const &others,
               char const *kind, char const *otherKind, std::vector<CheckedPort> &bound, Report &report) {
    for (PortBinding const &binding : bindings) {
        CheckedPort port{&binding, binding.port, "any"};
        auto found = ports.find(port.name);
        if (found == ports.end()) {
            std::vector<std::string> const names = keysOf(ports);
            bool const swapped = others.contains(port.name);
            node.error(report, binding.place,
                       std::string("has no ") + kind + " " + quoted(port.name) +
                           (swapped ? std::string(": it is an ") + otherKind : report.knownNames(port.name, names)));
            port.name = report.nearest(port.name, names).value_or(port.name);
            found = ports.find(port.name);
        }
        if (found != ports.end())
            port.type = resolveTemplates(found->second.type, *node.specification, node.description->type);
        node.failed |= binding.stream.empty(); // was reported when the description was read
        bound.push_back(std::move(port));
    }
}

void checkRequiredInputs(CheckedNode &node, Report &report) {
    for (auto const &[name, input] : node.specification->inputs) {
        if (input.optional) continue;
        auto const bound = std::find_if(node.inputs.begin(), node.inputs.end(),
                                        [&](CheckedPort const &port) { return port.name == name; });
        if (bound == node.inputs.end())
            node.error(report, node.description->place,
                       "needs input " + quoted(name) + ": connect it to a stream of type " +
                           resolveTemplates(input.type, *node.specification, node.description->type));
        else if (bound->binding->stream == noStream)
            node.error(report, bound->binding->place, "needs input " + quoted(name) + ", so it can't be left open");
    }
}

void checkLimits(CheckedNode &node, Report &report) {
    std::vector<std::string> const names = keysOf(node.specification->outputs);
    for (LimitSetting const &limit : node.description->limits)
        if (!node.specification->outputs.contains(limit.port))
            node.error(report, limit.place,
                       "has no output " + quoted(limit.port) + " to limit" + report.knownNames(limit.port, names));
}

/// The types of outputs that an option settles.
void settleTypes(CheckedNode &node, Report &report) {
    for (auto const &[output, optionName] : node.facts->typeFromOption) {
        OptionSetting const *setting = nullptr;
        for (OptionSetting const &option : node.description->options)
            if (option.name == optionName) setting = &option;
        auto const known = node.specification->options.find(optionName);
        std::string expression = known != node.specification->options.end() ? known->second.defaultValue : "";
        if (setting != nullptr && converts(setting->value, "std::string"))
            expression = convertOption<std::string>(setting->value);
        bool const valid = valueTypeNamed(expression) != nullptr || canonicalType(expression) == "any";
        if (!valid && setting != nullptr && setting->value.type == Type::STRING) {
            std::vector<std::string> spellings;
            for (ValueType const &type : valueTypes()) spellings.push_back(type.spelling);
            node.error(report, setting->place,
                       "has an unknown type of values " + quoted(expression) + " in option " + quoted(optionName) +
                           report.knownNames(expression, spellings));
        }
        for (CheckedPort &port : node.outputs)
            if (port.name == output) port.type = valid ? expression : "any";
    }
}

/// Ports that are left open, and those whose stream could not be read.
void dropUnconnected(std::vector<CheckedPort> &ports) {
    std::erase_if(ports, [](CheckedPort const &port) {
        return port.binding->stream == noStream || port.binding->stream.empty();
    });
}

} // namespace

std::int32_t CheckedNode::limitOf(CheckedPort const &output) const {
    for (LimitSetting const &limit : description->limits)
        if (limit.port == output.name) return limit.limit;
    if (specification == nullptr) return 0;
    auto const found = specification->outputs.find(output.name);
    return found == specification->outputs.end() ? 0 : found->second.limit;
}

void checkNode(CheckedNode &node, Report &report) {
    NodeDescription const &described = *node.description;
    if (checkType(node, report)) {
        NodeSpecification const &known = *node.specification;
        bindPorts(node, described.inputs, known.inputs, known.outputs, "input", "output", node.inputs, report);
        bindPorts(node, described.outputs, known.outputs, known.inputs, "output", "input", node.outputs, report);
        checkRequiredInputs(node, report);
        checkOptions(node, report);
        checkLimits(node, report);
        settleTypes(node, report);
    } else {
        for (PortBinding const &binding : described.inputs) node.inputs.push_back({&binding, binding.port, "any"});
        for (PortBinding const &binding : described.outputs) node.outputs.push_back({&binding, binding.port, "any"});
    }
    dropUnconnected(node.inputs);
    dropUnconnected(node.outputs);
}

} // namespace zun::engine
