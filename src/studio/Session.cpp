#include "studio/Session.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "description/Diff.h"
#include "description/Edit.h"
#include "description/Setting.h"
#include "graph/Check.h"
#include "pipeline/NearestName.h"
#include "studio/Sources.h"

namespace zun::studio {
namespace {

using namespace std::chrono_literals;
using Kind = Refusal::Kind;

constexpr auto watchPeriod = 250ms;
constexpr auto oneStep = 500ms;           ///< changes of one option that follow sooner are undone together
constexpr std::size_t mostSteps = 500;    ///< that can be undone
constexpr Tick mostTicks = Tick{1} << 32; ///< that a page may go to

/// Calls `action`, whose failures are the request's fault.
template <class Action>
auto orRefuse(Action const &action) {
    try {
        return action();
    } catch (Refusal const &) {
        throw;
    } catch (Exception const &error) {
        throw Refusal(Kind::Wrong, error.what());
    }
}

/// Whether there is a variable in this line of a text or in the next: the lines of an option's name and its value.
bool mayHoldVariable(std::string const &text, int line) {
    if (line <= 0) return false;
    std::size_t begin = 0;
    for (int i = 1; i < line && begin != std::string::npos; i++) begin = text.find('\n', begin + 1);
    std::size_t const next = begin == std::string::npos ? begin : text.find('\n', begin + 1);
    std::size_t const end = next == std::string::npos ? next : text.find('\n', next + 1);
    return begin != std::string::npos && text.substr(begin, end - begin).find("${") != std::string::npos;
}

} // namespace

Session::Session(Settings chosen)
    : settings(std::move(chosen)), file(settings.file), text(file.text()), preview(settings.bytesToKeep),
      runner([this] {
          std::lock_guard const lock(mutex);
          publish();
      }) {
    view = read(text, nullptr);
    if (view.graph != nullptr) requireByTick(*view.graph);
    computing = std::jthread([this](std::stop_token const &stopped) { compute(stopped); });
    watching = std::jthread([this](std::stop_token const &stopped) { watch(stopped); });
}

Session::~Session() {
    runner.stop();
    computing.request_stop();
    watching.request_stop();
    computing.join();
    watching.join();
}

Session::View Session::read(std::string const &newText, std::shared_ptr<engine::Graph const> const &before) const {
    View next;
    next.text = newText;
    engine::Graph graph = engine::check(engine::parseDescription(newText, settings.file, settings.overrides));
    next.diagnostics = graph.diagnostics;
    next.broken = !graph.passed();
    next.graph = next.broken ? before : std::make_shared<engine::Graph const>(std::move(graph));
    lockOptions(next);
    return next;
}

/// What was given on the command line holds, whatever the text says.
void Session::lockOptions(View &made) const {
    for (std::string const &given : settings.overrides.settings)
        if (auto const setting = engine::parseSetting(given))
            made.locked[{setting->node, setting->option}] = "given with --set " + given;
    if (made.graph == nullptr || made.broken || settings.overrides.variables.empty()) return;
    for (engine::GraphNode const &node : made.graph->nodes)
        for (OptionState const &option : optionsOf(node, made.locked)) {
            if (!option.locked.empty() || !mayHoldVariable(made.text, option.line)) continue;
            try {
                engine::editOption(made.text, node.description->name, option.name, option.text,
                                   settings.overrides.variables);
            } catch (Exception const &error) {
                made.locked[{node.description->name, option.name}] = error.what();
            }
        }
}

void Session::compute(std::stop_token const &stopped) {
    std::unique_lock lock(mutex);
    while (requested.wait(lock, stopped, [&] { return wanted != generation; })) try {
            computeLatest(lock, stopped);
        } catch (std::exception const &error) { // out of memory, above all
            if (!lock.owns_lock()) lock.lock();
            Diagnostic failure;
            failure.message = error.what();
            view.diagnostics.push_back(std::move(failure));
            generation = wanted;
            publish();
        }
}

void Session::computeLatest(std::unique_lock<std::mutex> &lock, std::stop_token const &stopped) {
    std::uint64_t const mine = wanted;
    std::string const newText = text;
    Tick const newTick = tick;
    std::shared_ptr<engine::Graph const> graph = view.graph;
    if (newText != view.text) {
        lock.unlock();
        View next = read(newText, graph);
        lock.lock();
        view = std::move(next);
        graph = view.graph;
    }
    publish();
    lock.unlock();
    Snapshot next;
    next.tick = newTick;
    if (graph != nullptr)
        next = preview.evaluate(graph, newTick, [&] { return wanted != mine || stopped.stop_requested(); });
    lock.lock();
    if (wanted != mine) return;
    values = std::move(next);
    generation = mine;
    publish();
}

void Session::watch(std::stop_token const &stopped) {
    std::unique_lock lock(mutex);
    while (!ended.wait_for(lock, stopped, watchPeriod, [&] { return stopped.stop_requested(); })) {
        lookAtFile();
        if (runner.running()) publish();
    }
}

void Session::lookAtFile() try {
    bool const differs = file.changedOutside();
    if (differs && text == file.text()) {
        file.read();
        changedOutside = false;
        replaceText(file.text());
        request();
    } else if (differs != changedOutside) {
        changedOutside = differs;
        publish();
    }
} catch (Exception const &) { // it is gone again; it is looked at soon
}

std::optional<Session::Published> Session::waitForState(std::uint64_t seen, std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex);
    if (!published.wait_for(lock, longest, [&] { return version > seen; })) return std::nullopt;
    return Published{version, stateNow()};
}

