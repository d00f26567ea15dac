// How a node class gets into the registry; the one header that a node file includes.
#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "frame/Framed.h"
#include "pipeline/NodeRegistry.h"

namespace zun {

template <class T>
void NodeRegistry::registerNode(std::string type) {
    NodeSpecification specification = Framed<T>::specification();
    registerNodeImpl(
        type,
        [](NodeConstructionInfo const &info, NodeConfig const &config) -> PipelineNode * {
            return new Framed<T>(info, config);
        },
        specification);
    document(type, Framed<T>::documentation());
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
