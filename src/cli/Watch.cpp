#include "cli/Watch.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>
#include <vector>

#include "cli/Terminal.h"
#include "cli/Text.h"
#include "description/Description.h"
#include "description/Scalars.h"
#include "graph/Check.h"
#include "pipeline/NodeRegistry.h"

namespace zun::cli {
namespace {

using namespace std::chrono_literals;
using engine::NodeDescription;
using engine::OptionSetting;

constexpr auto period = 200ms;

bool sameBindings(std::vector<engine::PortBinding> const &a, std::vector<engine::PortBinding> const &b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](auto const &one, auto const &other) {
        return one.port == other.port && one.stream == other.stream;
    });
}

bool sameLimits(std::vector<engine::LimitSetting> const &a, std::vector<engine::LimitSetting> const &b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](auto const &one, auto const &other) {
        return one.port == other.port && one.limit == other.limit;
    });
}

/// Whether two nodes differ in the values of their options at most.
bool sameButForOptions(NodeDescription const &a, NodeDescription const &b) {
    return a.name == b.name && a.type == b.type && sameBindings(a.inputs, b.inputs) &&
           sameBindings(a.outputs, b.outputs) && sameLimits(a.limits, b.limits);
}

OptionSetting const *findOption(NodeDescription const &node, std::string const &name) {
    auto const found = std::find_if(node.options.begin(), node.options.end(),
                                    [&](OptionSetting const &option) { return option.name == name; });
    return found == node.options.end() ? nullptr : &*found;
}

bool sameValue(OptionNode const &a, OptionNode const &b) {
    return a.type == b.type && a.text == b.text && a.stringValue == b.stringValue;
}

/// Files are opened when a run starts.
bool isReadAtStart(NodeRegistry::Entry const *type, std::string const &option) {
    NodeFacts::Option const *const facts = type != nullptr ? type->facts.findOption(option) : nullptr;
    return facts != nullptr && facts->sense.kind == OptionKind::Path;
}

/// What the options of `after` change in a node; one that is left out gets its default.
void addChanges(NodeDescription const &before, NodeDescription const &after,
                std::vector<engine::OptionChange> &changes) {
    NodeRegistry::Entry const *const type = NodeRegistry::find(after.type);
    auto const change = [&](std::string const &option, OptionNode value) {
        if (isReadAtStart(type, option))
            printWarning("option " + after.name + "." + option +
                         " is read when a run starts; it holds from the next run on");
        else
            changes.push_back({0, after.name, option, std::move(value)});
    };
    for (OptionSetting const &option : after.options) {
        OptionSetting const *const old = findOption(before, option.name);
        if (old == nullptr || !sameValue(old->value, option.value)) change(option.name, option.value);
    }
    for (OptionSetting const &option : before.options)
        if (findOption(after, option.name) == nullptr && type != nullptr)
            change(option.name, engine::defaultOf(type->specification.options.at(option.name)));
}

std::string firstError(Diagnostics const &diagnostics) {
    auto const error = std::find_if(diagnostics.begin(), diagnostics.end(),
                                    [](Diagnostic const &one) { return one.severity == Diagnostic::Severity::Error; });
    auto const count =
        static_cast<std::uint64_t>(std::count_if(diagnostics.begin(), diagnostics.end(), [](Diagnostic const &one) {
            return one.severity == Diagnostic::Severity::Error;
        }));
    return "'" + error->place.file + "' has " + counted(count, "error") +
           " now, and the run goes on without the change: " + error->text();
}

} // namespace

Watch::Watch(DescriptionArguments const &runArguments, engine::Graph const &graph, engine::RunControl &runControl)
    : arguments(runArguments), running(graph), control(runControl), file(arguments.file),
      watcher([this](std::stop_token const &stop) { watch(stop); }) {}

Watch::~Watch() {
    watcher.request_stop();
    watcher.join();
    printAnswers();
}

void Watch::watch(std::stop_token const &stop) {
    std::unique_lock lock(mutex);
    while (!ended.wait_for(lock, stop, period, [&] { return stop.stop_requested(); })) {
        printAnswers();
        try {
            if (file.changedOutside()) take();
        } catch (std::exception const &error) {
            printWarning(error.what());
        }
    }
}

void Watch::take() {
    file.read();
    engine::Graph const changed =
        engine::check(engine::parseDescription(file.text(), arguments.file, overridesOf(arguments)));
    if (!changed.passed()) return printWarning(firstError(changed.diagnostics));
    std::vector<NodeDescription> const &before = running.description->nodes, &after = changed.description->nodes;
    if (!std::equal(before.begin(), before.end(), after.begin(), after.end(), sameButForOptions))
        return printWarning("'" + arguments.file +
                            "' has other nodes or streams now; only option values can change while "
                            "it runs, and the run goes on without the change");
    std::vector<engine::OptionChange> changes;
    for (std::size_t i = 0; i < after.size(); i++) addChanges(before[i], after[i], changes);
    running = changed;
    control.change(std::move(changes));
}

void Watch::printAnswers() {
    for (auto const &[change, refusal] : control.answers()) {
        std::string const option = change.node + "." + change.option;
        if (refusal.empty())
            Terminal::standardError().write("from tick " + std::to_string(change.from) + " on: " + option + " = " +
                                            change.value.text);
        else
            printWarning("option " + option + " stays as it is: " + refusal);
    }
}

} // namespace zun::cli
