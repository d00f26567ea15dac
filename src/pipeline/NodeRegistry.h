// The node types of this process.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pipeline/NodeConfig.h"
#include "pipeline/NodeFacts.h"
#include "pipeline/NodeSpecification.h"

namespace zun {

class PipelineNode;

/// A process-wide list to which libraries add their node types while they are loaded. Thread-safe. Entries are never
/// removed, and references to them stay valid.
class NodeRegistry {
public:
    using Factory = std::function<PipelineNode *(NodeConstructionInfo const &, NodeConfig const &)>;

    struct Entry {
        std::string type; ///< the type string
        Factory factory;
        NodeSpecification specification;
        NodeDocumentation documentation;
        NodeFacts facts;
        std::string library; ///< path of the library or program that registered the type
    };

    /// Registers the node class `T` under a type string. Can be called while a library's static initialisers run, and
    /// so reports nothing: a type string that is taken keeps its first meaning, and takeConflicts() names it.
    /// Defined in node/Registration.h.
    template <class T>
    static void registerNode(std::string type);

    /// The entry of a type string, or null.
    static Entry const *find(std::string const &type);

    /// All entries, in the order of registration.
    static std::vector<Entry const *> entries();

    /// What went wrong with registrations since the last call, a message each: a type string registered twice, with
    /// both libraries named. Whoever loads libraries asks after each.
    static std::vector<std::string> takeConflicts();

private:
    static void registerNodeImpl(std::string type, Factory factory, NodeSpecification const &specification);
    static void describe(std::string const &type, NodeDocumentation documentation, NodeFacts facts);
};

} // namespace zun