KeptValue Session::value(std::string const &id) const {
    if (auto kept = preview.store().at(id)) return *std::move(kept);
    throw Refusal(Kind::Gone, "the value " + quoted(id) + " is no longer kept");
}

std::string Session::layout(Direction direction, std::string const &structure) {
    std::shared_ptr<engine::Graph const> graph;
    {
        std::lock_guard const lock(mutex);
        graph = view.graph;
    }
    if (graph == nullptr || structureOf(*graph) != structure)
        throw Refusal(Kind::Gone, "the description has another structure by now");
    return layoutText(*graph, direction);
}

std::string Session::diff() {
    std::lock_guard const lock(mutex);
    return engine::unifiedDiff(file.text(), text, settings.file);
}

std::uint64_t Session::change(std::string const &node, std::string const &option, std::string const &value) {
    std::lock_guard const lock(mutex);
    requireUnlocked(node, option);
    if (std::string const why = whyNotTaken(nodeNamed(node), option, value); !why.empty())
        throw Refusal(Kind::Wrong, why);
    return edit(node, option, orRefuse([&] {
                    return engine::editOption(text, node, option, value, settings.overrides.variables).text;
                }));
}

std::uint64_t Session::reset(std::string const &node, std::string const &option) {
    std::lock_guard const lock(mutex);
    requireUnlocked(node, option);
    if (std::string const why = whyNoDefault(nodeNamed(node), option); !why.empty()) throw Refusal(Kind::Wrong, why);
    return edit(node, option,
                orRefuse([&] { return engine::removeOption(text, node, option, settings.overrides.variables).text; }));
}

engine::GraphNode const &Session::nodeNamed(std::string const &name) const {
    std::vector<std::string> names;
    if (view.graph != nullptr)
        for (engine::GraphNode const &node : view.graph->nodes) {
            if (node.description->name == name) return node;
            names.push_back(node.description->name);
        }
    throw Refusal(Kind::Wrong, "no node has the name " + quoted(name) + suggestion(name, names));
}

void Session::requireUnlocked(std::string const &node, std::string const &option) const {
    auto const lock = view.locked.find({node, option});
    if (lock != view.locked.end())
        throw Refusal(Kind::Conflict, "option " + quoted(option) + " of node " + quoted(node) +
                                          " can't be changed here: " + lock->second);
}

