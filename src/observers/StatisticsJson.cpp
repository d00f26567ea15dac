// Statistics of a run as JSON.

#include <array>
#include <utility>

#include <nlohmann/json.hpp>

#include "containers/Exception.h"
#include "observers/Statistics.h"

namespace zun::observers {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::array<std::pair<engine::Wait, char const *>, 5> waits{{{engine::Wait::Input, "input"},
                                                                      {engine::Wait::Space, "space"},
                                                                      {engine::Wait::Bytes, "bytes"},
                                                                      {engine::Wait::Others, "others"},
                                                                      {engine::Wait::Thread, "thread"}}};

Json jsonOf(NodeStatistics const &node) {
    Json waited;
    for (auto const &[kind, name] : waits) waited[name] = node.waited(kind);
    return {{"name", node.name},
            {"type", node.type},
            {"ticks", node.ticks},
            {"busySeconds", node.busySeconds},
            {"share", node.share},
            {"meanMilliseconds", node.meanMilliseconds},
            {"p95Milliseconds", node.p95Milliseconds},
            {"waitSeconds", waited},
            {"bytesWritten", node.bytesWritten}};
}

NodeStatistics nodeOf(Json const &json) {
    NodeStatistics node;
    node.name = json.at("name");
    node.type = json.at("type");
    node.ticks = json.at("ticks");
    node.busySeconds = json.at("busySeconds");
    node.share = json.at("share");
    node.meanMilliseconds = json.at("meanMilliseconds");
    node.p95Milliseconds = json.at("p95Milliseconds");
    for (auto const &[kind, name] : waits)
        node.waitSeconds[static_cast<std::size_t>(kind)] = json.at("waitSeconds").at(name);
    node.bytesWritten = json.at("bytesWritten");
    return node;
}

} // namespace

std::string statisticsJson(RunStatistics const &run) {
    Json nodes = Json::array(), streams = Json::array();
    for (NodeStatistics const &node : run.nodes) nodes.push_back(jsonOf(node));
    for (StreamStatistics const &stream : run.streams)
        streams.push_back({{"name", stream.name}, {"peakValues", stream.peakValues}, {"peakBytes", stream.peakBytes}});
    Json const json{{"ticks", run.ticks},
                    {"seconds", run.seconds},
                    {"ticksPerSecond", run.ticksPerSecond()},
                    {"workers", run.workers},
                    {"busySeconds", run.busySeconds},
                    {"idleSeconds", run.idleSeconds},
                    {"peakValues", run.peakValues},
                    {"peakBytes", run.peakBytes},
                    {"bound", run.bound},
                    {"nodes", nodes},
                    {"streams", streams}};
    return json.dump(1, ' ', false, Json::error_handler_t::replace) + "\n";
}

RunStatistics readStatistics(std::string const &text) {
    RunStatistics run;
    try {
        Json const json = Json::parse(text);
        run.ticks = json.at("ticks");
        run.seconds = json.at("seconds");
        run.workers = json.at("workers");
        run.busySeconds = json.at("busySeconds");
        run.idleSeconds = json.at("idleSeconds");
        run.peakValues = json.at("peakValues");
        run.peakBytes = json.at("peakBytes");
        run.bound = json.at("bound");
        for (Json const &node : json.at("nodes")) run.nodes.push_back(nodeOf(node));
        for (Json const &stream : json.at("streams"))
            run.streams.push_back({stream.at("name"), stream.at("peakValues"), stream.at("peakBytes")});
    } catch (Json::exception const &error) {
        throw Exception("is not what zun run --stats=FILE.json writes: " + std::string(error.what()));
    }
    return run;
}

} // namespace zun::observers
