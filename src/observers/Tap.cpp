#include "observers/Tap.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <utility>

#include "containers/Exception.h"
#include "media/writing/OutputFormats.h"
#include "observers/Picture.h"
#include "observers/Writable.h"
#include "pipeline/NearestName.h"

namespace zun::observers {
namespace {

namespace fs = std::filesystem;

std::size_t findStream(engine::Graph const &graph, std::string const &name) {
    std::vector<std::string> known;
    for (std::size_t i = 0; i < graph.streams.size(); i++) {
        if (graph.streams[i].name == name) return i;
        known.push_back(graph.streams[i].name);
    }
    throw Exception("there is no stream '" + name + "'" + suggestion(name, known));
}

/// A stream's name as a part of a file's.
std::string fileName(std::string const &stream) {
    std::string name;
    for (char const c : stream) {
        if (c == '{' || c == '}' || c == '%') name += c;
        name += c == '/' ? '_' : c;
    }
    return name;
}

bool isPictureName(std::string const &file) {
    media::OutputFormat const *const format = media::formatOf(file, "");
    return format != nullptr && format->isPicture();
}

/// The stream with the sources of the frames that reach a node, the nearest if there are several.
std::optional<std::size_t> findSources(engine::Graph const &graph, std::size_t node) {
    std::deque<std::size_t> next{node};
    std::set<std::size_t> seen{node};
    for (; !next.empty(); next.pop_front()) {
        engine::GraphNode const &current = graph.nodes[next.front()];
        NodeFacts::Output const *const beside = current.type->facts.outputBesideFrames();
        for (engine::GraphPort const &output : current.outputs)
            if (beside != nullptr && output.name == beside->name) return output.stream;
        for (engine::StreamRead const &read : current.reads)
            if (std::size_t const writer = graph.streams[read.stream].producer(); seen.insert(writer).second)
                next.push_back(writer);
    }
    return std::nullopt;
}

/// A path with two ways to write its folder made one.
std::string regular(std::string const &pattern) { return fs::absolute(pattern).lexically_normal().string(); }

/// The file or files that an option of a node names, as a pattern; empty for an option of another kind.
std::string patternIn(engine::GraphNode const &node, engine::OptionSetting const &option) {
    NodeFacts::Option const *const fact = node.type->facts.findOption(option.name);
    bool const isPath = fact != nullptr && fact->sense.kind == OptionKind::Path;
    if (!isPath || option.value.type != OptionNode::Type::STRING) return "";
    try {
        return regular(media::OutputName(option.value.stringValue).pattern());
    } catch (Exception const &) {
        return regular(option.value.stringValue); // a path to read, such as a glob
    }
}

} // namespace

Tap::Tap(TapRequest given, engine::Graph const &graph, ObserverList::Warn warn)
    : request(std::move(given)), warning(std::move(warn)), stream(findStream(graph, request.stream)) {
    engine::GraphStream const &tapped = graph.streams[stream];
    ValueType const *const type = valueTypeNamed(graph.output(tapped.writers.front()).type);
    bool const named = !request.pattern.empty();
    bool const asPictures = named ? isPictureName(request.pattern) : type != nullptr && showsAsPictures(*type);
    std::string const ending = fs::path(request.pattern).extension().string();
    if (named && !asPictures && ending != ".jsonl" && ending != ".json")
        throw Exception("'" + request.pattern +
                        "' doesn't say what to write: frames go to a picture such as .png, and everything to .jsonl");
    if (named && asPictures && type != nullptr && !showsAsPictures(*type))
        throw Exception("stream '" + request.stream + "' holds " + type->spelling +
                        ", which is not a frame: give a name that ends with .jsonl instead of '" + request.pattern +
                        "'");
    if (named || type != nullptr) {
        std::call_once(settled, [&] { settle(asPictures); });
        requireNames(graph);
        if (names->needsSource()) sourceStream = findSources(graph, tapped.producer());
    }
    if (!named) requireWritable("./x");
}

/// Claims the files.
void Tap::settle(bool asPictures) {
    pictures = asPictures;
    std::string const usual = fileName(request.stream) + (pictures ? "-{tick:05}.png" : ".jsonl");
    names.emplace(request.pattern.empty() ? usual : request.pattern);
    std::string const fixed =
        names->text().substr(0, std::min(names->text().find_first_of("{%"), names->text().size()));
    requireWritable(names->varies() ? (fs::path(fixed).parent_path() / "x").string() : names->file(0, nullptr));
    if (names->varies())
        claim.emplace(*names);
    else if (!pictures)
        lines = std::make_unique<RecordLines>(names->file(0, nullptr));
    openLines = lines.get();
}

void Tap::requireNames(engine::Graph const &graph) const {
    if (pictures && !names->varies() && !request.ticks.isOne()) {
        fs::path const path(names->text());
        throw Exception("'" + names->text() + "' writes every tick to one file: put {tick:05} into it, as in '" +
                        (path.parent_path() / path.stem()).string() + "-{tick:05}" + path.extension().string() + "'");
    }
    if (names->needsSource() && !findSources(graph, graph.streams[stream].producer()))
        throw Exception("the fields of '" + names->text() +
                        "' come from the source of the frames, but no ReadFrames that tells its sources leads to this "
                        "stream: use {tick}");
}

void Tap::runBegins(engine::Graph const &, unsigned, Tick firstTick, Tick) { first = firstTick; }

void Tap::advanced(Tick ticksDone, std::uint64_t) {
    if (RecordLines *const open = openLines.load(std::memory_order_acquire)) open->completed(first + ticksDone);
}

void Tap::valueWritten(unsigned, std::size_t where, Tick tick, Variant const &value, ValueType const *type) {
    if ((where != stream && where != sourceStream) || !request.ticks.contains(tick)) return;
    if (where == sourceStream) noteSource(tick, value);
    if (where == stream && !awaitsSource(tick, value, type)) write(tick, value, type);
}

/// Whether the source of a value that its own node wrote is still to come. A copy of the value waits for it then.
bool Tap::awaitsSource(Tick tick, Variant const &value, ValueType const *type) {
    std::lock_guard const lock(mutex);
    if (!sourceStream || sources.contains(tick) || type == nullptr) return false;
    early[tick] = {type->copy(value), type};
    return true;
}

void Tap::noteSource(Tick tick, Variant const &value) {
    auto const *const source = dynamic_cast<VariantType<media::FrameSource> const *>(&value);
    if (source == nullptr) return;
    std::unique_lock lock(mutex);
    sources[tick] = source->value;
    auto const waited = early.extract(tick);
    lock.unlock();
    if (!waited.empty()) write(tick, *waited.mapped().value, waited.mapped().type);
}

void Tap::write(Tick tick, Variant const &value, ValueType const *type) {
    bool const hasFrames = frameCount(value) > 0 || isFrameList(value);
    std::call_once(settled, [&] { settle(hasFrames); });
    std::vector<TapFile> files;
    std::string line;
    try {
        if (pictures && !hasFrames)
            throw Exception("it holds " + (type != nullptr ? type->spelling : "a value") + ", which is not a frame");
        if (pictures)
            files = pictureFiles(value, nameAt(tick), {request.stream, tick, type});
        else
            line = recordLine(value, tick);
        if (!pictures && lines == nullptr) files = {{nameAt(tick), line}};
    } catch (Exception const &error) {
        return leaveOut(tick, error.what());
    }
    if (lines != nullptr) lines->add(tick, std::move(line));
    for (TapFile const &file : files) writeFile(file);
    wrote = true;
}

void Tap::writeFile(TapFile const &file) {
    if (names->varies()) {
        fs::path const folder = fs::path(file.name).parent_path();
        std::error_code error;
        if (!folder.empty()) fs::create_directories(folder, error);
    }
    if (!names->variesByTick()) {
        std::lock_guard const lock(mutex);
        if (!written.insert(file.name).second)
            throw Exception("'" + file.name + "' was written already: put {tick:05} into its name");
    }
    media::AtomicFile place(file.name, names->varies() ? media::Claim::None : media::Claim::Path);
    place.write(file.bytes);
    place.commit();
}

std::string Tap::nameAt(Tick tick) {
    if (!sourceStream) return names->file(tick, nullptr);
    std::lock_guard const lock(mutex);
    auto const source = sources.extract(tick);
    if (source.empty()) throw Exception("nothing is known of the frame's source");
    return names->file(tick, &source.mapped());
}

void Tap::leaveOut(Tick tick, std::string const &why) {
    if (!warned.exchange(true))
        warning(label() + " leaves out tick " + std::to_string(tick) + ", and others like it: " + why);
}

void Tap::runEnded(Tick ticks) {
    // After a failure, what came of its tick shows why.
    if (lines != nullptr) lines->finish(failed ? endless : first + ticks);
    claim.reset();
    if (!wrote && !warned && ticks > 0)
        warning(label() + " wrote nothing: the run wrote no value to it at the ticks of '" + request.text + "'");
}

void requireDistinctFiles(std::vector<std::unique_ptr<Tap>> const &taps, engine::Graph const &graph) {
    std::map<std::string, std::string> users; // by the pattern of their files
    for (engine::GraphNode const &node : graph.nodes)
        for (engine::OptionSetting const &option : node.description->options)
            if (std::string const pattern = patternIn(node, option); !pattern.empty())
                users.emplace(pattern, "node " + node.label());
    for (std::unique_ptr<Tap> const &tap : taps) {
        if (!tap->files()) continue;
        auto const [user, isNew] = users.emplace(regular(tap->files()->pattern()), tap->label());
        if (!isNew)
            throw Exception(tap->label() + " and " + user->second + " use the same file '" + tap->files()->text() +
                            "': give one of the two another name");
    }
}

} // namespace zun::observers
