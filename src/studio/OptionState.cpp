#include "studio/OptionState.h"

#include <algorithm>
#include <exception>

#include "catalogue/NodeText.h"
#include "containers/Exception.h"
#include "description/Scalars.h"
#include "description/WrittenValue.h"
#include "pipeline/NearestName.h"
#include "pipeline/NodeSpecification.h"
#include "pipeline/types/TypeExpression.h"

namespace zun::studio {
namespace {

using Type = OptionNode::Type;

engine::YamlNode yamlOf(OptionNode const &value) {
    engine::YamlNode node;
    node.kind = value.type == Type::VECTOR ? engine::YamlNode::Kind::List : engine::YamlNode::Kind::Scalar;
    node.quoted = value.type == Type::STRING;
    node.text = node.quoted ? value.stringValue : value.text;
    for (auto const &element : value.vectorValue) node.items.push_back(yamlOf(*element));
    return node;
}

std::string written(OptionNode const &value) try {
    return engine::writtenValue(yamlOf(value), {.isText = value.type == Type::STRING});
} catch (Exception const &) { // nothing that a description could hold
    return value.text;
}

template <class T>
bool convertAlike(OptionNode const &a, OptionNode const &b) {
    return acceptsOption<T>(a) && acceptsOption<T>(b) && convertOption<T>(a) == convertOption<T>(b);
}

bool sameValue(OptionNode const &a, OptionNode const &b, std::string const &type) {
    if (type == "std::string") return convertAlike<std::string>(a, b);
    if (type == "bool") return convertAlike<bool>(a, b);
    if (type == "int") return convertAlike<int>(a, b);
    if (type == "float") return convertAlike<float>(a, b);
    return a.text == b.text;
}

OptionNode const *valueOf(engine::GraphNode const &node, std::string const &option) {
    auto const &settings = node.description->options;
    auto const found = std::find_if(settings.begin(), settings.end(),
                                    [&](engine::OptionSetting const &setting) { return setting.name == option; });
    return found != settings.end() ? &found->value : nullptr;
}

/// The type expression of the records that an option which takes every value has to hold.
std::string recordType(engine::GraphNode const &node, NodeSpecification::Option const &option) {
    if (option.type != "any") return "";
    for (NodeFacts::Output const &output : node.type->facts.outputs)
        if (OptionNode const *const type = valueOf(node, output.typeOption)) return type->text;
    return "";
}

void takeValue(engine::GraphNode const &node, OptionState &state, std::string const &type) {
    auto const &known = node.type->specification.options.at(state.name);
    for (engine::OptionSetting const &setting : node.description->options) {
        if (setting.name != state.name) continue;
        state.set = true;
        state.text = written(setting.value);
        state.isDefault = known.optional && sameValue(setting.value, engine::defaultOf(known), type);
        state.line = setting.place.line;
    }
    if (state.set) return;
    state.text = state.defaultText.value_or("");
    state.isDefault = known.optional;
}

std::string noOption(engine::GraphNode const &node, std::string const &option) {
    return "node " + node.label() + " has no option " + quoted(option) +
           suggestion(option, keysOf(node.type->specification.options));
}

} // namespace

std::vector<OptionState> optionsOf(engine::GraphNode const &node, Locked const &locked) {
    std::vector<OptionState> options;
    for (NodeFacts::Option const &fact : node.type->facts.options) {
        NodeSpecification::Option const &known = node.type->specification.options.at(fact.name);
        OptionState &state = options.emplace_back();
        state.name = fact.name;
        state.type = known.type;
        state.about = engine::textFor(node.type->documentation.options, fact.name);
        state.required = !known.optional;
        if (known.optional) {
            OptionNode const value = engine::defaultOf(known);
            state.defaultText = value.type == Type::STRING ? written(value) : known.defaultValue;
        }
        takeValue(node, state, canonicalType(known.type));
        state.sense = fact.sense;
        state.valueType = recordType(node, known);
        auto const lock = locked.find({node.description->name, fact.name});
        if (lock != locked.end()) state.locked = lock->second;
    }
    return options;
}

std::string whyNoDefault(engine::GraphNode const &node, std::string const &option) {
    auto const &known = node.type->specification.options;
    auto const found = known.find(option);
    if (found == known.end()) return noOption(node, option);
    return found->second.optional ? "" : "option " + quoted(option) + " of node " + node.label() + " has no default";
}

std::string whyNotTaken(engine::GraphNode const &node, std::string const &option, std::string const &text) try {
    auto const &known = node.type->specification.options;
    auto const found = known.find(option);
    NodeFacts::Option const *const facts = node.type->facts.findOption(option);
    if (found == known.end() || facts == nullptr) return noOption(node, option);
    OptionNode const value = engine::parseValue(text);
    if (!facts->conversion.accepts(value))
        return "node " + node.label() + " takes " + found->second.type + " as option " + quoted(option) + ", not " +
               quoted(text) + "; " + facts->conversion.advice;
    ValueType const *const record = valueTypeNamed(recordType(node, found->second));
    if (record != nullptr && record->readRecord != nullptr) record->readRecord(value);
    return "";
} catch (std::exception const &error) {
    return "option " + quoted(option) + " of node " + node.label() + ": " + error.what();
}

} // namespace zun::studio