std::uint64_t Session::undo() {
    std::lock_guard const lock(mutex);
    return move(done, undone, "undo");
}

std::uint64_t Session::redo() {
    std::lock_guard const lock(mutex);
    return move(undone, done, "redo");
}

std::uint64_t Session::move(std::vector<std::string> &from, std::vector<std::string> &to, char const *what) {
    if (from.empty()) throw Refusal(Kind::Conflict, std::string("there is nothing to ") + what);
    to.push_back(std::exchange(text, std::move(from.back())));
    from.pop_back();
    lastEdited.clear();
    return request();
}

std::uint64_t Session::discard() {
    std::lock_guard const lock(mutex);
    orRefuse([&] { file.read(); });
    changedOutside = false;
    replaceText(file.text());
    return request();
}

std::uint64_t Session::show(Tick next) {
    std::lock_guard const lock(mutex);
    if (next >= mostTicks) throw Refusal(Kind::Wrong, "there is no tick " + std::to_string(next));
    tick = next;
    return request();
}

std::uint64_t Session::bookmark(Tick marked, bool on) {
    std::lock_guard const lock(mutex);
    if (on)
        bookmarks.insert(marked);
    else
        bookmarks.erase(marked);
    publish();
    return wanted;
}

std::uint64_t Session::save(bool overwrite) {
    std::lock_guard const lock(mutex);
    if (!overwrite && file.changedOutside())
        throw Refusal(Kind::Conflict, quoted(settings.file) + " was changed by another program since it was read; "
                                                              "overwrite it, or discard the changes made here");
    orRefuse([&] { file.write(text); });
    changedOutside = false;
    publish();
    return wanted;
}

std::uint64_t Session::run() {
    std::unique_lock lock(mutex);
    std::string const newest = text;
    View now = view;
    lock.unlock();
    if (now.text != newest) now = read(newest, nullptr);
    if (now.broken || now.graph == nullptr)
        throw Refusal(Kind::Conflict, "the description has errors, so it can't be run");
    if (!runner.start(now.graph)) throw Refusal(Kind::Conflict, "a run goes on; stop it, or wait for its end");
    lock.lock();
    publish();
    return wanted;
}

std::uint64_t Session::stop() {
    runner.stop();
    return wanted;
}

/// Replaces the text by one in which an option changed. Changes that follow one another soon, as those of a slider,
/// are one step.
std::uint64_t Session::edit(std::string const &node, std::string const &option, std::string next) {
    std::string const edited = node + "\n" + option;
    Clock::time_point const now = Clock::now();
    bool const goesOn = edited == lastEdited && now - lastEditedAt < oneStep;
    if (goesOn)
        text = std::move(next);
    else
        replaceText(std::move(next));
    lastEdited = edited;
    lastEditedAt = now;
    return request();
}

void Session::replaceText(std::string next) {
    lastEdited.clear();
    if (next == text) return;
    if (done.size() == mostSteps) done.erase(done.begin());
    done.push_back(std::exchange(text, std::move(next)));
    undone.clear();
}

std::uint64_t Session::request() {
    std::uint64_t const mine = ++wanted;
    requested.notify_all();
    return mine;
}

void Session::publish() {
    version++;
    published.notify_all();
}

std::string const &Session::stateNow() {
    if (written == version) return state;
    State now;
    now.version = version;
    now.file = settings.file;
    now.text = view.text;
    now.unsaved = view.text != file.text();
    now.canUndo = !done.empty();
    now.canRedo = !undone.empty();
    now.changedOutside = changedOutside;
    now.diagnostics = view.diagnostics;
    now.broken = view.broken;
    now.graph = view.graph;
    now.values = &values;
    now.locked = &view.locked;
    now.tick = tick;
    now.bookmarks = bookmarks;
    now.busy = wanted != generation;
    now.generation = generation;
    now.memory = preview.store().usage();
    now.run = runner.state();
    state = stateText(now);
    written = version;
    return state;
}

} // namespace zun::studio
