#include "studio/ValueStore.h"

namespace zun::studio {

void ValueStore::beginRound() {
    std::lock_guard const lock(mutex);
    round++;
    drop();
}

std::shared_ptr<NodeResult const> ValueStore::find(ResultKey key) {
    std::lock_guard const lock(mutex);
    auto const found = byKey.find(key);
    if (found == byKey.end()) return nullptr;
    entries.splice(entries.begin(), entries, found->second);
    found->second->round = round;
    return found->second->result;
}

std::shared_ptr<NodeResult const> ValueStore::keep(ResultKey key, NodeResult result) {
    constexpr std::uint64_t ownBytes = 512; // about; so that results without bytes have an end, too
    Entry entry{key, nullptr, ownBytes, 0};
    std::size_t index = 0;
    for (auto &[port, output] : result.outputs) {
        output.id = std::to_string(key.first) + "-" + std::to_string(key.second) + "-" + std::to_string(index++);
        output.type = valueTypeOf(*output.value);
        output.facts = factsOf(*output.value, output.type);
        entry.bytes += output.facts.bytes;
    }
    entry.result = std::make_shared<NodeResult const>(std::move(result));
    std::lock_guard const lock(mutex);
    if (byKey.contains(key)) return byKey.at(key)->result;
    entry.round = round;
    kept += entry.bytes;
    entries.push_front(std::move(entry));
    byKey[key] = entries.begin();
    for (auto const &[port, output] : entries.front().result->outputs) byId[output.id] = &output;
    drop();
    return entries.front().result;
}

std::optional<KeptValue> ValueStore::at(std::string const &id) const {
    std::lock_guard const lock(mutex);
    auto const found = byId.find(id);
    return found != byId.end() ? std::optional(*found->second) : std::nullopt;
}

ValueStore::Usage ValueStore::usage() const {
    std::lock_guard const lock(mutex);
    return {kept, limit};
}

void ValueStore::drop() {
    while (kept > limit && entries.back().round + 1 < round) {
        Entry const &oldest = entries.back();
        for (auto const &[port, output] : oldest.result->outputs) byId.erase(output.id);
        byKey.erase(oldest.key);
        kept -= oldest.bytes;
        entries.pop_back();
    }
}

} // namespace zun::studio
