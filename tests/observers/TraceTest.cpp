#include "observers/Trace.h"

#include <csignal>
#include <map>
#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>

#include "containers/Exception.h"
#include "support/TemporaryFolder.h"
#include "support/TestNodes.h"
#include "support/Text.h"

namespace zun::observers {
namespace {

using nlohmann::json;

struct TraceTest : testing::Test {
    /// Runs three nodes before a trace; what it warns of goes to `warnings`.
    json traced(std::string const &mixOptions, engine::RunOptions options, std::size_t mostEvents = Trace::usualEvents,
                int length = 300) {
        ObserverList list([&](std::string const &text) { warnings += text; });
        Trace trace(
            folder / "t.json", [&](std::string const &text) { warnings += text; }, mostEvents);
        list.add(trace, "the trace");
        options.observer = &list;
        result = engine::test::runGraph(
            "- {type: TestSource, name: source, outputs: {out: a}, options: {length: " + std::to_string(length) +
                "}}\n"
                "- {type: TestMix, name: mix, inputs: {a: a}, outputs: {out: b}, options: {" +
                mixOptions +
                "}}\n"
                "- {type: TestSink, name: sink, inputs: {in: b}, options: {label: s}}\n",
            options);
        return json::parse(folder.read("t.json"), nullptr, false);
    }

    /// Checks what holds for each trace, and returns how many slices there are for each node and tick.
    static std::map<std::pair<std::string, Tick>, int> check(json const &trace, unsigned workers) {
        std::map<int, double> ends, counted;
        std::map<std::pair<std::string, Tick>, int> slices;
        std::set<int> rows;
        for (json const &event : trace.at("traceEvents")) {
            std::string const phase = event.at("ph");
            int const row = event.at("tid");
            double const begin = event.at("ts");
            if (phase == "M" && event.at("name") == "thread_name") rows.insert(row);
            if (phase == "X") {
                EXPECT_TRUE(rows.contains(row));
                EXPECT_GE(begin, ends[row]) << "slices of one worker overlap";
                ends[row] = begin + event.at("dur").get<double>() - 1e-6; // sums of decimals are not exact
                slices[{event.at("name"), event.at("args").at("tick")}]++;
            }
            if (phase == "C") {
                EXPECT_GE(begin, counted[row]);
                counted[row] = begin;
                for (json const &number : event.at("args")) EXPECT_TRUE(number.is_number_unsigned()) << event;
            }
        }
        EXPECT_EQ(rows.size(), workers);
        return slices;
    }

    zun::test::TemporaryFolder folder;
    std::string warnings;
    engine::test::RunResult result;
};

TEST_F(TraceTest, HoldsEachTickOfEachNodeOnceAndEachChange) {
    engine::RunOptions options;
    options.threads = 3;
    options.changes = {{7, "mix", "seed", OptionNode::ofInt(5, "5")}};
    json const trace = traced("work: 1", options);
    auto const slices = check(trace, 3);
    EXPECT_EQ(slices.size(), 900u);
    for (auto const &[slice, count] : slices) EXPECT_EQ(count, 1) << slice.first << slice.second;
    EXPECT_TRUE(slices.contains({"mix", 299}));
    zun::test::expectParts(folder.read("t.json"), {R"("name":"mix.seed = 5","args":{"tick":7})", "stream a: bytes",
                                                   "all streams: values", R"("droppedEvents":0)"});
    EXPECT_EQ(warnings, "");
}

TEST_F(TraceTest, ShowsWhereTheRunFailed) {
    engine::RunOptions options;
    options.threads = 2;
    EXPECT_TRUE(check(traced("failAt: 4", options), 2).contains({"mix", 4}));
    zun::test::expectParts(folder.read("t.json"),
                           {R"("tick":4,"failed":true)", R"("name":"mix fails","args":{"tick":4)"});
}

TEST_F(TraceTest, DropsTheOldestEventsPastItsLimit) {
    engine::RunOptions options;
    options.threads = 1;
    json const trace = traced("", options, 1024, 3000);
    auto const slices = check(trace, 1);
    EXPECT_TRUE(slices.contains({"sink", 2999}) && !slices.contains({"source", 0}));
    EXPECT_GT(trace.at("otherData").at("droppedEvents").get<int>(), 500);
    zun::test::expectParts(warnings, {"the trace lacks the first "});
}

TEST_F(TraceTest, AFullDiskCostsTheTraceAlone) {
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    rlimit const small{1000, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    traced("", {});
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(result.error, "");
    EXPECT_EQ(result.received["s"].size(), 300u);
    zun::test::expectParts(warnings, {"the trace ended: '", "can't be written"});
    EXPECT_TRUE(folder.files().empty());
    EXPECT_THROW(Trace(folder / "missing/t.json", {}), Exception);
}

} // namespace
} // namespace zun::observers
