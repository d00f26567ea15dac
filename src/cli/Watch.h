// Takes changes of a description into the run that goes on.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "cli/Host.h"
#include "graph/Graph.h"
#include "run/Control.h"
#include "studio/DescriptionFile.h"

namespace zun::cli {

/// While it lives, watches the file of a run's description from a thread of its own. Option values that change in it
/// are given to the run, and a message says from which tick on they hold. Whatever else changes, and a text with
/// errors, leave the run as it is, with a warning.
class Watch {
public:
    /// `graph` is what runs.
    Watch(DescriptionArguments const &arguments, engine::Graph const &graph, engine::RunControl &control);
    ~Watch();
    Watch(Watch const &) = delete;
    Watch &operator=(Watch const &) = delete;

private:
    void watch(std::stop_token const &stop);
    void take();
    void printAnswers();

    DescriptionArguments const arguments;
    engine::Graph running; ///< as the run has it now
    engine::RunControl &control;
    studio::DescriptionFile file;
    std::mutex mutex;
    std::condition_variable_any ended;
    std::jthread watcher; ///< the last field, so that it stops first
};

} // namespace zun::cli
