#include "support/TestNodes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <numeric>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "containers/Mat.h"

namespace zun::engine::test {
namespace {

std::mutex notesMutex;
Notes notes;

void note(auto action) {
    std::lock_guard const lock(notesMutex);
    action();
}

/// Holds the engine to its word: the ticks of a node start in order, and overlap only where the node allows it.
class Overlap {
public:
    /// To be kept while the tick runs.
    std::shared_ptr<void> enter(Tick tick, bool mayOverlap) {
        if (inside.fetch_add(1) > 0 && !mayOverlap) violation("a serial node runs two ticks at once");
        if (!mayOverlap && next.exchange(tick + 1) > tick) violation("a node's ticks run out of order");
        return {this, [this](void *) { inside.fetch_sub(1); }};
    }

private:
    static void violation(char const *what) {
        note([&] { notes.violations.emplace_back(what); });
    }

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
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestSource", .sourcePath = "test", .parallelCode = 0};
        static constexpr auto outputs = rows(output("out", "int", &TestSource::out, ""));
        static constexpr auto options = rows(option("length", "int", "-1", &TestSource::length, ""),
                                             option("endsAt", "int", "-1", &TestSource::endsAt, ""),
                                             option("scale", "int", "1", &TestSource::scale, ""));
    };
    bool isGenerator() const override { return true; }
    Tick getRunUntil(Tick end) override { return length < 0 ? end : std::min(end, static_cast<Tick>(length)); }
    bool processProgressNeverPossible() override { return ended; }
    void process(Tick tick) override {
        auto const inside = overlap.enter(tick, false);
        ended = endsAt >= 0 && tick >= static_cast<Tick>(endsAt);
        if (!ended) writeStream(tick, out, static_cast<int>(tick) * scale);
    }
};

template <bool parallel>
class TestMixer : public Node {
    int seed = 0, work = 0, failAt = 0, alsoFailAt = 0, skip = 0;
    InputStream<int> a, b;
    OutputStream<int> out, second;
    Overlap overlap;

public:
    using Node::Node;
    struct Table {
        static constexpr NodeRow node{
            .type = parallel ? "TestMix" : "TestMixSerial", .sourcePath = "test", .parallelCode = parallel ? 1 : 0};
        static constexpr auto inputs =
            rows(optionalInput("a", "int", &TestMixer::a, ""), optionalInput("b", "int", &TestMixer::b, ""));
        static constexpr auto outputs =
            rows(output("out", "int", &TestMixer::out, ""), output("second", "int", &TestMixer::second, ""));
        static constexpr auto options =
            rows(option("seed", "int", "0", &TestMixer::seed, ""), option("work", "int", "0", &TestMixer::work, ""),
                 option("failAt", "int", "-1", &TestMixer::failAt, ""),
                 option("alsoFailAt", "int", "-1", &TestMixer::alsoFailAt, ""),
                 option("skip", "int", "-1", &TestMixer::skip, ""));
    };
    void process(Tick tick) override {
        auto const inside = overlap.enter(tick, parallel);
        if (work > 0)
            std::this_thread::sleep_for(std::chrono::microseconds((tick * 7919 + static_cast<Tick>(seed)) % 97));
        auto const now = static_cast<int>(tick);
        if (now == failAt) std::this_thread::sleep_for(std::chrono::milliseconds(20));
        if (now == failAt || now == alsoFailAt) throw std::runtime_error("broken");
        if (now == skip) return;
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
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestSink", .sourcePath = "test", .parallelCode = 0};
        static constexpr auto inputs = rows(input("in", "int", &TestSink::in, ""));
        static constexpr auto options = rows(requiredOption("label", "std::string", &TestSink::label, ""));
    };
    bool hasSideEffects() const override { return true; }
    void process(Tick tick) override {
        int const value = readStream(tick, in);
        note([&] { notes.received[label].emplace_back(tick, value); });
    }
    void flush(Tick tick) override {
        note([&] { notes.flushedAt[label] = tick; });
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
        static constexpr NodeRow node{.type = "TestFrame", .sourcePath = "test", .parallelCode = 0};
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
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestPaint", .sourcePath = "test"};
        static constexpr auto inputs =
            rows(input("in", "zun::Mat<unsigned char, 2>", &TestPaint::in, "").changedInPlace());
        static constexpr auto outputs = rows(output("out", "zun::Mat<unsigned char, 2>", &TestPaint::out, ""));
    };
    void process(Tick tick) override {
        Grey const frame = readStream(tick, in);
        std::for_each_n(frame.first(), frame.count, [](unsigned char &pixel) { pixel++; });
        writeStream(tick, out, frame);
    }
};

/// Hands on whatever comes.
class TestRelay : public Node {
    InputStream<Variant> in;
    OutputStream<Variant> out;

public:
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestRelay", .sourcePath = "test"};
        static constexpr auto inputs = rows(input("in", "any", &TestRelay::in, ""));
        static constexpr auto outputs = rows(output("out", "any", &TestRelay::out, ""));
    };
    void process(Tick tick) override { writeStream(tick, out, readStream(tick, in)); }
};

