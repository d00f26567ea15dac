// Kernels on one thread, in their plain form and on every target that the machine has. The forms take turns, so that
// they see the same machine; the figures are medians. A form that takes longer than --seconds runs once.
//
//   bench_kernels [--size 1920x1080] [--seconds 0.2] [PART OF A KERNEL'S NAME]

#include <cmath>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <optional>

#include <CLI/CLI.hpp>

#include "KernelCase.h"
#include "Timing.h"
#include "imgproc/kernels/Targets.h"

namespace {

using namespace zun;
using kernels::Content;
using kernels::KernelCase;

/// Bytes of something like a photo: smooth, with edges and noise.
std::vector<unsigned char> photo(Content content, std::size_t count) {
    std::vector<unsigned char> bytes(count);
    std::uint32_t noise = 1;
    auto const brightness = [&noise](std::size_t i) {
        noise = noise * 1664525u + 1013904223u;
        return 120 + 60 * std::sin(double(i) * 0.003) + double(noise >> 28);
    };
    if (content != Content::floats)
        for (std::size_t i = 0; i < count; i++)
            bytes[i] = content == Content::binary ? brightness(i) > 110 : static_cast<unsigned char>(brightness(i));
    else
        for (std::size_t i = 0; i + sizeof(float) <= count; i += sizeof(float)) {
            auto const value = static_cast<float>(brightness(i) / 256);
            std::memcpy(bytes.data() + i, &value, sizeof value);
        }
    return bytes;
}

/// Of the kernel on each target, in milliseconds.
std::vector<double> timesOf(KernelCase const &one, std::vector<std::string> const &targets, unsigned char const *in,
                            unsigned char *out, kernels::FrameSize size, double seconds) {
    auto const run = [&] { one.run(KernelCase::Form::fast, in, out, size); };
    std::vector<bench::Turn> forms;
    for (std::string const &target : targets) forms.push_back({run, [&] { kernels::useTarget(target); }});
    return bench::takeTurns(forms, seconds);
}

} // namespace

int main(int argc, char **argv) {
    CLI::App program{"Times kernels in their plain form and on every target of this machine, on one thread"};
    std::string size = "1920x1080", part;
    double seconds = 0.2;
    program.add_option("--size", size, "Columns and rows of the frames")->capture_default_str();
    program.add_option("--seconds", seconds, "How long each kernel is repeated")->capture_default_str();
    program.add_option("part", part, "Only kernels with this in their names");
    CLI11_PARSE(program, argc, argv);
    std::optional<kernels::FrameSize> const frame = bench::parseSize(size);
    if (!frame) {
        std::cerr << "bench_kernels: --size takes COLUMNSxROWS, such as 1920x1080\n";
        return 2;
    }

    std::vector<std::string> const targets = kernels::targets();
    std::printf("%-36s", "kernel, ms");
    for (std::string const &target : targets) std::printf(" %8s", target.c_str());
    std::printf(" %8s\n", "gain");
    for (KernelCase const &one : kernels::kernelCases()) {
        if (one.name.find(part) == std::string::npos || !one.takes(*frame)) continue;
        std::vector<unsigned char> const in = photo(one.content, one.inputBytes(*frame));
        std::vector<unsigned char> out(one.outputBytes(*frame));
        std::vector<double> const times = timesOf(one, targets, in.data(), out.data(), *frame, seconds);
        std::printf("%-36s", one.name.c_str());
        for (double const time : times) std::printf(" %8.3f", time);
        std::printf(" %8.2f\n", times.back() / times.front());
        std::fflush(stdout);
    }
}
