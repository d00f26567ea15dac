#include "cli/Host.h"

#include <algorithm>

#include "catalogue/Plugins.h"
#include "cli/Terminal.h"
#include "graph/Check.h"
#include "media/Host.h"
#include "media/HostNodes.h"

namespace zun::cli {

engine::Overrides overridesOf(DescriptionArguments const &arguments) {
    engine::Overrides overrides;
    for (std::string const &definition : arguments.variables) {
        std::size_t const equals = definition.find('=');
        overrides.variables[definition.substr(0, equals)] = definition.substr(equals + 1);
    }
    overrides.settings = arguments.settings;
    return overrides;
}

void loadNodeTypes(std::vector<std::string> const &plugins) {
    media::registerNodes();
    engine::loadPlugin("imgproc");
    for (std::string const &plugin : plugins) engine::loadPlugin(plugin);
}

void prepareHost(DescriptionArguments const &arguments) {
    media::hostSettings() = {arguments.threads, arguments.allowNetwork, arguments.allowDevices};
    media::setWarningSink(printWarning);
    loadNodeTypes(arguments.plugins);
}

engine::Graph readAndCheck(DescriptionArguments const &arguments) {
    prepareHost(arguments);
    engine::Graph graph = engine::check(engine::readDescription(arguments.file, overridesOf(arguments)));
    constexpr std::size_t mostShown = 200;
    Diagnostics const &all = graph.diagnostics;
    for (std::size_t i = 0; i < std::min(all.size(), mostShown); i++) Terminal::standardError().write(all[i].text());
    if (all.size() > mostShown)
        Terminal::standardError().write("... and " + std::to_string(all.size() - mostShown) + " more");
    return graph;
}

} // namespace zun::cli
