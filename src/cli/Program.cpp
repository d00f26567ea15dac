#include "cli/Program.h"

#include <malloc.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "cli/Terminal.h"
#include "description/Setting.h"
#include "imgproc/kernels/Targets.h"
#include "pipeline/NearestName.h"
#include "vexa_core/Memory.h"

namespace zun::cli {
namespace {

/// Requires a text that `fits`.
CLI::Validator formOf(std::string const &form, bool fits(std::string const &)) {
    auto const validate = [form, fits](std::string &text) {
        return fits(text) ? std::string() : "'" + text + "' is not of the form " + form;
    };
    return CLI::Validator(validate, form).name("").description("");
}

bool isDefinition(std::string const &text) { return text.find('=', 1) != std::string::npos && text[0] != '='; }
bool isSetting(std::string const &text) { return engine::parseSetting(text).has_value(); }

/// What is wrong with a first word that is not a command.
std::string explainCommand(CLI::App const &program, std::string const &word) {
    std::vector<std::string> known;
    for (CLI::App const *const command : program.get_subcommands({})) known.push_back(command->get_name());
    return "there is no command '" + word + "'" + suggestion(word, known);
}

void reportUsage(CLI::App const &program, std::string const &firstWord, CLI::ParseError const &error) {
    std::vector<CLI::App *> const given = program.get_subcommands();
    bool const lacksCommand = program.get_require_subcommand_min() > 0 && given.empty();
    bool const wrongCommand = lacksCommand && !firstWord.empty() && firstWord[0] != '-';
    std::string const command = given.empty() ? "" : " " + given.front()->get_name();
    printError((wrongCommand ? explainCommand(program, firstWord) : error.what()) + " (" + program.get_name() +
               command + " --help prints more)");
}

int carryOut(Action const &action) {
    int status = failed;
    try {
        status = action();
    } catch (std::bad_alloc const &) {
        printError("there is not enough memory; try fewer --threads or a lower --max-memory");
    } catch (std::exception const &error) {
        printError(error.what());
    }
    if (status == fine && !std::cout.flush()) {
        printError("the output can't be written");
        return failed;
    }
    return status;
}

/// Serves what libraries allocate for each frame, decoders above all, from memory that was used before. By default,
/// the C library gives large blocks back to the system when they are freed, and each page of the next one
/// costs a fault.
void keepFreedMemory() {
#ifdef __GLIBC__
    mallopt(M_MMAP_MAX, 0);
    mallopt(M_TRIM_THRESHOLD, -1);
    mallopt(M_ARENA_MAX, 1); // the arenas of further threads hold no block above 64 MB
#endif
}

} // namespace

void addPluginOption(CLI::App &command, std::vector<std::string> &plugins) {
    command.add_option("--plugin", plugins, "Load a further plug-in: a path, or a name in lib/zun/")
        ->type_name("PATH|NAME")
        ->allow_extra_args(false);
}

void addDescriptionArguments(CLI::App &command, DescriptionArguments &arguments) {
    command.add_option("FILE", arguments.file, "The pipeline description, YAML")->required()->type_name("");
    command.add_option("-D,--define", arguments.variables, "Set the variable that the description reads as ${name}")
        ->type_name("NAME=VALUE")
        ->check(formOf("name=value", isDefinition))
        ->allow_extra_args(false);
    command.add_option("--set", arguments.settings, "Set an option of a node, instead of what the description says")
        ->type_name("NODE.OPTION=VALUE")
        ->check(formOf("node.option=value", isSetting))
        ->allow_extra_args(false);
    addPluginOption(command, arguments.plugins);
    command.add_flag("--allow-network", arguments.allowNetwork,
                     "Let nodes read addresses such as rtsp://camera/stream");
    command.add_flag("--allow-devices", arguments.allowDevices, "Let nodes read cameras such as v4l2:/dev/video0");
}

void addKeepOption(CLI::App &command, std::uint64_t &bytes) {
    command
        .add_option("--keep", bytes,
                    "Keep at most so many bytes of values, such as 500M or 2G (default: an eighth of the machine's "
                    "memory, and at most 2G)")
        ->type_name("SIZE")
        ->transform(CLI::AsSizeValue(false).description(""));
}

std::uint64_t usualBytesToKeep() {
    constexpr std::uint64_t most = std::uint64_t{2} << 30;
    return std::min(quarterOfMemory() / 2, most);
}

int runProgram(CLI::App &program, int count, char const *const *arguments, Action const &action) {
    // Where the reader of our output goes away, the write fails, and the rest of the run completes.
    std::signal(SIGPIPE, SIG_IGN);
    keepFreedMemory();
    setProgramName(program.get_name());
    program.set_version_flag("--version", program.get_name() + " " ZUN_VERSION);
    showLog(false);
    try {
        program.parse(count, arguments);
    } catch (CLI::Success const &request) {
        program.exit(request); // prints the help that was asked for
        return fine;
    } catch (CLI::ParseError const &error) {
        reportUsage(program, count > 1 ? arguments[1] : "", error);
        return wrongUsage;
    }
    try {
        kernels::useTargetOfEnvironment();
    } catch (std::invalid_argument const &error) {
        printError(error.what());
        return wrongUsage;
    }
    return carryOut(action);
}

} // namespace zun::cli
