// The values of one stream that wait for readers, by tick.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/Tick.h"
#include "pipeline/types/ValueType.h"

namespace zun::engine {

/// A window of ticks, from the oldest that still has a reader. Not thread-safe.
class StreamBuffer {
public:
    struct Slot {
        std::shared_ptr<Variant> value;  ///< null at a tick at which the node wrote nothing
        ValueType const *type = nullptr; ///< of the value; null for a type that nobody has made known
        std::uint64_t bytes = 0;
        std::size_t readersLeft = 0;
        bool taken = false;   ///< there is space set aside, or a value
        bool written = false; ///< may be read
    };

    explicit StreamBuffer(Tick first) : oldest(first), slots(4), mask(slots.size() - 1) {}

    /// Ticks that take up space: reserved or written, and not yet released by all readers.
    std::int64_t size() const { return occupied; }

    bool holds(Tick tick) const { return inWindow(tick) && slots[index(tick)].written; }

    void reserve(Tick tick) {
        while (tick - oldest > mask) grow();
        slots[index(tick)].taken = true;
        youngest = tick + 1 > youngest ? tick + 1 : youngest;
        occupied++;
    }

    /// The slot of a tick that was reserved.
    Slot &at(Tick tick) { return slots[index(tick)]; }

    /// Makes the space of a tick free again.
    void release(Tick tick) {
        Slot &slot = slots[index(tick)];
        slot.value.reset();
        slot.taken = slot.written = false;
        occupied--;
        while (oldest < youngest && !slots[index(oldest)].taken) oldest++;
    }

private:
    std::size_t index(Tick tick) const { return static_cast<std::size_t>(tick) & mask; }
    bool inWindow(Tick tick) const { return tick >= oldest && tick < youngest; }

    void grow() {
        std::vector<Slot> wider(slots.size() * 2);
        for (Tick tick = oldest; tick < youngest; tick++)
            wider[static_cast<std::size_t>(tick) & (wider.size() - 1)] = std::move(slots[index(tick)]);
        slots = std::move(wider);
        mask = slots.size() - 1;
    }

    Tick oldest;
    Tick youngest = 0; ///< one past the last tick that was reserved
    std::int64_t occupied = 0;
    std::vector<Slot> slots; ///< a power of two
    std::size_t mask;
};

} // namespace zun::engine
