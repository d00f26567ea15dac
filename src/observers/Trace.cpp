#include "observers/Trace.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "observers/Writable.h"

namespace zun::observers {
namespace {

constexpr std::size_t mostInstants = 10'000;
constexpr std::size_t chunkBytes = 1 << 20;

std::string quotedJson(std::string const &text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace

/// The file's text, event by event.
class Trace::Writer {
public:
    explicit Writer(Trace &recorded) : trace(recorded) {
        for (engine::GraphNode const &node : trace.graph->nodes)
            nodes.push_back(R"("name":)" + quotedJson(node.description->name) + R"(,"cat":"node","args":{"type":)" +
                            quotedJson(node.description->type) + R"(,"tick":)");
        for (engine::GraphStream const &stream : trace.graph->streams)
            streams.push_back(counterNames("stream " + stream.name));
    }

    void write(Event const &event) {
        switch (event.kind) {
        case Event::Kind::Slice:
        case Event::Kind::FailedSlice:
            begin('X', event.begin, event.worker);
            add(R"(,"dur":)").addMicroseconds(static_cast<std::int64_t>(event.first));
            add(",").add(nodes[event.index]).addNumber(event.second);
            add(event.kind == Event::Kind::FailedSlice ? R"(,"failed":true}})" : "}}");
            break;
        case Event::Kind::Stream:
            writeCounters(streams[event.index], event);
            break;
        case Event::Kind::Total:
            writeCounters(all, event);
            break;
        }
    }

    void write(Instant const &instant) {
        begin('i', instant.at, instant.worker);
        add(R"(,"s":"g","name":)").add(instant.name).add(R"(,"args":)").add(instant.arguments).add("}");
    }

    /// The name of the process, or of a worker's row.
    void writeName(char const *what, std::size_t worker, std::string const &name) {
        begin('M', 0, worker);
        add(R"(,"name":")").add(what).add(R"(","args":{"name":)").add(quotedJson(name)).add("}}");
    }

    void end(std::uint64_t dropped) {
        add("\n],\"displayTimeUnit\":\"ms\",\"otherData\":{\"droppedEvents\":").addNumber(dropped).add("}}\n");
        trace.file.write(text);
    }

private:
    Writer &add(std::string_view more) {
        text += more;
        return *this;
    }

    Writer &addNumber(std::uint64_t number) {
        std::array<char, 20> digits;
        return add({digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr});
    }

    /// With three decimals.
    void addMicroseconds(std::int64_t nanoseconds) {
        auto const whole = static_cast<std::uint64_t>(nanoseconds);
        std::uint64_t const rest = whole % 1000;
        addNumber(whole / 1000).add(rest < 10 ? ".00" : rest < 100 ? ".0" : ".").addNumber(rest);
    }

    void begin(char phase, std::int64_t at, std::size_t worker) {
        if (text.size() >= chunkBytes) trace.file.write(std::exchange(text, ""));
        add(std::exchange(isFirst, false) ? "{\"traceEvents\":[\n" : ",\n");
        add(R"({"ph":")").add({&phase, 1}).add(R"(","pid":1,"tid":)").addNumber(worker).add(R"(,"ts":)");
        addMicroseconds(at);
    }

    /// The beginnings of a counter of values and one of bytes.
    using CounterNames = std::array<std::string, 2>;

    static CounterNames counterNames(std::string const &what) {
        return {R"(,"name":)" + quotedJson(what + ": values") + R"(,"args":{"values":)",
                R"(,"name":)" + quotedJson(what + ": bytes") + R"(,"args":{"bytes":)"};
    }

    void writeCounters(CounterNames const &names, Event const &event) {
        for (auto const &[name, number] : {std::pair(&names[0], event.first), std::pair(&names[1], event.second)}) {
            begin('C', event.begin, 0);
            add(*name).addNumber(number).add("}}");
        }
    }

    Trace &trace;
    std::vector<std::string> nodes;
    std::vector<CounterNames> streams;
    CounterNames const all = counterNames("all streams");
    std::string text;
    bool isFirst = true;
};

Trace::Trace(std::string const &path, ObserverList::Warn warn, std::size_t mostEvents)
    : warning(std::move(warn)), mostBlocks(std::max<std::size_t>(mostEvents / Block::capacity, 1)),
      file(requireWritable(path)) {}

std::int64_t Trace::now() const { return std::chrono::nanoseconds(Clock::now() - start).count(); }

void Trace::runBegins(engine::Graph const &runGraph, unsigned workers, Tick, Tick) {
    graph = &runGraph;
    lanes.resize(workers + 1);
    held.assign(graph->streams.size(), 0);
    start = Clock::now();
}

void Trace::record(Lane &lane, Event const &event) {
    if (lane.block == nullptr || lane.block->size == Block::capacity) putAway(lane);
    lane.block->events[lane.block->size++] = event;
}

/// Gives a lane an empty block: a new one, or the oldest.
void Trace::putAway(Lane &lane) {
    std::lock_guard const lock(mutex);
    if (lane.block != nullptr) full.push_back(std::move(lane.block));
    if (full.size() < mostBlocks) {
        lane.block = std::make_unique<Block>();
        return;
    }
    lane.block = std::move(full.front());
    full.pop_front();
    dropped += std::exchange(lane.block->size, 0);
}

void Trace::note(unsigned worker, std::string const &name, std::string const &arguments) {
    std::int64_t const at = now();
    std::lock_guard const lock(mutex);
    if (instants.size() < mostInstants)
        instants.push_back({worker, at, quotedJson(name), arguments});
    else
        dropped++;
}

void Trace::tickBegins(unsigned worker, std::size_t, Tick) { lanes[worker].begin = now(); }

void Trace::tickEnds(unsigned worker, std::size_t node, Tick tick, bool failed) {
    Lane &lane = lanes[worker];
    auto const took = static_cast<std::uint64_t>(now() - lane.begin);
    record(lane, {failed ? Event::Kind::FailedSlice : Event::Kind::Slice, static_cast<std::uint16_t>(worker),
                  static_cast<std::uint32_t>(node), lane.begin, took, tick});
}

void Trace::streamHolds(std::size_t stream, std::size_t values, std::uint64_t bytes) {
    if (graph->streams[stream].implied) return;
    valuesHeld = valuesHeld - std::exchange(held[stream], values) + values;
    record(lanes.back(), {Event::Kind::Stream, 0, static_cast<std::uint32_t>(stream), now(), values, bytes});
}

void Trace::advanced(Tick, std::uint64_t bytes) {
    record(lanes.back(), {Event::Kind::Total, 0, 0, now(), valuesHeld, bytes});
}

void Trace::optionChanges(unsigned worker, std::size_t node, Tick tick, std::string const &option,
                          std::string const &value) {
    note(worker, graph->nodes[node].description->name + "." + option + " = " + value,
         R"({"tick":)" + std::to_string(tick) + "}");
}

void Trace::runFailed(engine::GraphNode const *node, Tick tick, std::string const &message) {
    note(0, node != nullptr ? node->description->name + " fails" : "the run stalls",
         R"({"tick":)" + std::to_string(tick) + R"(,"message":)" + quotedJson(message) + "}");
}

void Trace::runEnded(Tick) {
    std::lock_guard const lock(mutex);
    for (Lane &lane : lanes)
        if (lane.block != nullptr) full.push_back(std::move(lane.block));
    Writer writer(*this);
    writer.writeName("process_name", 0, graph->description->file);
    for (std::size_t i = 0; i + 1 < lanes.size(); i++)
        writer.writeName("thread_name", i, "worker " + std::to_string(i));
    for (std::unique_ptr<Block> const &block : full)
        std::for_each_n(block->events.begin(), block->size, [&](Event const &event) { writer.write(event); });
    for (Instant const &instant : instants) writer.write(instant);
    writer.end(dropped);
    full.clear();
    file.commit();
    if (dropped > 0)
        warning("the trace lacks the first " + std::to_string(dropped) +
                " events of the run: trace fewer ticks with --frames");
}

} // namespace zun::observers
