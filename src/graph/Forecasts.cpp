// What the nodes forecast: the files that they will use, and what the streams will hold.
#include <algorithm>
#include <filesystem>
#include <limits>
#include <map>

#include "graph/GraphBuilder.h"
#include "pipeline/PipelineNode.h"

namespace zun::engine {
namespace {

using Bytes = std::optional<std::uint64_t>;

/// What a frame of one type takes if one of the other type and the same shape takes `bytes`.
Bytes sizeInOtherType(std::uint64_t bytes, ValueType const *from, ValueType const *to) {
    if (from == to) return bytes;
    if (from == nullptr || to == nullptr || from->elementBytes == 0 || to->elementBytes == 0) return std::nullopt;
    return bytes / from->elementBytes * to->elementBytes;
}

/// The size of an output's values: forecast, or the same for all values of its type, or what follows from an input's.
Bytes sizeOf(GraphNode const &node, GraphPort const &output, Forecast const &forecast,
             std::vector<GraphStream> const &streams) {
    if (auto const known = forecast.bytes.find(output.name); known != forecast.bytes.end()) return known->second;
    ValueType const *const type = valueTypeNamed(output.type);
    if (type != nullptr && type->fixedBytes != 0) return type->fixedBytes;
    if (output.row == unknownRow) return std::nullopt;
    std::string const &like = node.type->facts.outputs[output.row].shapedLike;
    if (like.empty()) return std::nullopt;
    for (GraphPort const &input : node.inputs)
        if (like == connectedInput || input.name == like)
            if (Bytes const known = streams[input.stream].bytesPerValue)
                return sizeInOtherType(*known, valueTypeNamed(input.type), type);
    return std::nullopt;
}

/// The sum, or the largest number if that is too small for it.
std::uint64_t addProduct(std::uint64_t sum, std::uint64_t a, std::uint64_t b) {
    std::uint64_t product = 0;
    bool const overflows = __builtin_mul_overflow(a, b, &product) || __builtin_add_overflow(sum, product, &sum);
    return overflows ? std::numeric_limits<std::uint64_t>::max() : sum;
}

/// A path with its folder made regular, so that two ways to write one path compare equal.
std::string regularPath(std::string const &text) {
    std::filesystem::path const path(text);
    std::error_code error;
    std::filesystem::path const folder = path.has_parent_path() ? path.parent_path() : ".";
    std::filesystem::path const regular = std::filesystem::weakly_canonical(std::filesystem::absolute(folder), error);
    return ((error ? folder : regular) / path.filename()).string();
}

/// Whether a name is one of those that a name with a number in it stands for.
bool isAmong(FileUse const &file, FileUse const &numbered) {
    std::string const &name = file.beforeNumber, &before = numbered.beforeNumber, &after = numbered.afterNumber;
    if (name.size() <= before.size() + after.size() || !name.starts_with(before) || !name.ends_with(after))
        return false;
    std::string const digits = name.substr(before.size(), name.size() - before.size() - after.size());
    return digits.find_first_not_of("0123456789") == std::string::npos;
}

bool areSame(FileUse const &a, FileUse const &b) {
    if (a.numbered == b.numbered) return a.beforeNumber == b.beforeNumber && a.afterNumber == b.afterNumber;
    return a.numbered ? isAmong(b, a) : isAmong(a, b);
}

} // namespace

void GraphBuilder::askForForecasts() {
    std::vector<Forecast> forecasts(graph.nodes.size());
    // Of nodes on a cycle, which are not in the order, nothing is asked: they don't run.
    for (std::size_t const index : graph.order) {
        GraphNode &node = graph.nodes[index];
        Variant const *source = nullptr;
        for (GraphPort const &input : node.inputs) {
            bool const beside = input.row != unknownRow && node.type->facts.inputs[input.row].besideFrames;
            auto const &writers = graph.streams[input.stream].writers;
            if (beside && !writers.empty()) source = forecasts[writers.front().node].source.get();
        }
        forecasts[index] = forecastOf(node, source);
    }
    checkFiles(forecasts);
    estimateSizes(forecasts);
}

Forecast GraphBuilder::forecastOf(GraphNode &node, Variant const *source) {
    if (node.failed || node.type == nullptr || node.type->facts.forecast == nullptr) return {};
    Place const &place = node.description->typePlace;
    try {
        std::unique_ptr<PipelineNode> const built(
            node.type->factory({nullptr, static_cast<int>(node.index)}, node.description->config()));
        Forecast forecast = node.type->facts.forecast(*built, source);
        for (std::string const &problem : forecast.problems) error(node, place, "", "would fail: " + problem);
        for (std::string const &warned : forecast.warnings) warning(node, place, "", " " + warned);
        for (std::string const &noted : forecast.notes) note(node, noted);
        return forecast;
    } catch (std::exception const &failure) {
        error(node, place, "", std::string("would fail: ") + failure.what());
        return {};
    }
}

/// Two nodes that write one file, or one that writes what another reads.
void GraphBuilder::checkFiles(std::vector<Forecast> const &forecasts) {
    struct Use {
        std::size_t node;
        FileUse file;
    };
    std::vector<Use> earlier;
    for (GraphNode &node : graph.nodes)
        for (FileUse file : forecasts[node.index].files) {
            file.beforeNumber = regularPath(file.beforeNumber);
            auto const clash = std::find_if(earlier.begin(), earlier.end(), [&](Use const &other) {
                bool const writes =
                    file.access == FileUse::Access::Write || other.file.access == FileUse::Access::Write;
                return writes && other.node != node.index && areSame(file, other.file);
            });
            if (clash != earlier.end()) {
                auto const verb = [](FileUse const &use) {
                    return use.access == FileUse::Access::Write ? "writes" : "reads";
                };
                error(node, node.description->typePlace, "",
                      std::string(verb(file)) + " " + zun::quoted(file.text) + ", which node " +
                          graph.nodes[clash->node].label() + " " + verb(clash->file) +
                          " in the same run; give one of the two another path");
            }
            earlier.push_back({node.index, std::move(file)});
        }
}

void GraphBuilder::estimateSizes(std::vector<Forecast> const &forecasts) {
    for (std::size_t const index : graph.order)
        for (GraphPort const &output : graph.nodes[index].outputs)
            graph.streams[output.stream].bytesPerValue =
                sizeOf(graph.nodes[index], output, forecasts[index], graph.streams);
    for (GraphStream const &stream : graph.streams)
        if (!stream.writers.empty() && stream.isRead() && stream.isBounded() && stream.capacity > 0)
            graph.knownBytes = addProduct(graph.knownBytes, static_cast<std::uint64_t>(stream.capacity),
                                          stream.bytesPerValue.value_or(0));
}

} // namespace zun::engine
