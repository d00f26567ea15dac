#include "vexa_core/MatAlloc.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>

#include "vexa_core/Memory.h"

namespace zun {
namespace {

/// What stands before a block's bytes. The control block of the shared pointer is built into it, so that handing out
/// an idle block allocates nothing.
struct alignas(MatAlloc::alignment) Block {
    static constexpr std::size_t controlBytes = 64;

    std::size_t sizeClass = 0;
    std::uint64_t capacity = 0;
    // While idle: neighbours in the stack of its size class, and in the list of all idle blocks by age.
    Block *below = nullptr, *above = nullptr;
    Block *older = nullptr, *newer = nullptr;
    alignas(16) std::array<std::byte, controlBytes> control;

    char *bytes() { return reinterpret_cast<char *>(this + 1); }
};

/// Eight size classes for each doubling, so that at most an eighth of a block is unused.
constexpr std::size_t stepsPerDoubling = 8;
constexpr std::uint64_t smallestCapacity = 64;
constexpr std::uint64_t largestCapacity = std::uint64_t(1) << 46;
constexpr std::size_t sizeClasses = stepsPerDoubling * 47;

struct SizeClass {
    std::size_t index;
    std::uint64_t capacity;
};

SizeClass sizeClassOf(std::uint64_t bytes) {
    if (bytes <= smallestCapacity) return {0, smallestCapacity};
    if (bytes > largestCapacity) throw std::bad_alloc();
    auto const doubling =
        static_cast<unsigned>(std::bit_width(bytes - 1)) - 1; // 2^doubling < bytes <= 2^(doubling + 1)
    auto const shift = doubling - static_cast<unsigned>(std::countr_zero(stepsPerDoubling)); // a step is 2^shift bytes
    std::uint64_t const below = std::uint64_t(1) << doubling;
    std::uint64_t const steps = ((bytes - below - 1) >> shift) + 1; // 1 to 8
    return {stepsPerDoubling * doubling + steps, below + (steps << shift)};
}

/// Guards a few list operations at a time and never a call of the system, which takes less time than a mutex does.
class SpinLock {
public:
    void lock() {
        for (unsigned tries = 1; taken.exchange(true, std::memory_order_acquire); tries++)
            if (tries % 16 == 0) std::this_thread::yield(); // whoever holds it may be waiting for this processor
    }
    void unlock() { taken.store(false, std::memory_order_release); }

private:
    std::atomic<bool> taken = false;
};

} // namespace

class MatAlloc::Pool {
public:
    Block *take(std::uint64_t bytes) {
        SizeClass const wanted = sizeClassOf(bytes);
        {
            std::lock_guard const guard(lock);
            if (Block *const block = stacks[wanted.index]) {
                unlink(block);
                count.reused++;
                countHandedOut(wanted.capacity);
                return block;
            }
        }
        Block *block = obtain(wanted);
        if (block == nullptr) {
            releaseDownTo(0);
            block = obtain(wanted);
        }
        if (block == nullptr) throw std::bad_alloc();
        std::lock_guard const guard(lock);
        countHandedOut(wanted.capacity);
        return block;
    }

    void giveBack(Block *block) {
        bool full = false;
        {
            std::lock_guard const guard(lock);
            count.bytesLive -= block->capacity;
            link(block);
            full = count.bytesIdle > idleCap;
        }
        if (full) releaseDownToCap();
    }

    void setIdleCap(std::uint64_t bytes) {
        {
            std::lock_guard const guard(lock);
            idleCap = bytes;
        }
        releaseDownToCap();
    }

    void releaseDownTo(std::uint64_t bytes) {
        Block *dropped = nullptr; // freed outside the lock
        {
            std::lock_guard const guard(lock);
            while (count.bytesIdle > bytes && oldest != nullptr) {
                Block *const block = oldest;
                unlink(block);
                block->below = dropped;
                dropped = block;
            }
        }
        while (dropped != nullptr) std::free(std::exchange(dropped, dropped->below));
    }

