#include "studio/NodeKeys.h"

#include <bit>

#include "pipeline/PipelineNode.h"
#include "studio/PathFacts.h"

namespace zun::studio {
namespace {

/// Parts of a text, each with its length, so that two rows of parts that differ give two texts that differ.
class Parts {
public:
    Parts &add(std::string const &part) {
        text += std::to_string(part.size()) + ":" + part;
        return *this;
    }
    Parts &add(std::uint64_t number) { return add(std::to_string(number)); }

    void add(OptionNode const &value) {
        using Type = OptionNode::Type;
        add(static_cast<std::uint64_t>(value.type)).add(value.text);
        if (value.type == Type::BOOL) add(std::uint64_t{value.boolValue});
        if (value.type == Type::INT) add(static_cast<std::uint64_t>(value.intValue));
        if (value.type == Type::FLOAT) add(std::bit_cast<std::uint64_t>(value.floatValue));
        if (value.type == Type::STRING) add(value.stringValue);
        if (value.type != Type::VECTOR) return;
        add(value.vectorValue.size());
        for (auto const &element : value.vectorValue) add(*element);
    }

    std::string const &joined() const { return text; }

private:
    std::string text;
};

void addOptions(Parts &parts, engine::GraphNode const &node) {
    NodeConfig const config = node.description->config();
    for (auto const &[name, value] : config.getParsedOptions()) {
        parts.add(name).add(value);
        NodeFacts::Option const *const option = node.type->facts.findOption(name);
        bool const isPath = option != nullptr && option->sense.kind == OptionKind::Path;
        if (isPath && option->conversion.accepts(value)) parts.add(pathFacts(convertOption<std::string>(value)));
    }
}

} // namespace

std::vector<std::uint64_t> NodeKeys::of(engine::Graph const &graph, std::vector<bool> const &runs) {
    std::vector<std::uint64_t> numbers(graph.nodes.size());
    for (std::size_t const index : graph.order) {
        if (!runs[index]) continue;
        engine::GraphNode const &node = graph.nodes[index];
        Parts parts;
        parts.add(node.description->type);
        for (engine::GraphPort const &input : node.inputs) {
            engine::GraphStream const &stream = graph.streams[input.stream];
            std::string const &port = graph.output(stream.writers.front()).name;
            parts.add("in").add(input.name).add(stream.name).add(numbers[stream.producer()]).add(port);
        }
        for (engine::GraphPort const &output : node.outputs)
            parts.add("out").add(output.name).add(graph.streams[output.stream].name);
        addOptions(parts.add("options"), node);
        numbers[index] = numberOf(parts.joined());
    }
    return numbers;
}

std::uint64_t NodeKeys::numberOf(std::string const &configuration) {
    constexpr std::size_t mostKnown = 50'000; // what is forgotten gets a new number, and its values are made again
    if (known.size() >= mostKnown) known.clear();
    auto const [found, isNew] = known.try_emplace(configuration, next);
    if (isNew) next++;
    return found->second;
}

} // namespace zun::studio
