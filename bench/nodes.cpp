// Whole nodes: reading the stream, allocating, computing and writing. The counter `ratio` sets a node's time against
// what memory allows: a memcpy of the frame into storage that is used again and again, taken in turn with the node so
// that both see the same machine.

#include <chrono>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include "containers/Mat.h"
#include "pipeline/NodeRegistry.h"
#include "pipeline/PipelineNode.h"
#include "pipeline/PipelineState.h"

namespace {

using namespace zun;
using Frame = Mat<Vec3b, 2>;

/// One value for all inputs, and the latest output.
class OneValue final : public PipelineState {
public:
    std::shared_ptr<Variant> read, written;

    std::shared_ptr<Variant> getLinearInput(PipelineNode const *, Tick, std::string, bool) override { return read; }
    void setLinearOutput(Tick, std::string, std::shared_ptr<Variant> value) override { written = std::move(value); }
    std::uint64_t getStreamBufferCount(std::string const &) override { return 0; }
};

std::unique_ptr<PipelineNode> build(std::string const &type, PipelineState &state) {
    if (dlopen(ZUN_IMGPROC, RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE) == nullptr) throw std::runtime_error(dlerror());
    NodeRegistry::Entry const &entry = *NodeRegistry::find(type);
    std::map<std::string, std::string> inputs, outputs;
    for (auto const &[port, input] : entry.specification.inputs) inputs[port] = port;
    for (auto const &[port, output] : entry.specification.outputs) outputs[port] = port;
    return std::unique_ptr<PipelineNode>(entry.factory({&state, 0}, NodeConfig(type, {}, inputs, outputs)));
}

template <class Action>
double secondsOf(Action action) {
    auto const start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

void negativeImage(benchmark::State &state) {
    Frame const frame({static_cast<std::uint32_t>(state.range(1)), static_cast<std::uint32_t>(state.range(0))},
                      {1, 2, 3});
    Frame const copy = frame.clone();
    OneValue streams;
    streams.read = std::make_shared<VariantType<Frame>>(frame);
    auto const node = build("NegativeImage", streams);

    double nodeSeconds = 0, copySeconds = 0;
    Tick tick = 0;
    for (auto _ : state) {
        streams.written.reset(); // the frame before has been read
        double const seconds = secondsOf([&] { node->process(tick++); });
        state.SetIterationTime(seconds);
        nodeSeconds += seconds;
        copySeconds += secondsOf([&] {
            std::memcpy(copy.first(), frame.first(), frame.bytes());
            benchmark::ClobberMemory();
        });
    }
    state.counters["memcpy"] = copySeconds / static_cast<double>(state.iterations());
    state.counters["ratio"] = nodeSeconds / copySeconds;
}
BENCHMARK(negativeImage)->Args({1920, 1080})->Args({640, 480})->Args({1, 1})->UseManualTime();

} // namespace

BENCHMARK_MAIN();
