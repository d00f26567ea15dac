// One description that is looked at and changed: its text, its values at a tick, and what pages have to show of it.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "containers/Exception.h"
#include "description/Description.h"
#include "graph/Graph.h"
#include "pipeline/Tick.h"
#include "studio/DescriptionFile.h"
#include "studio/Layout.h"
#include "studio/OptionState.h"
#include "studio/Preview.h"
#include "studio/Runner.h"
#include "studio/State.h"

namespace zun::studio {

/// A request that is not followed, and why.
class Refusal : public Exception {
public:
    enum class Kind {
        Wrong,    ///< it makes no sense
        Conflict, ///< not now, or not without more
        Gone,     ///< what it asks for is no longer there
    };

    Refusal(Kind refusalKind, std::string const &message) : Exception(message), kind(refusalKind) {}

    Kind const kind;
};

/// Thread-safe. Values are computed on a thread of the session's own, and only for the latest request; a request that
/// changes something returns at once, with the number of its generation. A state with that generation, or a later one,
/// includes it. Requests throw Refusal.
class Session {
public:
    struct Settings {
        std::string file;
        engine::Overrides overrides;   ///< hold for all texts
        std::uint64_t bytesToKeep = 0; ///< of values
    };

    /// Throws zun::Exception for a file that can't be read, and for a source that can't be shown tick by tick.
    explicit Session(Settings chosen);
    ~Session(); ///< stops a run, and waits for all threads
    Session(Session const &) = delete;
    Session &operator=(Session const &) = delete;

    struct Published {
        std::uint64_t version = 0;
        std::string state; ///< see stateText()
    };

    /// The latest state, as soon as its version is higher than `seen`; nothing where none comes within the time.
    std::optional<Published> waitForState(std::uint64_t seen, std::chrono::milliseconds longest);

    /// The value of an id. Throws Refusal where it is no longer kept.
    KeptValue value(std::string const &id) const;

    /// See layoutText(); of the current graph, which has to have this structure.
    std::string layout(Direction direction, std::string const &structure);

    /// What saving would change in the file, as a unified diff.
    std::string diff();

    std::uint64_t change(std::string const &node, std::string const &option, std::string const &value);
    std::uint64_t reset(std::string const &node, std::string const &option);
    std::uint64_t undo();
    std::uint64_t redo();
    std::uint64_t discard(); ///< back to the file as it is now
    std::uint64_t show(Tick tick);
    std::uint64_t bookmark(Tick tick, bool on);
    std::uint64_t save(bool overwrite); ///< a file that changed outside is only overwritten on demand
    std::uint64_t run();
    std::uint64_t stop();

private:
    /// What was made of a text.
    struct View {
        std::string text;
        std::shared_ptr<engine::Graph const> graph; ///< of the last good text; null for none
        Diagnostics diagnostics;
        bool broken = false;
        Locked locked;
    };
    using Clock = std::chrono::steady_clock;

    View read(std::string const &text, std::shared_ptr<engine::Graph const> const &before) const;
    void lockOptions(View &view) const;
    void compute(std::stop_token const &stopped);
    void computeLatest(std::unique_lock<std::mutex> &lock, std::stop_token const &stopped);
    void watch(std::stop_token const &stopped);
    void lookAtFile();

    // With the mutex locked.
    engine::GraphNode const &nodeNamed(std::string const &name) const;
    void requireUnlocked(std::string const &node, std::string const &option) const;
    void replaceText(std::string next);
    std::uint64_t edit(std::string const &node, std::string const &option, std::string next);
    std::uint64_t move(std::vector<std::string> &from, std::vector<std::string> &to, char const *what);
    std::uint64_t request();
    void publish();
    std::string const &stateNow();

    Settings const settings;
    mutable std::mutex mutex;
    std::condition_variable_any requested, published, ended;

    DescriptionFile file;
    std::string text; ///< with all changes
    std::vector<std::string> undone, done;
    std::string lastEdited; ///< node and option of the last change, if nothing came between
    Clock::time_point lastEditedAt;
    bool changedOutside = false;
    Tick tick = 0;
    std::set<Tick> bookmarks;

    View view;
    Snapshot values;
    Preview preview;                        ///< of the computing thread
    std::atomic<std::uint64_t> wanted = 1;  ///< generation of the latest request
    std::uint64_t generation = 0;           ///< of the values
    std::uint64_t version = 1, written = 0; ///< of the state, and of `state`
    std::string state;

    Runner runner;
    std::jthread computing, watching;
};

} // namespace zun::studio
