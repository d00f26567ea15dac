// What the streams will hold.
#include <limits>
#include <thread>

#include "containers/Exception.h"
#include "engine/CheckModel.h"
#include "engine/ValueTypes.h"
#include "pipeline/PipelineNode.h"

namespace zun::engine {
namespace {

using Bytes = std::optional<std::uint64_t>;

Forecast forecastOf(CheckedNode &node, Report &report) {
    if (node.failed || node.specification == nullptr || !node.facts->forecast) return {};
    Place const &place = node.description->typePlace;
    try {
        Forecast forecast = node.facts->forecast(node.description->config());
        for (std::string const &error : forecast.errors) node.error(report, place, "would fail: " + error);
        return forecast;
    } catch (std::exception const &failure) {
        node.error(report, place, std::string("would fail: ") + failure.what());
        return {};
    }
}

/// What a frame of one type takes if one of the other type and the same shape takes `bytes`.
Bytes sizeInOtherType(std::uint64_t bytes, ValueType const *from, ValueType const *to) {
    if (from == to) return bytes;
    if (from == nullptr || to == nullptr || from->elementBytes == 0 || to->elementBytes == 0) return std::nullopt;
    return bytes / from->elementBytes * to->elementBytes;
}

/// The size of an output's values: forecast, or the same for all values of its type, or what follows from an input's.
Bytes sizeOf(CheckedPort const &output, CheckedNode const &node, Forecast const &forecast,
             std::map<std::string, std::uint64_t> const &sizes) {
    if (auto const known = forecast.bytes.find(output.name); known != forecast.bytes.end()) return known->second;
    ValueType const *const type = valueTypeNamed(output.type);
    if (type != nullptr && type->fixedBytes != 0) return type->fixedBytes;
    auto const like = node.facts->sizedLike.find(output.name);
    if (like == node.facts->sizedLike.end()) return std::nullopt;
    for (CheckedPort const &input : node.inputs)
        if (like->second.empty() || input.name == like->second)
            if (auto const known = sizes.find(input.binding->stream); known != sizes.end())
                return sizeInOtherType(known->second, valueTypeNamed(input.type), type);
    return std::nullopt;
}

/// The sum, or the largest number if that is too small for it.
std::uint64_t addProduct(std::uint64_t sum, std::uint64_t a, std::uint64_t b) {
    std::uint64_t product = 0;
    bool const overflows = __builtin_mul_overflow(a, b, &product) || __builtin_add_overflow(sum, product, &sum);
    return overflows ? std::numeric_limits<std::uint64_t>::max() : sum;
}

} // namespace

void estimateSizes(CheckedPipeline &pipeline, CheckReport &result) {
    std::map<std::string, std::uint64_t> sizes; // of the values of each stream, where known
    for (std::size_t const index : pipeline.order) {
        CheckedNode &node = pipeline.nodes[index];
        Forecast const forecast = forecastOf(node, pipeline.report);
        for (CheckedPort const &output : node.outputs)
            if (Bytes const bytes = sizeOf(output, node, forecast, sizes)) sizes[output.binding->stream] = *bytes;
    }
    for (CheckedStream const &stream : pipeline.streams) {
        if (stream.writers.empty() || stream.readers.empty()) continue;
        StreamEnd const writer = stream.writers.front();
        std::int32_t const limit = pipeline.nodes[writer.node].limitOf(pipeline.output(writer));
        std::int32_t const space = outputSpace(limit, std::thread::hardware_concurrency(), 0);
        if (space < 1) continue;
        auto const size = sizes.find(stream.name);
        StreamEstimate const estimate{stream.name, limit == 0 ? 0 : space,
                                      size != sizes.end() ? Bytes(size->second) : std::nullopt};
        if (estimate.bytesPerValue && estimate.values > 0)
            result.knownBytes =
                addProduct(result.knownBytes, static_cast<std::uint64_t>(estimate.values), *estimate.bytesPerValue);
        result.streams.push_back(estimate);
    }
}

} // namespace zun::engine
