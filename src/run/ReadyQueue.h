// The tasks that could start, the one to take next in front.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "pipeline/Tick.h"

namespace zun::engine {

/// A task that could start when it was put here.
struct Ready {
    Tick tick;
    int rank;
    std::size_t node;

    friend auto operator<=>(Ready const &, Ready const &) = default;
};

/// The oldest tick comes first, at one tick what is nearest the sinks, and then the first in the description. The front
/// is kept apart from the others, because most of the time it is all there is.
class ReadyQueue {
public:
    std::size_t size() const { return (front ? 1 : 0) + others.size(); }
    bool empty() const { return !front; }

    void push(Ready entry) {
        if (!front) {
            front = entry;
            return;
        }
        if (entry < *front) std::swap(entry, *front);
        others.push_back(entry);
        std::push_heap(others.begin(), others.end(), std::greater<>());
    }

    /// Of a queue that is not empty.
    Ready take() {
        Ready const taken = *front;
        front.reset();
        if (others.empty()) return taken;
        std::pop_heap(others.begin(), others.end(), std::greater<>());
        front = others.back();
        others.pop_back();
        return taken;
    }

    /// Any of the entries, by a number below size().
    Ready takeAny(std::size_t choice) {
        if (choice == 0) return take();
        Ready const taken = others[choice - 1];
        others.erase(others.begin() + static_cast<std::ptrdiff_t>(choice - 1));
        std::make_heap(others.begin(), others.end(), std::greater<>());
        return taken;
    }

    template <class Predicate>
    bool anyOf(Predicate const &predicate) const {
        return front && (predicate(*front) || std::any_of(others.begin(), others.end(), predicate));
    }

private:
    std::optional<Ready> front;
    std::vector<Ready> others; ///< a heap
};

} // namespace zun::engine