/// Reads frames of a type that only its own port names.
class TestDoubles : public Node {
    InputStream<Mat<double, 2>> in;
    OutputStream<int> out;

public:
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestDoubles", .sourcePath = "test"};
        static constexpr auto inputs = rows(input("in", "zun::Mat<double, 2>", &TestDoubles::in, ""));
        static constexpr auto outputs = rows(output("out", "int", &TestDoubles::out, ""));
    };
    void process(Tick tick) override {
        Mat<double, 2> const frame = readStream(tick, in);
        double const sum = std::accumulate(frame.first(), frame.first() + frame.count, 0.0);
        writeStream(tick, out, static_cast<int>(sum));
    }
};

/// A generator whose ticks overlap, and which tells its end only when it is there.
class TestSparse : public Node {
    int length = 0;
    OutputStream<int> out;
    std::atomic<int> inside = 0;
    std::atomic<Tick> beyond = 0;

public:
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestSparse", .sourcePath = "test"};
        static constexpr auto outputs = rows(output("out", "int", &TestSparse::out, ""));
        static constexpr auto options = rows(option("length", "int", "0", &TestSparse::length, ""));
    };
    bool isGenerator() const override { return true; }
    bool processProgressNeverPossible() override {
        if (inside != 0)
            note([] { notes.violations.emplace_back("a generator is asked for its end during process()"); });
        return beyond > 0;
    }
    void process(Tick tick) override {
        inside++;
        std::this_thread::sleep_for(std::chrono::microseconds(tick % 5 * 40));
        if (tick >= static_cast<Tick>(length))
            beyond = tick;
        else
            writeStream(tick, out, static_cast<int>(tick));
        inside--;
    }
};

class TestFrameSum : public Node {
    InputStream<Variant> in;
    OutputStream<int> out;

public:
    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = "TestFrameSum", .sourcePath = "test"};
        static constexpr auto inputs = rows(input("in", "any", &TestFrameSum::in, ""));
        static constexpr auto outputs = rows(output("out", "int", &TestFrameSum::out, ""));
    };
    void process(Tick tick) override {
        auto const held = readStream(tick, in);
        Grey const &frame = dynamic_cast<VariantType<Grey> &>(*held).value;
        writeStream(tick, out, std::accumulate(frame.first(), frame.first() + frame.count, 0));
    }
};

} // namespace

void registerTestNodes() {
    static Registration<TestSource, TestMixer<true>, TestMixer<false>, TestSink, TestFrame, TestPaint, TestFrameSum,
                        TestRelay, TestDoubles, TestSparse> const once;
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

RunResult runGraph(std::vector<NodeDescription> const &nodes, RunOptions const &options, Progress &progress) {
    registerTestNodes();
    notes = {};
    RunResult result;
    try {
        result.ticks = run(check({"test", nodes, {}}), options, progress);
    } catch (std::exception const &error) {
        result.error = error.what();
    }
    static_cast<Notes &>(result) = notes;
    result.bytesPeak = progress.bytesPeak;
    return result;
}

void expectDiagnostics(Diagnostics const &found, std::vector<std::pair<std::string, std::string>> const &expected) {
    for (std::size_t i = 0; i < std::max(found.size(), expected.size()); i++) {
        std::string const text = i < found.size() ? found[i].text() : "nothing";
        auto const [begin, part] = i < expected.size() ? expected[i] : std::pair<std::string, std::string>();
        EXPECT_TRUE(i < expected.size() && text.starts_with(begin) && text.find(part) != std::string::npos)
            << "found:    " << text << "\nexpected: " << begin << " ... " << part;
    }
}

} // namespace zun::engine::test
