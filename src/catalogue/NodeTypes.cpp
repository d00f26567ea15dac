#include "catalogue/NodeTypes.h"

#include <vector>

#include "containers/Exception.h"
#include "pipeline/NearestName.h"

namespace zun::engine {

std::string unknownType(std::string const &type) {
    std::vector<std::string> known;
    for (NodeRegistry::Entry const *entry : NodeRegistry::entries()) known.push_back(entry->type);
    return "there is no node type '" + type + "'" + suggestion(type, known);
}

NodeRegistry::Entry const &nodeTypeNamed(std::string const &type) {
    NodeRegistry::Entry const *const entry = NodeRegistry::find(type);
    if (entry == nullptr) throw Exception(unknownType(type));
    return *entry;
}

} // namespace zun::engine
