#include "pipeline/NodeRegistry.h"

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include <dlfcn.h>

#include "pipeline/ApiVersion.h"

namespace zun {
namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::unique_ptr<NodeRegistry::Entry>> entries;
    std::map<std::string, NodeRegistry::Entry *> byType;
    std::vector<std::string> conflicts;
};

/// Made on first use, because static initialisers of other libraries come here; never destroyed, because factories
/// stand in libraries that are never unloaded.
Registry &registry() {
    static Registry &instance = *new Registry;
    return instance;
}

static_assert(ZUN_API_VERSION == ZUN_VERSION_MAJOR, "the libraries carry the version of the headers");

/// The library that a piece of code stands in.
std::string libraryOf(void const *code) {
    Dl_info info{};
    return dladdr(code, &info) != 0 && info.dli_fname != nullptr ? info.dli_fname : "an unknown library";
}

} // namespace

void NodeRegistry::registerNodeImpl(std::string type, Factory factory, NodeSpecification const &specification) {
    std::string library = libraryOf(__builtin_return_address(0));
    Registry &nodes = registry();
    std::lock_guard const lock(nodes.mutex);
    if (auto const taken = nodes.byType.find(type); taken != nodes.byType.end()) {
        nodes.conflicts.push_back("node type \"" + type + "\" is registered twice: by " + taken->second->library +
                                  " and by " + library);
        return;
    }
    auto entry = std::make_unique<Entry>(Entry{type, std::move(factory), specification, {}, {}, std::move(library)});
    nodes.byType.emplace(std::move(type), entry.get());
    nodes.entries.push_back(std::move(entry));
}

void NodeRegistry::describe(std::string const &type, NodeDocumentation documentation, NodeFacts facts) {
    std::string const library = libraryOf(__builtin_return_address(0));
    Registry &nodes = registry();
    std::lock_guard const lock(nodes.mutex);
    auto const found = nodes.byType.find(type);
    if (found == nodes.byType.end() || found->second->library != library) return;
    found->second->documentation = std::move(documentation);
    found->second->facts = std::move(facts);
}

NodeRegistry::Entry const *NodeRegistry::find(std::string const &type) {
    Registry &nodes = registry();
    std::lock_guard const lock(nodes.mutex);
    auto const found = nodes.byType.find(type);
    return found == nodes.byType.end() ? nullptr : found->second;
}

std::vector<NodeRegistry::Entry const *> NodeRegistry::entries() {
    Registry &nodes = registry();
    std::lock_guard const lock(nodes.mutex);
    std::vector<Entry const *> all;
    for (auto const &entry : nodes.entries) all.push_back(entry.get());
    return all;
}

std::vector<std::string> NodeRegistry::takeConflicts() {
    Registry &nodes = registry();
    std::lock_guard const lock(nodes.mutex);
    return std::exchange(nodes.conflicts, {});
}

} // namespace zun
