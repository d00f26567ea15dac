// What a host makes sure of before a node processes a tick: that every value has the type its reader takes, and that
// the node's own guard has nothing to say against the values.
#pragma once

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>

#include "containers/Exception.h"
#include "pipeline/NodeRegistry.h"
#include "pipeline/PipelineNode.h"

namespace zun::engine {

/// "a value of type zun::Box", "frames of 3 x 4, of type ...": what `value` is, for a message that says it should be of
/// another type. `type` is null for a type that nobody has made known.
std::string describeValue(Variant const &value, ValueType const *type);

/// Asks the guard of a node's type about the values it is about to read. `valueAt(row)` gives the value at an input by
/// its index in the type's table, or null. Costs nothing for a type without a guard.
template <class ValueAt>
std::optional<Diagnostic> askGuard(PipelineNode const &node, NodeFacts const &facts, Tick tick,
                                   ValueAt const &valueAt) {
    constexpr std::size_t most = 16; // inputs of a type that has a guard; more take memory of their own
    if (facts.guard == nullptr) return std::nullopt;
    std::array<Variant const *, most> few;
    std::vector<Variant const *> many(facts.inputs.size() > most ? facts.inputs.size() : 0);
    Variant const **const values = many.empty() ? few.data() : many.data();
    for (std::size_t row = 0; row < facts.inputs.size(); row++) values[row] = valueAt(row);
    return facts.guard(node, TickInputs(tick, values));
}

} // namespace zun::engine
