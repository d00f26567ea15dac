#include "engine/TestNodes.h"

#include <algorithm>
#include <chrono>
#include <numeric>
#include <stdexcept>
#include <thread>

#include "containers/Mat.h"
#include "frame/Registration.h"

namespace zun::engine::test {

Journal &journal() {
    static Journal instance;
    return instance;
}

void Journal::clear() {
    std::lock_guard const lock(mutex);
    received.clear();
    flushedAt.clear();
    violations.clear();
}

namespace {

/// Holds the engine to its word: the ticks of a node start in order, and overlap only where the node allows it.
class Overlap {
public:
    class Inside {
    public:
        Inside(Overlap &overlap, Tick tick, bool mayOverlap) : of(overlap) {
            if (of.inside.fetch_add(1) > 0 && !mayOverlap) journal().violation("a serial node runs two ticks at once");
            if (!mayOverlap && of.next.exchange(tick + 1) > tick)
                journal().violation("a node's ticks run out of order");
        }
        ~Inside() { of.inside.fetch_sub(1); }

    private:
        Overlap &of;
    };

private:
    std::atomic<int> inside = 0;
    std::atomic<Tick> next = 0;
};

class TestSource : public Node {
    int length = 0, endsAt = 0, scale = 1;
    OutputStream<int> out;
    Overlap overlap;
    bool ended = false;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestSource", .sourcePath = "test", .parallelCode = 0, .summary = "s"};
        static constexpr auto inputs = rows();
        static constexpr auto outputs = rows(output("out", "int", &TestSource::out, ""));
        static constexpr auto options = rows(option("length", "int", "-1", &TestSource::length, ""),
                                             option("endsAt", "int", "-1", &TestSource::endsAt, ""),
                                             option("scale", "int", "1", &TestSource::scale, ""));
    };
    bool isGenerator() const override { return true; }
    Tick getRunUntil(Tick end) override { return length < 0 ? end : std::min(end, static_cast<Tick>(length)); }
    bool processProgressNeverPossible() override { return ended; }
    void process(Tick tick) override {
        Overlap::Inside const inside(overlap, tick, false);
        ended = endsAt >= 0 && tick >= static_cast<Tick>(endsAt);
        if (!ended) writeStream(tick, out, static_cast<int>(tick) * scale);
    }
};

template <bool parallel>
class TestMixer : public Node {
    int seed = 0, work = 0;
    InputStream<int> a, b;
    OutputStream<int> out, second;
    Overlap overlap;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = parallel ? "TestMix" : "TestMixSerial",
                                      .sourcePath = "test",
                                      .parallelCode = parallel ? 1 : 0,
                                      .summary = "m"};
        static constexpr auto inputs =
            rows(optionalInput("a", "int", &TestMixer::a, ""), optionalInput("b", "int", &TestMixer::b, ""));
        static constexpr auto outputs =
            rows(output("out", "int", &TestMixer::out, ""), output("second", "int", &TestMixer::second, ""));
        static constexpr auto options =
            rows(option("seed", "int", "0", &TestMixer::seed, ""), option("work", "int", "0", &TestMixer::work, ""));
    };
    void process(Tick tick) override {
        Overlap::Inside const inside(overlap, tick, parallel);
        if (work > 0)
            std::this_thread::sleep_for(std::chrono::microseconds((tick * 7919 + static_cast<Tick>(seed)) % 97));
        unsigned mixed = static_cast<unsigned>(seed) * 2654435761u + static_cast<unsigned>(tick);
        if (a.connected()) mixed = mixed * 31u + static_cast<unsigned>(readStream(tick, a));
        if (b.connected()) mixed = mixed * 37u + static_cast<unsigned>(readStream(tick, b));
        writeStream(tick, out, static_cast<int>(mixed));
        writeStream(tick, second, static_cast<int>(mixed * 3));
    }
};

class TestSink : public Node {
    std::string label;
    InputStream<int> in;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestSink", .sourcePath = "test", .parallelCode = 0, .summary = "k"};
        static constexpr auto inputs = rows(input("in", "int", &TestSink::in, ""));
        static constexpr auto outputs = rows();
        static constexpr auto options = rows(requiredOption("label", "std::string", &TestSink::label, ""));
    };
    bool hasSideEffects() const override { return true; }
    void process(Tick tick) override {
        int const value = readStream(tick, in);
        std::lock_guard const lock(journal().mutex);
        journal().received[label].emplace_back(tick, value);
    }
    void flush(Tick tick) override {
        std::lock_guard const lock(journal().mutex);
        journal().flushedAt[label] = tick;
    }
};

