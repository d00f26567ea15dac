// How the benchmarks take their times.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "imgproc/kernels/FrameSize.h"

namespace zun::bench {

inline double millisecondsOf(std::function<void()> const &action) {
    auto const start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> values) {
    auto const middle = values.begin() + std::ptrdiff_t(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// What is timed, and what has to be done before it.
struct Turn {
    std::function<void()> action;
    std::function<void()> before = [] {};
};

/// What an action finds in the caches: what it left there itself the last time, or nothing.
enum class Caches { warm, cold };

/// Reads more memory than caches hold.
inline void emptyCaches() {
    constexpr std::size_t bytes = std::size_t(128) << 20, line = 64;
    static std::vector<char> const memory(bytes, 1);
    char sum = 0;
    for (std::size_t i = 0; i < bytes; i += line) sum = static_cast<char>(sum + memory[i]);
    asm volatile("" : : "r"(sum)); // the reading is wanted
}

/// Lets all act in turns, for so many seconds and at least a few rounds; gives the median of each in milliseconds. None
/// finds in the caches what another one left there. What takes longer than that by itself acts once.
inline std::vector<double> takeTurns(std::vector<Turn> const &turns, double seconds, Caches caches = Caches::warm) {
    constexpr std::size_t fewest = 7;
    std::vector<std::vector<double>> times;
    std::vector<std::size_t> quick;
    for (Turn const &turn : turns) {
        turn.before();
        double const first = millisecondsOf(turn.action);
        times.push_back({first});
        if (first > 1000 * seconds) continue;
        times.back().clear();
        quick.push_back(times.size() - 1);
    }
    auto const begun = std::chrono::steady_clock::now();
    auto const spent = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count(); };
    for (std::size_t round = 0; !quick.empty() && (round < fewest || spent() < seconds); round++)
        for (std::size_t const i : quick) {
            turns[i].before();
            if (caches == Caches::cold)
                emptyCaches();
            else
                turns[i].action();
            times[i].push_back(millisecondsOf(turns[i].action));
        }
    std::vector<double> medians;
    for (std::vector<double> const &all : times) medians.push_back(median(all));
    return medians;
}

/// From "1920x1080".
inline std::optional<kernels::FrameSize> parseSize(std::string const &text) {
    unsigned columns = 0, rows = 0;
    if (std::sscanf(text.c_str(), "%5ux%5u", &columns, &rows) != 2 || columns < 1 || rows < 1) return std::nullopt;
    return kernels::FrameSize{rows, columns};
}

} // namespace zun::bench
