#include "studio/State.h"

#include <cmath>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "catalogue/NodeText.h"
#include "studio/Layout.h"

namespace zun::studio {
namespace {

using nlohmann::json;

template <class T>
json orNull(std::optional<T> const &value) {
    return value ? json(*value) : json(nullptr);
}

json textOrNull(std::string const &text) { return text.empty() ? json(nullptr) : json(text); }

json finiteOrNull(double number) { return std::isfinite(number) ? json(number) : json(nullptr); }

json findings(Diagnostics const &diagnostics) {
    constexpr std::size_t mostShown = 200;
    json list = json::array();
    for (Diagnostic const &one : diagnostics) {
        if (list.size() == mostShown) break;
        char const *const severity = one.severity == Diagnostic::Severity::Error     ? "error"
                                     : one.severity == Diagnostic::Severity::Warning ? "warning"
                                                                                     : "note";
        std::string const where = one.place.line == 0 && !one.place.file.empty() ? one.place.file + ": " : "";
        list.push_back({{"severity", severity},
                        {"line", one.place.line},
                        {"column", one.place.column},
                        {"node", one.node},
                        {"port", one.port},
                        {"text", where + one.message}});
    }
    return list;
}

char const *nameOf(OptionKind kind) {
    switch (kind) {
    case OptionKind::Colour:
        return "colour";
    case OptionKind::Path:
        return "path";
    case OptionKind::Angle:
        return "angle";
    case OptionKind::Pixels:
        return "pixels";
    case OptionKind::Ratio:
        return "ratio";
    case OptionKind::Plain:
        break;
    }
    return "plain";
}

json describe(OptionState const &option) {
    bool const ratio = option.sense.kind == OptionKind::Ratio;
    json choices = json::array();
    for (OptionChoice const &choice : option.sense.choices)
        choices.push_back({{"value", choice.value}, {"name", choice.name}});
    return {{"name", option.name},
            {"type", option.type},
            {"about", option.about},
            {"required", option.required},
            {"default", orNull(option.defaultText)},
            {"set", option.set},
            {"text", option.text},
            {"isDefault", option.isDefault},
            {"kind", nameOf(option.sense.kind)},
            {"least", finiteOrNull(ratio ? std::max(option.sense.least, 0.0) : option.sense.least)},
            {"most", finiteOrNull(ratio ? std::min(option.sense.most, 1.0) : option.sense.most)},
            {"choices", choices},
            {"valueType", option.valueType},
            {"locked", option.locked},
            {"line", option.line}};
}

json describePorts(engine::Graph const &graph, std::vector<engine::GraphPort> const &ports,
                   std::map<std::string, std::string> const &texts) {
    json list = json::array();
    for (engine::GraphPort const &port : ports) {
        engine::GraphStream const &stream = graph.streams[port.stream];
        if (stream.implied) continue;
        list.push_back({{"port", port.name},
                        {"stream", stream.name},
                        {"type", port.type},
                        {"about", engine::textFor(texts, port.name)}});
    }
    return list;
}

json describe(engine::GraphNode const &node, State const &state) {
    NodeDocumentation const &about = node.type->documentation;
    NodeState shown;
    if (state.values != nullptr)
        if (auto const found = state.values->nodes.find(node.description->name); found != state.values->nodes.end())
            shown = found->second;
    json options = json::array();
    for (OptionState const &option : optionsOf(node, *state.locked)) options.push_back(describe(option));
    return {{"name", node.description->name},
            {"type", node.description->type},
            {"summary", about.summary},
            {"line", node.description->place.line},
            {"runs", shown.runs},
            {"milliseconds", orNull(shown.milliseconds)},
            {"kept", shown.kept},
            {"error", textOrNull(shown.error)},
            {"inputs", describePorts(*state.graph, node.inputs, about.inputs)},
            {"outputs", describePorts(*state.graph, node.outputs, about.outputs)},
            {"options", options}};
}

json describe(FrameFacts const &frame) {
    return {{"width", frame.width},
            {"height", frame.height},
            {"channels", frame.channels},
            {"binary", frame.binary},
            {"from", frame.range ? json(frame.range->first) : json(nullptr)},
            {"to", frame.range ? json(frame.range->second) : json(nullptr)},
            {"x", frame.x},
            {"y", frame.y}};
}

json describe(KeptValue const &value) {
    json items = json::array();
    for (FrameFacts const &frame : value.facts.frames) items.push_back(describe(frame));
    return {{"id", value.id},
            {"kind", value.facts.kind},
            {"summary", value.facts.summary},
            {"bytes", value.facts.bytes},
            {"items", items}};
}

json describe(engine::GraphStream const &stream, State const &state) {
    engine::Graph const &graph = *state.graph;
    engine::GraphPort const &output = graph.output(stream.writers.front());
    json readers = json::array();
    for (std::size_t const reader : stream.consumers) readers.push_back(graph.nodes[reader].description->name);
    StreamState shown;
    if (state.values != nullptr)
        if (auto const found = state.values->streams.find(stream.name); found != state.values->streams.end())
            shown = found->second;
    return {{"name", stream.name},
            {"type", output.type},
            {"producer", graph.nodes[stream.producer()].description->name},
            {"port", output.name},
            {"readers", readers},
            {"missing", textOrNull(shown.missing)},
            {"value", shown.value ? describe(*shown.value) : json(nullptr)}};
}

json describe(RunState const &run) {
    json nodes = json::array();
    for (RunState::Node const &node : run.nodes)
        nodes.push_back({{"name", node.name}, {"share", node.share}, {"mean", node.mean}});
    return {{"state", run.state},
            {"done", run.done},
            {"total", orNull(run.total)},
            {"perSecond", run.seconds > 0 ? static_cast<double>(run.done) / run.seconds : 0.0},
            {"seconds", run.seconds},
            {"message", run.message},
            {"nodes", nodes}};
}

void addValues(json &text, State const &state) {
    Snapshot const none, &values = state.values != nullptr ? *state.values : none;
    text["ticks"] = orNull(values.ticks);
    text["ticksCertain"] = values.ticksCertain;
    text["frame"] = nullptr;
    if (values.frame)
        text["frame"] = {
            {"file", values.frame->file}, {"number", values.frame->number}, {"seconds", values.frame->seconds}};
    text["nodes"] = json::array();
    text["streams"] = json::array();
    text["structure"] = "";
    if (state.graph == nullptr) return;
    text["structure"] = structureOf(*state.graph);
    for (engine::GraphNode const &node : state.graph->nodes) text["nodes"].push_back(describe(node, state));
    for (engine::GraphStream const &stream : state.graph->streams)
        if (!stream.implied) text["streams"].push_back(describe(stream, state));
}

} // namespace

std::string stateText(State const &state) {
    json bookmarks = json::array();
    for (Tick const tick : state.bookmarks) bookmarks.push_back({{"tick", tick}});
    json text = {{"version", state.version},
                 {"name", std::filesystem::path(state.file).filename().string()},
                 {"file", state.file},
                 {"text", state.text},
                 {"unsaved", state.unsaved},
                 {"canUndo", state.canUndo},
                 {"canRedo", state.canRedo},
                 {"changedOutside", state.changedOutside},
                 {"findings", findings(state.diagnostics)},
                 {"broken", state.broken},
                 {"tick", state.tick},
                 {"bookmarks", bookmarks},
                 {"busy", state.busy},
                 {"generation", state.generation},
                 {"memory", {{"kept", state.memory.kept}, {"limit", state.memory.limit}}},
                 {"run", describe(state.run)}};
    addValues(text, state);
    return text.dump(-1, ' ', false, json::error_handler_t::replace);
}

} // namespace zun::studio
