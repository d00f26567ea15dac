// The values of one stream that wait for readers, by tick.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "containers/Variant.h"
#include "pipeline/Tick.h"
#include "pipeline/types/ValueType.h"

namespace zun::engine {

/// A ring, in which a tick has its place modulo the ring's length; it grows when a place is still taken. Not
/// thread-safe.
class StreamBuffer {
public:
    struct Slot {
        std::shared_ptr<Variant> value;  ///< null at a tick at which the node wrote nothing
        ValueType const *type = nullptr; ///< of the value; null for a type that nobody has made known
        std::uint64_t bytes = 0;
        std::size_t readersLeft = 0;
        Tick tick = nobody;   ///< that has set space aside here, or a value
        bool written = false; ///< may be read
    };

    StreamBuffer() : slots(4), mask(slots.size() - 1) {}

    /// Ticks that take up space: reserved or written, and not yet released by all readers.
    std::int64_t size() const { return occupied; }

    bool holds(Tick tick) const {
        Slot const &slot = slots[tick & mask];
        return slot.tick == tick && slot.written;
    }

    void reserve(Tick tick) {
        while (slots[tick & mask].tick != nobody) grow();
        slots[tick & mask].tick = tick;
        occupied++;
    }

    /// The slot of a tick that was reserved.
    Slot &at(Tick tick) { return slots[tick & mask]; }

    /// Makes the space of a tick free again.
    void release(Tick tick) {
        Slot &slot = at(tick);
        slot.value.reset();
        slot.tick = nobody;
        slot.written = false;
        occupied--;
    }

private:
    static constexpr Tick nobody = endless;

    void grow() {
        std::vector<Slot> const narrower = std::exchange(slots, std::vector<Slot>(slots.size() * 2));
        mask = slots.size() - 1;
        for (Slot const &slot : narrower)
            if (slot.tick != nobody) slots[slot.tick & mask] = slot;
    }

    std::int64_t occupied = 0;
    std::vector<Slot> slots; ///< a power of two
    std::size_t mask;
};

} // namespace zun::engine
