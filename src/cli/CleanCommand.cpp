// zun clean: removes the partial files that runs left behind when they were killed.

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/Program.h"
#include "cli/Terminal.h"
#include "cli/Text.h"
#include "containers/Exception.h"
#include "media/files/PartialFile.h"

namespace zun::cli {
namespace {

struct CleanArguments {
    std::vector<std::string> paths{"."};
    bool dryRun = false;
};

int clean(CleanArguments const &arguments) {
    int status = fine;
    std::uint64_t count = 0;
    for (std::string const &path : arguments.paths) {
        try {
            std::vector<std::string> const found =
                arguments.dryRun ? media::findAbandoned(path) : media::removeAbandoned(path);
            for (std::string const &file : found) std::cout << file << '\n';
            count += found.size();
        } catch (Exception const &error) {
            printError(error.what());
            status = failed;
        }
    }
    Terminal::standardError().write(counted(count, "partial file") +
                                    (arguments.dryRun ? " would be removed" : " removed"));
    return status;
}

} // namespace

void addCleanCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("clean", "Remove the partial files that killed runs left behind");
    auto const arguments = std::make_shared<CleanArguments>();
    command
        ->add_option("PATH", arguments->paths,
                     "A folder, or an output such as out/film.mp4 (default: the working folder)")
        ->type_name("");
    command->add_flag("--dry-run", arguments->dryRun, "Print their names, and remove nothing");
    command->footer("What a running process still writes is left alone, and folders below are not entered.\n"
                    "Exit status: 0 on success, 1 if a path doesn't exist or a file can't be removed, 2 for wrong "
                    "usage.\n\n"
                    "Examples:\n"
                    "  zun clean\n"
                    "  zun clean out --dry-run");
    command->callback([arguments, &chosen] { chosen = [arguments] { return clean(*arguments); }; });
}

} // namespace zun::cli
