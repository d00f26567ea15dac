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
#include "graph/Check.h"

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

struct TestSource : Node {
    int length = 0, endsAt = 0, scale = 1;
    OutputStream<int> out;
    Overlap overlap;
    bool ended = false;

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
struct TestMixer : Node {
    int seed = 0, work = 0, failAt = 0, alsoFailAt = 0, skip = 0;
    InputStream<int> a, b;
    OutputStream<int> out, second;
    Overlap overlap;

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

struct TestSink : Node {
    std::string label;
    InputStream<int> in;

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

struct TestFrame : Node {
    bool sameStorage = false;
    int side = 0;
    InputStream<int> in;
    OutputStream<Grey> out;
    Grey kept;

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

/// A node that makes its output of its input.
template <class Work, class In, class Out>
struct TestStep : Node {
    InputStream<In> in;
    OutputStream<Out> out;

    using Node::Node;
    struct Table : NoRows {
        static constexpr NodeRow node{.type = Work::type, .sourcePath = "test"};
        static constexpr auto in = input("in", Work::takes, &TestStep::in, "");
        static constexpr auto inputs = rows(Work::inPlace ? in.changedInPlace() : in);
        static constexpr auto outputs = rows(output("out", Work::gives, &TestStep::out, ""));
    };
    void process(Tick tick) override { writeStream(tick, out, Work::of(readStream(tick, in))); }
};

struct Step {
    static constexpr char const *takes = "any", *gives = "int";
    static constexpr bool inPlace = false;
    static int sumOf(auto const &frame) {
        return static_cast<int>(std::accumulate(frame.first(), frame.first() + frame.count, 0.0));
    }
};
struct Paint : Step {
    static constexpr char const *type = "TestPaint", *takes = "zun::Mat<unsigned char, 2>", *gives = takes;
    static constexpr bool inPlace = true;
    static Grey of(Grey const &frame) {
        std::for_each_n(frame.first(), frame.count, [](unsigned char &pixel) { pixel++; });
        return frame;
    }
};
struct Relay : Step {
    static constexpr char const *type = "TestRelay", *gives = "any";
    static std::shared_ptr<Variant> of(std::shared_ptr<Variant> const &value) { return value; }
};
struct FrameSum : Step {
    static constexpr char const *type = "TestFrameSum";
    static int of(std::shared_ptr<Variant> const &value) {
        return sumOf(dynamic_cast<VariantType<Grey> &>(*value).value);
    }
};
/// Reads frames of a type that only its own port names.
struct Doubles : Step {
    static constexpr char const *type = "TestDoubles", *takes = "zun::Mat<double, 2>";
    static int of(Mat<double, 2> const &frame) { return sumOf(frame); }
};

/// A generator whose ticks overlap, and which tells its end only when it is there.
struct TestSparse : Node {
    int length = 0;
    OutputStream<int> out;
    std::atomic<int> inside = 0;
    std::atomic<Tick> beyond = 0;

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

} // namespace

void registerTestNodes() {
    static Registration<TestSource, TestMixer<true>, TestMixer<false>, TestSink, TestFrame, TestStep<Paint, Grey, Grey>,
                        TestStep<FrameSum, Variant, int>, TestStep<Relay, Variant, Variant>,
                        TestStep<Doubles, Mat<double, 2>, int>, TestSparse> const once;
}

RunResult runGraph(std::string const &nodes, RunOptions const &given, RunControl *control) {
    registerTestNodes();
    notes = {};
    RunResult result;
    RunControl own;
    Progress progress;
    RunOptions options = given;
    if (options.observer == nullptr) options.observer = &progress;
    try {
        result.ticks =
            run(check(parseDescription("nodes:\n" + nodes, "test")), options, control != nullptr ? *control : own);
    } catch (std::exception const &error) {
        result.error = error.what();
    }
    static_cast<Notes &>(result) = notes;
    result.bytesPeak = progress.bytesPeak;
    return result;
}

void expectDiagnostics(Diagnostics const &found, Expected const &expected) {
    for (std::size_t i = 0; i < std::max(found.size(), expected.size()); i++) {
        std::string const text = i < found.size() ? found[i].text() : "nothing";
        auto const [begin, part] = i < expected.size() ? expected[i] : std::pair<std::string, std::string>();
        EXPECT_TRUE(i < expected.size() && text.starts_with(begin) && text.find(part) != std::string::npos)
            << "found:    " << text << "\nexpected: " << begin << " ... " << part;
    }
}

} // namespace zun::engine::test
