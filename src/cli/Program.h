// The frame of a command-line program.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/Host.h"

namespace CLI {
class App;
}

namespace zun::cli {

/// What a command does once its arguments are read; returns an ExitStatus.
using Action = std::function<int()>;

// Each adds a subcommand to a program, and puts its action into `chosen` when it is the one that was given.
void addRunCommand(CLI::App &program, Action &chosen);
void addCheckCommand(CLI::App &program, Action &chosen);
void addStudioCommand(CLI::App &program, Action &chosen);
void addInspectCommand(CLI::App &program, Action &chosen);
void addNodesCommand(CLI::App &program, Action &chosen);
void addDrawCommand(CLI::App &program, Action &chosen);
void addCleanCommand(CLI::App &program, Action &chosen);

/// FILE, -D, --set, --plugin, --allow-network and --allow-devices.
void addDescriptionArguments(CLI::App &command, DescriptionArguments &arguments);
void addPluginOption(CLI::App &command, std::vector<std::string> &plugins);

/// --keep, of commands that show values: how many bytes of them are kept.
void addKeepOption(CLI::App &command, std::uint64_t &bytes);
std::uint64_t usualBytesToKeep();

/// Reads the command line and carries out the action that came of it, with kernels for the target that ZUN_TARGET
/// names. Everything that goes wrong ends in a message and an ExitStatus.
int runProgram(CLI::App &program, int count, char const *const *arguments, Action const &action);

} // namespace zun::cli
