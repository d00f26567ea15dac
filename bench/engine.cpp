// What the engine costs: per node and tick, for every node type of the plug-in, and how well a chain of real work uses
// two cores.
//
//   engine     ns per node and tick of a chain of ten nodes that hand on what they read, with one thread and two
//   guards     ns that each type's guard takes for values it lets pass, and the sum with the engine
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

#include "catalogue/Plugins.h"
#include "containers/Mask.h"
#include "containers/Mat.h"
#include "containers/Rect.h"
#include "graph/Check.h"
#include "node/Registration.h"
#include "pipeline/NodeRegistry.h"
#include "run/Guard.h"
#include "run/Run.h"

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

/// Hands on the value that it reads: what a tick of it takes is the engine's.
class Relay : public Node {
    InputStream<Variant> in;
    OutputStream<Variant> out;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "BenchRelay", .sourcePath = "bench"};
        static constexpr auto inputs = rows(input("in", "any", &Relay::in, ""));
        static constexpr auto outputs = rows(output("out", "any", &Relay::out, ""));
        static constexpr auto options = rows();
    };
    void process(Tick tick) override { writeStream(tick, out, readStream(tick, in)); }
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
    engine::RunControl control;
    auto const begin = std::chrono::steady_clock::now();
    engine::run(engine::check(description), options, control);
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

template <class T>
std::shared_ptr<Variant> valueOf(T held) {
    return std::make_shared<VariantType<T>>(std::move(held));
}

/// A small value that every guard lets pass.
std::shared_ptr<Variant> smallValue(ValueType const *type) {
    Mat<unsigned char, 2> const grey({8, 8}, 1);
    Frame const colour({8, 8}, {1, 2, 3});
    for (auto const &value :
         {valueOf(colour), valueOf(grey), valueOf(Mat<Vec3f, 2>({8, 8}, Vec3f{})),
          valueOf(Mat<Vec4b, 2>({8, 8}, Vec4b{})), valueOf(Mat<float, 2>({2, 3}, 1.0f)), valueOf(Box{1, 1, 4, 4}),
          valueOf(std::vector<Box>{{1, 1, 4, 4}}), valueOf(std::vector<Vec2f>{{1, 1}}),
          valueOf(std::vector<std::string>{"a"}),
          valueOf(std::vector<Mask>{{{1, 1, 2, 2}, Mat<unsigned char, 2>({2, 2}, 1)}}), valueOf(std::vector{colour})})
        if (type == nullptr || valueTypeOf(*value) == type) return value;
    throw Exception("no small value of type " + type->spelling);
}

/// Options that make a node of every type.
std::map<std::string, OptionNode> requiredOptions(NodeRegistry::Entry const &type) {
    std::map<std::string, OptionNode> options;
    for (auto const &[name, option] : type.specification.options) {
        OptionNode const one = OptionNode::ofInt(1);
        if (option.optional) continue;
        options[name] = option.type == "zun::Vec2i" ? OptionNode::ofVector({one, one}) : one;
    }
    return options;
}

/// What a type's guard takes for values that it lets pass, in nanoseconds.
double guardNanoseconds(NodeRegistry::Entry const &type) {
    std::map<std::string, std::string> streams;
    std::vector<std::shared_ptr<Variant>> values;
    for (NodeFacts::Input const &input : type.facts.inputs) {
        streams[input.name] = input.name;
        values.push_back(smallValue(input.type));
    }
    std::unique_ptr<PipelineNode> const node(
        type.factory({nullptr, 0}, NodeConfig(type.type, requiredOptions(type), streams)));
    auto const valueAt = [&](std::size_t row) { return values[row].get(); };
    constexpr int calls = 200'000;
    auto const begin = std::chrono::steady_clock::now();
    for (int i = 0; i < calls; i++)
        if (auto const refusal = engine::askGuard(*node, type.facts, 0, valueAt))
            throw Exception(type.type + " refuses: " + refusal->message);
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - begin).count() / calls;
}

} // namespace

int main() {
    static Registration<Source, Sink, Relay, Work> const registration;
    engine::loadPlugin("imgproc");

    constexpr int nodes = 10;
    constexpr Tick ticks = 100'000;
    auto const small = chain(nodes, "BenchRelay", "in", "out", 1);
    long const peak1 = peakOf(chain(nodes, "NegativeImage", "input", "output", 200), 1'000);
    long const peak10 = peakOf(chain(nodes, "NegativeImage", "input", "output", 200), 10'000);

    auto overhead =
        compare({[&] { return secondsOf(small, ticks, 1); }, [&] { return secondsOf(small, ticks, 2); }}, 9);
    for (double &seconds : overhead) seconds *= 1e9 / (nodes * ticks);
    std::printf("engine: %.0f ns per node and tick with one thread, %.0f with two\n", overhead[0], overhead[1]);

    for (NodeRegistry::Entry const *type : NodeRegistry::entries()) {
        if (type->type.starts_with("Bench")) continue;
        double const guard = compare({[&] { return guardNanoseconds(*type); }}, 5)[0];
        std::printf("  %-32s guard %4.0f ns, with the engine %4.0f with one thread, %4.0f with two\n",
                    type->type.c_str(), guard, overhead[0] + guard, overhead[1] + guard);
    }

    auto const heavy = chain(6, "BenchWork", "in", "out", 1);
    auto const scaling =
        compare({[&] { return secondsOf(heavy, 100, 1); }, [&] { return secondsOf(heavy, 100, 2); }}, 5);
    std::printf("scaling: %.1f ms a tick with one thread, %.1f with two: %.2f times\n", scaling[0] * 10,
                scaling[1] * 10, scaling[0] / scaling[1]);

    std::printf("memory: %ld KiB at most in 1,000 ticks, %ld in 10,000\n", peak1, peak10);
}
