#include "engine/Plugins.h"

#include <filesystem>
#include <string>
#include <vector>

#include <dlfcn.h>

#include "containers/Exception.h"
#include "pipeline/NodeRegistry.h"
#include "vexa_core/Paths.h"

namespace zun::engine {
namespace {

std::string libraryPath(std::string const &pathOrName) {
    if (pathOrName.find('/') != std::string::npos) return pathOrName;
    return installationPrefix() + "/lib/zun/" + pathOrName + ".so";
}

} // namespace

void loadPlugin(std::string const &pathOrName) {
    std::string const path = libraryPath(pathOrName);
    // Never unloaded: code of a value's type has to outlive the value.
    if (dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE) == nullptr) {
        char const *const reason = dlerror();
        throw Exception("the plug-in '" + pathOrName + "' can't be loaded: " + (reason != nullptr ? reason : path));
    }
    std::vector<std::string> const conflicts = NodeRegistry::takeConflicts();
    if (conflicts.empty()) return;
    std::string message = "the plug-in '" + pathOrName + "' can't be used:";
    for (std::string const &conflict : conflicts) message += "\n  " + conflict;
    throw Exception(message);
}

} // namespace zun::engine
