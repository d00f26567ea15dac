#include "vexa_core/MatAlloc.h"

#include <algorithm>
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

bool aligned(void const *pointer) { return reinterpret_cast<std::uintptr_t>(pointer) % MatAlloc::alignment == 0; }

TEST_F(MatAllocTest, AlignsEveryBlockAndGivesAllItsBytes) {
    std::vector<std::shared_ptr<char>> blocks;
    for (std::uint64_t size = 0; size < 2000; size += size < 300 ? 1 : 37) {
        blocks.push_back(bytes(size));
        ASSERT_TRUE(aligned(blocks.back().get())) << size;
        std::memset(blocks.back().get(), 0xA5, size); // under a sanitizer, a block that is too small shows here
    }
    for (std::uint64_t const size : {MiB - 1, MiB, MiB + 1, 6 * MiB, 40 * MiB + 13}) {
        auto const block = bytes(size);
        ASSERT_TRUE(aligned(block.get())) << size;
        block.get()[0] = block.get()[size - 1] = 1;
    }
}

TEST_F(MatAllocTest, GivesElementsTheirSizeAndNoElementsAPointer) {
    EXPECT_NE(allocator->getElements<double>(0), nullptr);
    auto const numbers = allocator->getElements<double>(1000);
    std::fill_n(numbers.get(), 1000, 0.5);
    EXPECT_EQ(numbers.use_count(), 1) << "the bytes' own pointer is gone";
}

TEST_F(MatAllocTest, KeepsABlockAsLongAsAnyOwner) {
    std::uint64_t const live = allocator->counters().bytesLive;
    auto first = allocator->getElements<int>(100);
    auto second = first;
    first.reset();
    EXPECT_GE(allocator->counters().bytesLive, live + 400);
    second.reset();
    EXPECT_EQ(allocator->counters().bytesLive, live);
}

TEST_F(MatAllocTest, HandsOutTheBlockFreedLastFirst) {
    auto a = bytes(6 * MiB), b = bytes(6 * MiB), c = bytes(6 * MiB);
    char const *const addresses[] = {a.get(), b.get(), c.get()};
    b.reset();
    c.reset();
    a.reset();
    auto const first = bytes(6 * MiB), second = bytes(6 * MiB), third = bytes(6 * MiB);
    EXPECT_EQ(first.get(), addresses[0]);
    EXPECT_EQ(second.get(), addresses[2]);
    EXPECT_EQ(third.get(), addresses[1]);
}

TEST_F(MatAllocTest, ReusesABlockForAlmostTheSameSizeButNotForAMuchSmallerOne) {
    char const *const address = bytes(6 * MiB).get();
    EXPECT_EQ(bytes(6 * MiB - 1000).get(), address);
    EXPECT_NE(bytes(3 * MiB).get(), address);
}

TEST_F(MatAllocTest, KeepsNoMoreIdleThanItsCapAndDropsTheOldest) {
    allocator->setIdleCap(10 * MiB);
    std::vector<std::shared_ptr<char>> blocks;
    for (int i = 0; i < 8; i++) blocks.push_back(bytes(2 * MiB));
    char const *const newest = blocks.back().get();
    for (auto &block : blocks) {
        block.reset();
        EXPECT_LE(allocator->counters().bytesIdle, 10 * MiB);
    }
    EXPECT_GT(allocator->counters().bytesIdle, 8 * MiB) << "the cap is used";
    EXPECT_EQ(bytes(2 * MiB).get(), newest);
    allocator->setIdleCap(3 * MiB);
    EXPECT_LE(allocator->counters().bytesIdle, 3 * MiB) << "a lower cap holds at once";
    bytes(4 * MiB);
    EXPECT_LE(allocator->counters().bytesIdle, 3 * MiB) << "a block above the cap doesn't stay";
    allocator->releaseIdle();
    EXPECT_EQ(allocator->counters().bytesIdle, 0u);
}

TEST_F(MatAllocTest, CountsWhatItDoes) {
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
    a.reset();
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
    EXPECT_THROW(bytes(~std::uint64_t(0)), std::bad_alloc);
    EXPECT_THROW(bytes(std::uint64_t(1) << 60), std::bad_alloc);
    if (!sanitized) { // a sanitizer's allocator ends the program instead
        EXPECT_THROW(bytes(std::uint64_t(1) << 46), std::bad_alloc);
    }
    EXPECT_EQ(allocator->counters().bytesLive, before.bytesLive);
    EXPECT_EQ(allocator->counters().bytesPeak, before.bytesPeak);
    EXPECT_EQ(allocator->counters().requests, before.requests);
    EXPECT_NE(bytes(100), nullptr);
}

/// Blocks that are made on one thread and dropped on another, each filled with its own mark: a block handed out twice,
/// or while it still has an owner, shows as a broken mark.
TEST_F(MatAllocTest, KeepsBlocksApartOnManyThreads) {
    std::uint64_t const live = allocator->counters().bytesLive;
    std::vector<std::thread> threads;
    std::vector<int> broken(4, 0);
    for (std::size_t t = 0; t < broken.size(); t++)
        threads.emplace_back([&, t] {
            std::vector<std::shared_ptr<unsigned>> kept(8);
            for (unsigned round = 0; round < 20000; round++) {
                std::size_t const words = 16u << (round * 7 + t) % 6;
                auto &slot = kept[(round * 5) % kept.size()];
                slot = allocator->getElements<unsigned>(words);
                unsigned const mark = round * 16 + static_cast<unsigned>(t);
                std::fill_n(slot.get(), words, mark);
                if (round % 64 == 0) std::this_thread::yield();
                broken[t] += std::count(slot.get(), slot.get() + words, mark) != static_cast<std::ptrdiff_t>(words);
            }
        });
    for (auto &thread : threads) thread.join();
    EXPECT_EQ(broken, std::vector<int>(4, 0));
    EXPECT_EQ(allocator->counters().bytesLive, live);
}

TEST_F(MatAllocTest, TakesBackBlocksOnAnotherThread) {
    for (int round = 0; round < 200; round++) {
        std::vector<std::shared_ptr<char>> blocks;
        for (int i = 0; i < 10; i++) blocks.push_back(bytes(5000));
        std::thread([moved = std::move(blocks)]() mutable { moved.clear(); }).join();
    }
    EXPECT_GE(allocator->counters().reused, 1990u);
}

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

/// Frames that are made, written and dropped, round after round.
TEST_F(MatAllocTest, CausesNoPageFaultsAfterTheFirstRounds) {
    if (sanitized) GTEST_SKIP() << "a sanitizer's own memory faults too";
    struct {
        std::uint64_t size;
        std::size_t frames;
    } const cases[] = {{6 * MiB, 1}, {40 * MiB, 1}, {40 * MiB, 3}, {6 * MiB, 20}};
    for (auto const &[size, frames] : cases) {
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
