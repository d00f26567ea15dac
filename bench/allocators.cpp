// Frame storage: the pool of MatAlloc against the C library's allocator, and against any other that is preloaded in its
// place (LD_PRELOAD=libjemalloc.so.2 bench_allocators). docs/allocator.md tells how to read the figures.
//
// Each case makes frames, writes every byte of them once, and drops them, which is what a pipeline does. Time is per
// frame; `faults` is the number of minor page faults per frame, and `GB/s` the rate of writing.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include "vexa_core/MatAlloc.h"

namespace {

using Frame = std::shared_ptr<char>;

struct Pool {
    static Frame make(std::uint64_t bytes) { return zun::MatAlloc::getGlobalMatAlloc()->getElements<char>(bytes); }
};

struct Library {
    static Frame make(std::uint64_t bytes) {
        constexpr std::uint64_t alignment = zun::MatAlloc::alignment;
        std::uint64_t const rounded = (bytes + alignment - 1) / alignment * alignment;
        return Frame(static_cast<char *>(std::aligned_alloc(alignment, rounded)), std::free);
    }
};

long minorFaults() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_minflt;
}

/// Runs `round`, which makes `frames` frames of `bytes` bytes, a few times unmeasured and then for the figures.
template <class Round>
void measure(benchmark::State &state, std::uint64_t bytes, std::uint64_t frames, Round round) {
    for (int i = 0; i < 3; i++) round();
    long const before = minorFaults();
    for (auto _ : state) round();
    auto const made = static_cast<double>(state.iterations()) * static_cast<double>(frames);
    state.counters["faults"] = static_cast<double>(minorFaults() - before) / made;
    state.counters["frame"] = benchmark::Counter(made, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["B/s"] = benchmark::Counter(made * static_cast<double>(bytes), benchmark::Counter::kIsRate);
}

template <class Source>
Frame written(std::uint64_t bytes) {
    Frame frame = Source::make(bytes);
    std::memset(frame.get(), 1, bytes);
    benchmark::DoNotOptimize(frame);
    return frame;
}

/// `frames` frames that live at the same time and are dropped together.
template <class Source>
void together(benchmark::State &state) {
    auto const bytes = static_cast<std::uint64_t>(state.range(0)), frames = static_cast<std::uint64_t>(state.range(1));
    measure(state, bytes, frames, [&] {
        std::vector<Frame> burst;
        for (std::uint64_t i = 0; i < frames; i++) burst.push_back(written<Source>(bytes));
    });
}

/// A thread that drops frames that another made.
class Dropper {
public:
    ~Dropper() {
        push(nullptr);
        thread.join();
    }

    /// Waits while `capacity` frames are on their way.
    void push(Frame frame) {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return frames.size() < capacity; });
        frames.push_back(std::move(frame));
        changed.notify_all();
    }

private:
    static constexpr std::size_t capacity = 4;

    void run() {
        for (;;) {
            std::unique_lock lock(mutex);
            changed.wait(lock, [&] { return !frames.empty(); });
            Frame frame = std::move(frames.front());
            frames.pop_front();
            changed.notify_all();
            lock.unlock();
            if (frame == nullptr) return;
        }
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Frame> frames;
    std::thread thread{[this] { run(); }};
};

/// Two threads that make frames, each of which hands them to a thread that drops them.
template <class Source>
void acrossThreads(benchmark::State &state) {
    auto const bytes = static_cast<std::uint64_t>(state.range(0));
    constexpr std::uint64_t each = 16;
    measure(state, bytes, 2 * each, [&] {
        auto const produce = [&] {
            Dropper dropper;
            for (std::uint64_t i = 0; i < each; i++) dropper.push(written<Source>(bytes));
        };
        std::thread other(produce);
        produce();
        other.join();
    });
}

/// The allocator alone: nothing is written. On as many threads as the benchmark runs on.
template <class Source>
void makeAndDrop(benchmark::State &state) {
    auto const bytes = static_cast<std::uint64_t>(state.range(0));
    for (auto _ : state) {
        Frame frame = Source::make(bytes);
        benchmark::DoNotOptimize(frame);
    }
}

constexpr std::int64_t fullHd = 1920 * 1080 * 3, large = 40'000'000;

#define ZUN_ALLOCATOR_CASES(Source)                                                                                    \
    BENCHMARK(together<Source>)->Args({fullHd, 1})->Args({large, 1})->Args({large, 3})->Args({fullHd, 16});            \
    BENCHMARK(acrossThreads<Source>)->Arg(fullHd)->Arg(large)->UseRealTime();                                          \
    BENCHMARK(makeAndDrop<Source>)->Arg(3)->Arg(fullHd)->Threads(1)->Threads(2)->UseRealTime()

ZUN_ALLOCATOR_CASES(Pool);
ZUN_ALLOCATOR_CASES(Library);

} // namespace

BENCHMARK_MAIN();