    Counters counters() const {
        std::lock_guard const guard(lock);
        return count;
    }

private:
    static Block *obtain(SizeClass wanted) {
        void *const memory = std::aligned_alloc(alignment, sizeof(Block) + wanted.capacity + padding(wanted.capacity));
        if (memory == nullptr) return nullptr;
        auto *const block = new (memory) Block;
        block->sizeClass = wanted.index;
        block->capacity = wanted.capacity;
        return block;
    }

    /// aligned_alloc takes multiples of the alignment.
    static std::uint64_t padding(std::uint64_t capacity) { return (alignment - capacity % alignment) % alignment; }

    void releaseDownToCap() {
        std::uint64_t cap;
        {
            std::lock_guard const guard(lock);
            cap = idleCap;
        }
        releaseDownTo(cap);
    }

    void countHandedOut(std::uint64_t capacity) {
        count.requests++;
        count.bytesLive += capacity;
        count.bytesPeak = std::max(count.bytesPeak, count.bytesLive);
    }

    void link(Block *block) {
        Block *&top = stacks[block->sizeClass];
        block->below = top;
        block->above = nullptr;
        if (top != nullptr) top->above = block;
        top = block;
        block->older = newest;
        block->newer = nullptr;
        (newest != nullptr ? newest->newer : oldest) = block;
        newest = block;
        count.bytesIdle += block->capacity;
    }

    void unlink(Block *block) {
        (block->above != nullptr ? block->above->below : stacks[block->sizeClass]) = block->below;
        if (block->below != nullptr) block->below->above = block->above;
        (block->older != nullptr ? block->older->newer : oldest) = block->newer;
        (block->newer != nullptr ? block->newer->older : newest) = block->older;
        count.bytesIdle -= block->capacity;
    }

    mutable SpinLock lock;
    std::array<Block *, sizeClasses> stacks{};
    Block *oldest = nullptr, *newest = nullptr;
    std::uint64_t idleCap = quarterOfMemory();
    Counters count;

public:
    /// Builds the control block of a shared pointer into its block, and gives the block back when that control block
    /// is taken down, which is when the last owner has gone.
    template <class T>
    struct ControlAllocator {
        using value_type = T;

        Pool *pool;
        Block *block;

        ControlAllocator(Pool *p, Block *b) : pool(p), block(b) {}
        template <class U>
        ControlAllocator(ControlAllocator<U> const &other) : pool(other.pool), block(other.block) {}

        T *allocate(std::size_t n) {
            static_assert(sizeof(T) <= Block::controlBytes && alignof(T) <= 16);
            if (n != 1) throw std::bad_alloc();
            return reinterpret_cast<T *>(block->control.data());
        }
        void deallocate(T *, std::size_t) { pool->giveBack(block); }

        friend bool operator==(ControlAllocator const &a, ControlAllocator const &b) { return a.block == b.block; }
    };
};

MatAlloc::MatAlloc() : pool(std::make_unique<Pool>()) {}
MatAlloc::~MatAlloc() = default;

std::shared_ptr<MatAlloc> MatAlloc::getGlobalMatAlloc() {
    static MatAlloc &global = *new MatAlloc; // never destroyed: frames may go after everything else
    return {std::shared_ptr<void>(), &global};
}

std::shared_ptr<char> MatAlloc::getBytes(std::uint64_t bytes) {
    Block *const block = pool->take(bytes);
    return std::shared_ptr<char>(
        block->bytes(), [](char *) {}, Pool::ControlAllocator<char>(pool.get(), block));
}

MatAlloc::Counters MatAlloc::counters() const { return pool->counters(); }
void MatAlloc::setIdleCap(std::uint64_t bytes) { pool->setIdleCap(bytes); }
void MatAlloc::releaseIdle() { pool->releaseDownTo(0); }

} // namespace zun
