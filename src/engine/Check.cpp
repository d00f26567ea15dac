#include "engine/Check.h"

#include "engine/CheckModel.h"
#include "pipeline/NodeSpecification.h"

namespace zun::engine {

CheckedPipeline::CheckedPipeline(Description const &description, NodeFactsTable const &facts, Report &findings)
    : report(findings), nodes(description.nodes.size()) {
    static NodeFacts const noFacts;
    for (std::size_t i = 0; i < nodes.size(); i++) {
        CheckedNode &node = nodes[i];
        node.description = &description.nodes[i];
        auto const known = facts.find(node.description->type);
        node.facts = known != facts.end() ? &known->second : &noFacts;
        checkNode(node, report);
        addStreams(i);
    }
}

CheckedStream &CheckedPipeline::streamNamed(std::string const &name) {
    auto const [entry, isNew] = streamIndex.emplace(name, streams.size());
    if (isNew) streams.emplace_back().name = name;
    return streams[entry->second];
}

void CheckedPipeline::addStreams(std::size_t index) {
    CheckedNode const &node = nodes[index];
    for (std::size_t port = 0; port < node.inputs.size(); port++)
        streamNamed(node.inputs[port].binding->stream).readers.push_back({index, port});
    for (std::size_t port = 0; port < node.outputs.size(); port++)
        streamNamed(node.outputs[port].binding->stream).writers.push_back({index, port});
}

CheckReport check(Description const &description, NodeFactsTable const &facts) {
    CheckReport result;
    Report report;
    CheckedPipeline pipeline(description, facts, report);
    checkStreams(pipeline);
    checkCycles(pipeline);
    estimateSizes(pipeline, result);
    result.findings = report.takeSorted();
    return result;
}

} // namespace zun::engine
