// How a node class gets into the registry; the one header that a node file includes.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "node/Generated.h"
#include "pipeline/ApiVersion.h"
#include "pipeline/NodeRegistry.h"

#define ZUN_TEXT_OF(x) #x
#define ZUN_TEXT(x) ZUN_TEXT_OF(x)

namespace zun {

/// The version of the headers that this file is compiled with; a host reads it before it loads the library.
[[gnu::used, gnu::retain, gnu::section(ZUN_API_SECTION)]] static char const apiVersion[] =
    ZUN_API_MARK ZUN_TEXT(ZUN_API_VERSION);

template <class T>
void NodeRegistry::registerNode(std::string type) {
    NodeSpecification specification = Generated<T>::specification();
    registerNodeImpl(
        type,
        [](NodeConstructionInfo const &info, NodeConfig const &config) -> PipelineNode * {
            return new Generated<T>(info, config);
        },
        specification);
    describe(type, Generated<T>::documentation(), Generated<T>::facts());
}

/// Registers node classes when it is constructed: `static zun::Registration<MyNode> const registration;` at the end of
/// the node's file does it when the library is loaded. The type string is the one of the node's table.
template <class... Nodes>
struct Registration {
    Registration() { (NodeRegistry::registerNode<Nodes>(Nodes::Table::node.type), ...); }

    /// Under other type strings, one for each class: for the instantiations of a class template.
    explicit Registration(std::initializer_list<char const *> types) {
        auto type = types.begin();
        (NodeRegistry::registerNode<Nodes>(*type++), ...);
    }
};

} // namespace zun
