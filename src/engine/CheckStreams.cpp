// Both ends of each stream.
#include <algorithm>
#include <thread>

#include "engine/CheckModel.h"
#include "engine/ValueTypes.h"
#include "pipeline/PipelineNode.h"

namespace zun::engine {
namespace {

class StreamChecker {
public:
    explicit StreamChecker(CheckedPipeline &checked) : pipeline(checked) {
        for (CheckedStream const &stream : pipeline.streams)
            if (!stream.writers.empty()) written.push_back(stream.name);
    }

    void check() {
        for (CheckedStream &stream : pipeline.streams) {
            if (stream.writers.empty()) {
                reportUnwritten(stream);
                continue;
            }
            for (std::size_t i = 1; i < stream.writers.size(); i++) reportWrittenTwice(stream, stream.writers[i]);
            for (StreamEnd const reader : stream.readers) checkTypes(stream, reader);
            warnOfChangeInPlace(stream);
            warnOfStarvation(stream);
        }
        // Only now are all streams known that misspelt names mean.
        for (CheckedStream const &stream : pipeline.streams) warnOfNoReader(stream);
        for (CheckedNode const &node : pipeline.nodes) warnOfNoOutput(node);
    }

private:
    void reportUnwritten(CheckedStream const &stream) {
        for (StreamEnd const reader : stream.readers) {
            CheckedPort const &port = pipeline.input(reader);
            pipeline.nodes[reader.node].error(pipeline.report, port.binding->place,
                                              "reads stream " + quoted(stream.name) + " at input " + quoted(port.name) +
                                                  ", but no node writes it" +
                                                  pipeline.report.knownNames(stream.name, written));
        }
        auto const meant = pipeline.report.nearest(stream.name, written);
        if (meant) pipeline.streams[pipeline.streamIndex.at(*meant)].meant = true;
    }

    void reportWrittenTwice(CheckedStream const &stream, StreamEnd second) {
        StreamEnd const first = stream.writers.front();
        pipeline.nodes[first.node].failed = true;
        pipeline.nodes[second.node].error(
            pipeline.report, pipeline.output(second).binding->place,
            "writes stream " + quoted(stream.name) + " from output " + quoted(pipeline.output(second).name) +
                ", but output " + quoted(pipeline.output(first).name) + " of " + pipeline.nodes[first.node].label() +
                " writes it already, at " + pipeline.output(first).binding->place.text() +
                "; give one of the two streams another name");
    }

    void checkTypes(CheckedStream const &stream, StreamEnd reader) {
        StreamEnd const writer = stream.writers.front();
        CheckedPort const &from = pipeline.output(writer), &to = pipeline.input(reader);
        if (typesAgree(from.type, to.type)) return;
        pipeline.nodes[writer.node].failed = true;
        pipeline.nodes[reader.node].error(pipeline.report, to.binding->place,
                                          "takes " + to.type + " at input " + quoted(to.name) + ", but stream " +
                                              quoted(stream.name) + " carries " + from.type + " from output " +
                                              quoted(from.name) + " of " + pipeline.nodes[writer.node].label() +
                                              " at " + from.binding->place.text());
    }

    void warnOfChangeInPlace(CheckedStream const &stream) {
        if (stream.readers.size() < 2) return;
        for (StreamEnd const reader : stream.readers) {
            CheckedPort const &port = pipeline.input(reader);
            auto const &changed = pipeline.nodes[reader.node].facts->changesInPlace;
            if (std::find(changed.begin(), changed.end(), port.name) == changed.end()) continue;
            pipeline.report.warning(port.binding->place,
                                    pipeline.nodes[reader.node].label() +
                                        " changes the frames that it reads at input " + quoted(port.name) +
                                        ", and others read stream " + quoted(stream.name) +
                                        ", too: it is handed a copy of each frame, which takes time and memory");
        }
    }

    void warnOfStarvation(CheckedStream const &stream) {
        StreamEnd const writer = stream.writers.front();
        CheckedNode const &node = pipeline.nodes[writer.node];
        CheckedPort const &port = pipeline.output(writer);
        std::int32_t const limit = node.limitOf(port);
        if (outputSpace(limit, std::thread::hardware_concurrency(), 0) >= 1) return;
        Place place = port.binding->place;
        for (LimitSetting const &setting : node.description->limits)
            if (setting.port == port.name) place = setting.place;
        pipeline.report.warning(place, node.label() + " can never run: the limit " + std::to_string(limit) +
                                           " of output " + quoted(port.name) +
                                           " leaves no room for a single value; 2 is usual, 0 is without bound");
    }

    void warnOfNoReader(CheckedStream const &stream) {
        if (!stream.readers.empty() || stream.meant) return;
        CheckedPort const &port = pipeline.output(stream.writers.front());
        pipeline.report.warning(port.binding->place, pipeline.nodes[stream.writers.front().node].label() +
                                                         " writes stream " + quoted(stream.name) + " from output " +
                                                         quoted(port.name) + ", but no node reads it");
    }

    void warnOfNoOutput(CheckedNode const &node) {
        if (node.specification == nullptr || node.failed) return;
        if (node.outputs.empty() && !node.specification->outputs.empty())
            pipeline.report.warning(node.description->place,
                                    node.label() + " works for nothing: none of its outputs is connected");
    }

    CheckedPipeline &pipeline;
    std::vector<std::string> written;
};

} // namespace

void checkStreams(CheckedPipeline &pipeline) { StreamChecker(pipeline).check(); }

} // namespace zun::engine