class TestFail : public Node {
    int at = 0, alsoAt = 0, skip = 0, delay = 0;
    InputStream<int> in;
    OutputStream<int> out;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestFail", .sourcePath = "test", .summary = "f"};
        static constexpr auto inputs = rows(input("in", "int", &TestFail::in, ""));
        static constexpr auto outputs = rows(output("out", "int", &TestFail::out, ""));
        static constexpr auto options =
            rows(option("at", "int", "-1", &TestFail::at, ""), option("alsoAt", "int", "-1", &TestFail::alsoAt, ""),
                 option("skip", "int", "-1", &TestFail::skip, ""), option("delay", "int", "0", &TestFail::delay, ""));
    };
    void process(Tick tick) override {
        if (static_cast<int>(tick) == at) std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        if (static_cast<int>(tick) == at || static_cast<int>(tick) == alsoAt) throw std::runtime_error("broken");
        if (static_cast<int>(tick) != skip) writeStream(tick, out, readStream(tick, in));
    }
};

using Grey = Mat<unsigned char, 2>;

class TestFrame : public Node {
    bool sameStorage = false;
    int side = 0;
    InputStream<int> in;
    OutputStream<Grey> out;
    Grey kept;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestFrame", .sourcePath = "test", .parallelCode = 0, .summary = "f"};
        static constexpr auto inputs = rows(input("in", "int", &TestFrame::in, ""));
        static constexpr auto outputs = rows(output("out", "zun::Mat<unsigned char, 2>", &TestFrame::out, ""));
        static constexpr auto options = rows(option("sameStorage", "bool", "false", &TestFrame::sameStorage, ""),
                                             option("side", "int", "8", &TestFrame::side, ""));
    };
    void process(Tick tick) override {
        auto const extent = static_cast<std::uint32_t>(side);
        if (kept.count == 0 || !sameStorage)
            kept = Grey({extent, extent}, static_cast<unsigned char>(sameStorage ? 1 : readStream(tick, in) & 63));
        writeStream(tick, out, kept);
        if (!sameStorage) kept = {};
    }
};

class TestPaint : public Node {
    InputStream<Grey> in;
    OutputStream<Grey> out;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestPaint", .sourcePath = "test", .summary = "p"};
        static constexpr auto inputs = rows(input("in", "zun::Mat<unsigned char, 2>", &TestPaint::in, ""));
        static constexpr auto outputs = rows(output("out", "zun::Mat<unsigned char, 2>", &TestPaint::out, ""));
        static constexpr auto options = rows();
    };
    void process(Tick tick) override {
        Grey const frame = readStream(tick, in);
        std::for_each_n(frame.first(), frame.count, [](unsigned char &pixel) { pixel++; });
        writeStream(tick, out, frame);
    }
};

class TestFrameSum : public Node {
    InputStream<Variant> in;
    OutputStream<int> out, address;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{.type = "TestFrameSum", .sourcePath = "test", .summary = "s"};
        static constexpr auto inputs = rows(input("in", "any", &TestFrameSum::in, ""));
        static constexpr auto outputs =
            rows(output("out", "int", &TestFrameSum::out, ""), output("address", "int", &TestFrameSum::address, ""));
        static constexpr auto options = rows();
    };
    void process(Tick tick) override {
        auto const held = readStream(tick, in);
        Grey const &frame = dynamic_cast<VariantType<Grey> &>(*held).value;
        writeStream(tick, out, std::accumulate(frame.first(), frame.first() + frame.count, 0));
        writeStream(tick, address, static_cast<int>(reinterpret_cast<std::uintptr_t>(frame.first()) >> 6));
    }
};

} // namespace

void registerTestNodes() {
    static Registration<TestSource, TestMixer<true>, TestMixer<false>, TestSink, TestFail, TestFrame, TestPaint,
                        TestFrameSum> const once;
}

NodeDescription node(std::string const &type, std::string const &name, Bindings const &inputs, Bindings const &outputs,
                     Options const &options, std::vector<std::pair<std::string, int>> const &limits) {
    NodeDescription result;
    result.type = type;
    result.name = name;
    for (auto const &[port, stream] : inputs) result.inputs.push_back({port, stream, {}});
    for (auto const &[port, stream] : outputs) result.outputs.push_back({port, stream, {}});
    for (auto const &[option, value] : options) result.options.push_back({option, value, {}});
    for (auto const &[port, limit] : limits) result.limits.push_back({port, limit, {}});
    return result;
}

RunResult runGraph(std::vector<NodeDescription> const &nodes, RunOptions const &options) {
    registerTestNodes();
    journal().clear();
    NodeFactsTable const facts{{"TestPaint", {.changesInPlace = {"in"}}}};
    RunResult result;
    Progress progress;
    try {
        result.ticks = run({"test", nodes}, facts, options, progress);
    } catch (std::exception const &error) {
        result.error = error.what();
    }
    result.received = journal().received;
    result.flushedAt = journal().flushedAt;
    result.violations = journal().violations;
    result.bytesPeak = progress.bytesPeak;
    return result;
}

} // namespace zun::engine::test
