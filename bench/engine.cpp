// What the engine costs: per node and tick on the smallest frames, and how well a chain of real work uses two cores.
//
//   overhead   ns per node and tick of a chain of ten nodes on 1 x 1 frames, with one thread and two
//   scaling    time of a chain of four nodes of about two milliseconds each, one thread against two
//   memory     peak memory of the same run of 1,000 and 10,000 ticks
//
// Each figure is the median of several runs, taken in turn.

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "containers/Mat.h"
#include "engine/Plugins.h"
#include "engine/Run.h"
#include "frame/Registration.h"

namespace {

using namespace zun;
using Frame = Mat<Vec3b, 2>;

class Source : public Node {
    int side = 1;
    OutputStream<Frame> out;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "BenchSource", .sourcePath = "bench", .parallelCode = 0};
        static constexpr auto inputs = rows();
        static constexpr auto outputs = rows(output("out", "zun::Mat<zun::Vec3b, 2>", &Source::out, ""));
        static constexpr auto options = rows(option("side", "int", "1", &Source::side, ""));
    };
    bool isGenerator() const override { return true; }
    void process(Tick tick) override {
        auto const extent = static_cast<std::uint32_t>(side);
        writeStream(tick, out, Frame({extent, extent}, {1, 2, 3}));
    }
};

class Sink : public Node {
    InputStream<Frame> in;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "BenchSink", .sourcePath = "bench", .parallelCode = 0};
        static constexpr auto inputs = rows(input("in", "zun::Mat<zun::Vec3b, 2>", &Sink::in, ""));
        static constexpr auto outputs = rows();
        static constexpr auto options = rows();
    };
    bool hasSideEffects() const override { return true; }
    void process(Tick tick) override { readStream(tick, in); }
};

/// Some milliseconds of arithmetic on a value that stays in registers, so that memory doesn't bound it.
class Work : public Node {
    InputStream<Frame> in;
    OutputStream<Frame> out;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "BenchWork", .sourcePath = "bench", .parallelCode = 0};
        static constexpr auto inputs = rows(input("in", "zun::Mat<zun::Vec3b, 2>", &Work::in, ""));
        static constexpr auto outputs = rows(output("out", "zun::Mat<zun::Vec3b, 2>", &Work::out, ""));
        static constexpr auto options = rows();
    };
    void process(Tick tick) override {
        Frame const frame = readStream(tick, in).clone();
        std::uint32_t value = frame.first()[0][0];
        for (int i = 0; i < 2'000'000; i++) value = value * 1664525u + 1013904223u;
        frame.first()[0][0] = static_cast<unsigned char>(value >> 24);
        writeStream(tick, out, frame);
    }
};

engine::Description chain(int length, std::string const &type, char const *in, char const *out, int side) {
    engine::Description description;
    auto const add = [&](std::string const &nodeType, std::vector<engine::PortBinding> inputs,
                         std::vector<engine::PortBinding> outputs) {
        engine::NodeDescription node;
        node.type = nodeType;
        node.name = "n" + std::to_string(description.nodes.size());
        node.inputs = std::move(inputs);
        node.outputs = std::move(outputs);
        description.nodes.push_back(std::move(node));
    };
    auto const stream = [&] { return "s" + std::to_string(description.nodes.size()); };
    std::string last = stream();
    add("BenchSource", {}, {{"out", last, {}}});
    description.nodes.back().options.push_back({"side", OptionNode::ofInt(side), {}});
    while (static_cast<int>(description.nodes.size()) < length - 1) {
        std::string const next = stream();
        add(type, {{in, last, {}}}, {{out, next, {}}});
        last = next;
    }
    add("BenchSink", {{"in", last, {}}}, {});
    return description;
}

double secondsOf(engine::Description const &description, Tick ticks, unsigned threads) {
    engine::RunOptions options;
    options.threads = threads;
    options.end = ticks;
    engine::Progress progress;
    auto const begin = std::chrono::steady_clock::now();
    engine::run(description, {}, options, progress);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Medians of several ways to do a thing, each done in turn.
std::vector<double> compare(std::vector<std::function<double()>> const &ways, int repetitions) {
    std::vector<std::vector<double>> seconds(ways.size());
    for (int i = 0; i < repetitions; i++)
        for (std::size_t way = 0; way < ways.size(); way++) seconds[way].push_back(ways[way]());
    std::vector<double> result;
    for (auto const &values : seconds) result.push_back(median(values));
    return result;
}

/// The peak of a child process that runs so many ticks, in KiB.
long peakOf(engine::Description const &description, Tick ticks) {
    pid_t const child = fork();
    if (child == 0) {
        secondsOf(description, ticks, 2);
        _exit(0);
    }
    rusage usage{};
    int status = 0;
    wait4(child, &status, 0, &usage);
    return usage.ru_maxrss;
}

} // namespace

int main() {
    static Registration<Source, Sink, Work> const registration;
    engine::loadPlugin("imgproc");

    auto const small = chain(10, "NegativeImage", "input", "output", 1);
    Tick const ticks = 100'000;
    long const peak1 = peakOf(chain(10, "NegativeImage", "input", "output", 200), 1'000);
    long const peak10 = peakOf(chain(10, "NegativeImage", "input", "output", 200), 10'000);

    auto const overhead =
        compare({[&] { return secondsOf(small, ticks, 1); }, [&] { return secondsOf(small, ticks, 2); }}, 9);
    for (std::size_t i = 0; i < overhead.size(); i++)
        std::printf("overhead, %zu thread(s): %.0f ns per node and tick\n", i + 1, overhead[i] / (10.0 * ticks) * 1e9);

    auto const heavy = chain(6, "BenchWork", "in", "out", 1);
    auto const scaling =
        compare({[&] { return secondsOf(heavy, 100, 1); }, [&] { return secondsOf(heavy, 100, 2); }}, 5);
    std::printf("scaling: %.1f ms a tick with one thread, %.1f with two: %.2f times\n", scaling[0] * 10,
                scaling[1] * 10, scaling[0] / scaling[1]);

    std::printf("memory: %ld KiB at most in 1,000 ticks, %ld in 10,000\n", peak1, peak10);
}
