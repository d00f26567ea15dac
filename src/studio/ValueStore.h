// The values of nodes at ticks, kept up to a number of bytes. Those that were used least recently go first.
#pragma once

#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/Tick.h"
#include "pipeline/types/ValueType.h"
#include "studio/ValueFacts.h"

namespace zun::studio {

/// A value must not be changed: others hold it, too.
struct KeptValue {
    std::string id; ///< names the value for ever
    std::shared_ptr<Variant> value;
    ValueType const *type = nullptr; ///< null for a type that nobody has made known
    ValueFacts facts;
};

/// What a node did at a tick.
struct NodeResult {
    std::map<std::string, KeptValue> outputs; ///< by port
    double milliseconds = 0;
};

/// A node's configuration (NodeKeys) and a tick.
using ResultKey = std::pair<std::uint64_t, Tick>;

/// Thread-safe.
class ValueStore {
public:
    explicit ValueStore(std::uint64_t bytes) : limit(bytes) {}

    /// What is found or kept from now on stays until a round after the next one begins, even beyond the limit: one tick
    /// may be larger than it.
    void beginRound();

    /// Null for what isn't kept.
    std::shared_ptr<NodeResult const> find(ResultKey key);

    /// Describes the values, gives them ids and keeps them.
    std::shared_ptr<NodeResult const> keep(ResultKey key, NodeResult result);

    /// The value of an id, if it is still kept.
    std::optional<KeptValue> at(std::string const &id) const;

    struct Usage {
        std::uint64_t kept = 0, limit = 0; ///< bytes
    };
    Usage usage() const;

private:
    struct Entry {
        ResultKey key;
        std::shared_ptr<NodeResult const> result;
        std::uint64_t bytes = 0;
        std::uint64_t round = 0; ///< the last in which it was used
    };
    using Entries = std::list<Entry>;

    void drop();

    std::uint64_t const limit;
    mutable std::mutex mutex;
    Entries entries; ///< those used last first
    std::map<ResultKey, Entries::iterator> byKey;
    std::unordered_map<std::string, KeptValue const *> byId;
    std::uint64_t kept = 0, round = 0;
};

} // namespace zun::studio
