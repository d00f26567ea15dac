// zun studio: shows a description in a browser, with its values, and changes it there.

#include <atomic>
#include <chrono>
#include <iostream>
#include <memory>
#include <thread>

#include <spawn.h>
#include <sys/wait.h>

#include <CLI/CLI.hpp>

#include "cli/Interrupt.h"
#include "cli/Program.h"
#include "cli/Terminal.h"
#include "studio/Layout.h"
#include "studio/Server.h"
#include "studio/Session.h"

namespace zun::cli {
namespace {

using namespace std::chrono_literals;

struct StudioArguments {
    DescriptionArguments description;
    studio::Server::Settings server;
    std::uint64_t keep = usualBytesToKeep();
    bool open = false;
};

/// Has the desktop open an address; where there is none, the printed one has to do.
void openInBrowser(std::string const &address) {
    char const *const arguments[] = {"xdg-open", address.c_str(), nullptr};
    pid_t process = 0;
    if (::posix_spawnp(&process, arguments[0], nullptr, nullptr, const_cast<char *const *>(arguments), environ) != 0) {
        printWarning("--open found no program xdg-open; open the address yourself");
        return;
    }
    std::thread([process] { ::waitpid(process, nullptr, 0); }).detach();
}

int serve(StudioArguments const &arguments) {
    studio::requireGraphviz();
    prepareHost(arguments.description);
    studio::Session session({arguments.description.file, overridesOf(arguments.description), arguments.keep});
    std::atomic<bool> stop = false;
    Interrupt const interrupt(stop);
    studio::Server const server(session, studio::installedPage(), arguments.server);
    if (!studio::isLoopback(arguments.server.host))
        printWarning("--host " + arguments.server.host +
                     ": whoever sees the address can change the description and run it, and it goes over the network "
                     "unencrypted");
    std::cout << "Open " << server.address() << std::endl;
    if (arguments.open) openInBrowser(server.address());
    while (!stop) std::this_thread::sleep_for(50ms);
    return fine;
}

} // namespace

void addStudioCommand(CLI::App &program, Action &chosen) {
    CLI::App *const command = program.add_subcommand("studio", "Look at a pipeline and change it, in a browser");
    auto const arguments = std::make_shared<StudioArguments>();
    addDescriptionArguments(*command, arguments->description);
    command->add_option("--port", arguments->server.port, "Serve the page on this port (default: any that is free)")
        ->type_name("N")
        ->check(CLI::Range(0, 65535).description(""));
    command
        ->add_option("--host", arguments->server.host,
                     "Listen on this address instead of 127.0.0.1, so that other machines can reach the page")
        ->type_name("ADDRESS");
    addKeepOption(*command, arguments->keep);
    command->add_flag("--open", arguments->open, "Open the page in the desktop's browser");
    command->footer(
        "Prints the address of the page and serves it until Ctrl-C. The page shows the values of one tick on every\n"
        "stream; nodes that write files don't run until you start a run there. Only 'Save' changes the file.\n"
        "Needs the program dot, of Debian's package graphviz.\n"
        "Exit status: 0 after Ctrl-C, 1 where it can't begin, 2 for wrong usage.\n\n"
        "Examples:\n"
        "  zun studio examples/coins.yaml --open\n"
        "  zun studio pipeline.yaml -D photo=cup.png --port 8080");
    command->callback([arguments, &chosen] { chosen = [arguments] { return serve(*arguments); }; });
}

} // namespace zun::cli
