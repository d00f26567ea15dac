#include "cli/Host.h"

#include <algorithm>
#include <iterator>
#include <tuple>

#include "cli/Terminal.h"
#include "engine/Plugins.h"
#include "guards/Guards.h"
#include "media/Media.h"

namespace zun::cli {
namespace {

engine::Overrides overridesOf(DescriptionArguments const &arguments) {
    engine::Overrides overrides;
    for (std::string const &definition : arguments.variables) {
        std::size_t const equals = definition.find('=');
        overrides.variables[definition.substr(0, equals)] = definition.substr(equals + 1);
    }
    overrides.settings = arguments.settings;
    return overrides;
}

} // namespace

void loadNodeTypes(std::vector<std::string> const &plugins) {
    media::registerNodes();
    engine::loadPlugin("imgproc");
    for (std::string const &plugin : plugins) engine::loadPlugin(plugin);
}

engine::NodeFactsTable const &knownFacts() {
    static engine::NodeFactsTable const table = [] {
        engine::NodeFactsTable merged = guards::facts();
        engine::NodeFactsTable hosts = media::facts();
        merged.merge(hosts);
        return merged;
    }();
    return table;
}

CheckedDescription readAndCheck(DescriptionArguments const &arguments) {
    loadNodeTypes(arguments.plugins);
    engine::Findings findings;
    CheckedDescription checked;
    checked.description = engine::readDescription(arguments.file, overridesOf(arguments), findings);
    checked.report = engine::check(checked.description, knownFacts());

    engine::Findings &all = checked.report.findings;
    all.insert(all.begin(), std::make_move_iterator(findings.begin()), std::make_move_iterator(findings.end()));
    // What has no place in the file comes last.
    auto const position = [](engine::Finding const &finding) {
        return std::tuple(finding.place.line == 0, finding.place.line, finding.place.column);
    };
    std::stable_sort(all.begin(), all.end(), [&](auto const &a, auto const &b) { return position(a) < position(b); });
    constexpr std::size_t mostShown = 200;
    for (std::size_t i = 0; i < std::min(all.size(), mostShown); i++) Terminal::standardError().write(all[i].text());
    if (all.size() > mostShown)
        Terminal::standardError().write("... and " + std::to_string(all.size() - mostShown) + " more");
    return checked;
}

} // namespace zun::cli
