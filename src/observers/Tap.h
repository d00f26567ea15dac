// What is on a stream, written to files while a run goes on.
#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "media/Source.h"
#include "media/files/NameClaim.h"
#include "media/writing/OutputName.h"
#include "observers/ObserverList.h"
#include "observers/RecordLines.h"
#include "observers/TapFiles.h"
#include "observers/TapRequest.h"
#include "run/Observer.h"

namespace zun::observers {

/// Writes the values of a stream, as the request says: frames as pictures (TapFiles.h), everything else, and frames for
/// a pattern that ends with .jsonl, as JSON lines. By default, frames go to STREAM-{tick:05}.png and everything else to
/// STREAM.jsonl. Files are encoded and written on the worker that wrote the value. A value that can't be shown is left
/// out, with one warning; a file that can't be written ends the tap, by an exception.
class Tap final : public engine::Observer {
public:
    /// Throws zun::Exception for a stream that the graph doesn't have, names that can't be those of the files, and a
    /// folder that can't be written into.
    Tap(TapRequest request, engine::Graph const &graph, ObserverList::Warn warn);

    /// What messages call it: "the tap of stream 'blurred'".
    std::string label() const { return "the tap of stream '" + request.stream + "'"; }

    /// The names of its files; nothing where only a value shows whether they are pictures.
    std::optional<media::OutputName> const &files() const { return names; }

    void runBegins(engine::Graph const &graph, unsigned workers, Tick first, Tick total) override;
    void runEnded(Tick ticks) override;
    void runFailed(engine::GraphNode const *, Tick, std::string const &) override { failed = true; }
    void valueWritten(unsigned worker, std::size_t stream, Tick tick, Variant const &value,
                      ValueType const *type) override;
    void advanced(Tick ticksDone, std::uint64_t bytesInFlight) override;

private:
    /// A value that came before its source.
    struct Early {
        std::shared_ptr<Variant> value;
        ValueType const *type = nullptr;
    };

    void settle(bool asPictures);
    void requireNames(engine::Graph const &graph) const;
    bool awaitsSource(Tick tick, Variant const &value, ValueType const *type);
    void noteSource(Tick tick, Variant const &value);
    void write(Tick tick, Variant const &value, ValueType const *type);
    void writeFile(TapFile const &file);
    std::string nameAt(Tick tick);
    void leaveOut(Tick tick, std::string const &why);

    TapRequest const request;
    ObserverList::Warn const warning;
    std::size_t stream = 0;
    std::optional<std::size_t> sourceStream; ///< with the source of each frame, where the names need it

    // Settled before the run, or else by the first value.
    std::once_flag settled;
    bool pictures = false;
    std::optional<media::OutputName> names;
    std::optional<media::NameClaim> claim;
    std::unique_ptr<RecordLines> lines; ///< where all records go to one file
    std::atomic<RecordLines *> openLines = nullptr;

    Tick first = 0;
    bool failed = false;
    std::atomic<bool> wrote = false, warned = false;

    std::mutex mutex; ///< of all below
    std::map<Tick, media::FrameSource> sources;
    std::map<Tick, Early> early;
    std::set<std::string> written; ///< names, where they don't vary by tick
};

/// Throws zun::Exception where two taps, or a tap and a node, have the same files, as far as their names show it.
void requireDistinctFiles(std::vector<std::unique_ptr<Tap>> const &taps, engine::Graph const &graph);

} // namespace zun::observers
