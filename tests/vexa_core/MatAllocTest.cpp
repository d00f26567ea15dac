#include "vexa_core/MatAlloc.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <new>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

namespace zun {

/// The global allocator, empty of idle blocks at the start of each test.
class MatAllocTest : public testing::Test {
protected:
    static constexpr std::uint64_t MiB = std::uint64_t(1) << 20;

    void SetUp() override {
        allocator->setIdleCap(1024 * MiB);
        allocator->releaseIdle();
    }
    std::shared_ptr<char> bytes(std::uint64_t count) { return allocator->getBytes(count); }

    std::shared_ptr<MatAlloc> const allocator = MatAlloc::getGlobalMatAlloc();
};

namespace {

TEST_F(MatAllocTest, AlignsEveryBlockAndGivesAllItsBytes) {
    std::vector<std::uint64_t> sizes{MiB - 1, MiB, MiB + 1, 6 * MiB, 40 * MiB + 13};
    for (std::uint64_t size = 0; size < 2000; size += size < 300 ? 1 : 37) sizes.push_back(size);
    std::vector<std::shared_ptr<char>> blocks;
    for (std::uint64_t const size : sizes) {
        blocks.push_back(bytes(size));
        ASSERT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back().get()) % MatAlloc::alignment, 0u) << size;
        std::memset(blocks.back().get(), 0xA5, size); // under a sanitizer, a block that is too small shows here
    }
    auto const numbers = allocator->getElements<double>(1000);
    std::fill_n(numbers.get(), 1000, 0.5);
    EXPECT_EQ(numbers.use_count(), 1) << "the bytes' own pointer is gone";
}

TEST_F(MatAllocTest, HandsOutTheBlockFreedLastFirstButNoneThatIsMuchTooLarge) {
    std::shared_ptr<char> blocks[] = {bytes(6 * MiB), bytes(6 * MiB), bytes(6 * MiB)};
    std::vector<char const *> freed;
    for (int const i : {1, 2, 0}) {
        freed.push_back(blocks[i].get());
        blocks[i].reset();
    }
    EXPECT_EQ(std::ranges::count(freed, bytes(3 * MiB).get()), 0);
    for (std::size_t const i : {2, 1, 0}) EXPECT_EQ((blocks[i] = bytes(6 * MiB - 500 * i)).get(), freed[i]);
}

TEST_F(MatAllocTest, KeepsNoMoreIdleThanItsCapAndDropsTheOldest) {
    auto const idle = [&] { return allocator->counters().bytesIdle; };
    allocator->setIdleCap(10 * MiB);
    std::vector<std::shared_ptr<char>> blocks;
    for (int i = 0; i < 8; i++) blocks.push_back(bytes(2 * MiB));
    char const *const newest = blocks.back().get();
    for (auto &block : blocks) {
        block.reset();
        EXPECT_LE(idle(), 10 * MiB);
    }
    EXPECT_GT(idle(), 8 * MiB) << "the cap is used";
    EXPECT_EQ(bytes(2 * MiB).get(), newest);
    allocator->setIdleCap(3 * MiB);
    EXPECT_LE(idle(), 3 * MiB) << "a lower cap holds at once";
    bytes(4 * MiB);
    EXPECT_LE(idle(), 3 * MiB) << "a block above the cap doesn't stay";
    allocator->releaseIdle();
    EXPECT_EQ(idle(), 0u);
}

TEST_F(MatAllocTest, CountsWhatItDoesAndKeepsABlockAsLongAsAnyOwner) {
    auto const before = allocator->counters();
    auto a = bytes(MiB), b = bytes(MiB);
    a.reset();
    a = bytes(MiB);
    auto const after = allocator->counters();
    EXPECT_EQ(after.requests, before.requests + 3);
    EXPECT_EQ(after.reused, before.reused + 1);
    EXPECT_GE(after.bytesLive, before.bytesLive + 2 * MiB);
    EXPECT_LE(after.bytesLive, before.bytesLive + 2 * MiB + MiB / 4);
    EXPECT_GE(after.bytesPeak, after.bytesLive);
    auto other = a;
    a.reset();
    EXPECT_EQ(allocator->counters().bytesLive, after.bytesLive);
    other.reset();
    EXPECT_LT(allocator->counters().bytesLive, after.bytesLive);
    EXPECT_EQ(allocator->counters().bytesLive + allocator->counters().bytesIdle, after.bytesLive + after.bytesIdle);
    EXPECT_EQ(allocator->counters().bytesPeak, after.bytesPeak);
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

TEST_F(MatAllocTest, RefusesWhatNoSystemHasAndStaysUsable) {
    auto const before = allocator->counters();
    std::vector<std::uint64_t> sizes{~std::uint64_t(0), std::uint64_t(1) << 60};
    if (!sanitized) sizes.push_back(std::uint64_t(1) << 46); // a sanitizer's allocator ends the program instead
    for (std::uint64_t const size : sizes) EXPECT_THROW(bytes(size), std::bad_alloc);
    auto const after = allocator->counters();
    EXPECT_EQ(std::tuple(after.bytesLive, after.bytesPeak, after.requests),
              std::tuple(before.bytesLive, before.bytesPeak, before.requests));
    EXPECT_NE(bytes(100), nullptr);
}

/// Blocks that are made on one thread and dropped on another, each filled with its own mark: a block handed out twice,
/// or while it still has an owner, shows as a broken mark.
TEST_F(MatAllocTest, KeepsBlocksApartOnManyThreads) {
    auto const before = allocator->counters();
    std::vector<std::thread> threads;
    std::vector<int> broken(4, 0);
    std::atomic<std::shared_ptr<unsigned>> passedOn;
    for (std::size_t t = 0; t < broken.size(); t++)
        threads.emplace_back([&, t] {
            std::vector<std::shared_ptr<unsigned>> kept(8);
            for (unsigned round = 0; round < 20000; round++) {
                std::size_t const words = 16u << (round * 7 + t) % 6;
                auto &slot = kept[(round * 5) % kept.size()];
                passedOn.exchange(std::move(slot)).reset();
                slot = allocator->getElements<unsigned>(words);
                unsigned const mark = round * 16 + static_cast<unsigned>(t);
                std::fill_n(slot.get(), words, mark);
                if (round % 64 == 0) std::this_thread::yield();
                broken[t] += std::count(slot.get(), slot.get() + words, mark) != static_cast<std::ptrdiff_t>(words);
            }
        });
    for (auto &thread : threads) thread.join();
    passedOn.exchange({}).reset();
    EXPECT_EQ(broken, std::vector<int>(4, 0));
    EXPECT_EQ(allocator->counters().bytesLive, before.bytesLive);
    EXPECT_GE(allocator->counters().reused, before.reused + 79000) << "what one thread drops serves all";
}

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

/// Frames that are made, written and dropped, round after round.
TEST_F(MatAllocTest, CausesNoPageFaultsAfterTheFirstRounds) {
    if (sanitized) GTEST_SKIP() << "a sanitizer's own memory faults too";
    for (auto const &[size, frames] : {std::pair(6 * MiB, 1u), {40 * MiB, 1}, {40 * MiB, 3}, {6 * MiB, 20}}) {
        auto const round = [&, size = size, frames = frames] {
            std::vector<std::shared_ptr<char>> burst(frames);
            for (auto &frame : burst) {
                frame = bytes(size);
                std::memset(frame.get(), 1, size);
            }
        };
        round();
        round();
        long const before = minorFaults();
        for (int i = 0; i < 5; i++) round();
        EXPECT_LT(minorFaults() - before, 50) << frames << " frames of " << size << " bytes";
    }
}

} // namespace
} // namespace zun
