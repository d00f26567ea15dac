// Frame storage: aligned blocks that are kept and handed out again.
//
// A pipeline makes and drops frames of a few sizes for as long as it runs. Storage fresh from the system costs a page
// fault for every 4 KiB on first touch, several times what filling it costs, so blocks that come back are kept idle
// and the one that came back last goes out first, while it is still in the caches.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>

namespace zun {

class MatAlloc {
public:
    /// Every block starts on such a boundary, in bytes: a cache line, and the widest vector.
    static constexpr std::size_t alignment = 64;

    struct Counters {
        std::uint64_t bytesLive = 0; ///< in blocks that have an owner
        std::uint64_t bytesIdle = 0; ///< in blocks that wait to be handed out again
        std::uint64_t bytesPeak = 0; ///< the most that was live at any time
        std::uint64_t requests = 0;  ///< blocks handed out
        std::uint64_t reused = 0;    ///< of these, blocks that had been used before
    };

    /// The process-wide allocator; it lives until the process ends.
    static std::shared_ptr<MatAlloc> getGlobalMatAlloc();

    MatAlloc(MatAlloc const &) = delete;
    MatAlloc &operator=(MatAlloc const &) = delete;

    /// Storage for `count` elements of `Element`, contents undefined, aligned to `alignment`; 0 elements give a valid
    /// pointer to nothing. The storage comes back when the last owner goes. Throws std::bad_alloc when the system has
    /// no more. Thread-safe.
    template <class Element>
    std::shared_ptr<Element> getElements(std::uint64_t count) {
        std::shared_ptr<char> bytes = getBytes(count * sizeof(Element));
        auto *const first = reinterpret_cast<Element *>(bytes.get());
        return std::shared_ptr<Element>(std::move(bytes), first);
    }

    /// Where the bytes stand now. Thread-safe.
    Counters counters() const;

    /// How many bytes may be kept idle; the blocks that have been idle longest go first. The default is a quarter of
    /// the machine's memory. Thread-safe.
    void setIdleCap(std::uint64_t bytes);

    /// Gives all idle blocks back to the system. Thread-safe.
    void releaseIdle();

private:
    class Pool;
    friend class MatAllocTest;

    MatAlloc();
    ~MatAlloc();

    std::shared_ptr<char> getBytes(std::uint64_t bytes);

    std::unique_ptr<Pool> pool;
};

} // namespace zun
