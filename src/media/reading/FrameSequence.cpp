#include "media/reading/FrameSequence.h"

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/mathematics.h>
}

#include "containers/Exception.h"
#include "media/reading/Input.h"

namespace zun::media {
namespace {

std::int64_t rescale(std::int64_t time, Rational from, Rational to) {
    if (from == to) return time;
    return av_rescale_q(time, {static_cast<int>(from.numerator), static_cast<int>(from.denominator)},
                        {static_cast<int>(to.numerator), static_cast<int>(to.denominator)});
}

} // namespace

FrameSequence::FrameSequence(std::string const &name, FileList const &files, ReadSettings const &readSettings,
                             Span const &frames, std::unique_ptr<FrameReader> opened)
    : path(name), list(files), settings(readSettings), span(frames), reader(std::move(opened)), toSkip(frames.first) {}

std::shared_ptr<SourceInfo const> FrameSequence::about() {
    if (info == nullptr) {
        if (!reader && !open()) throw Exception("there is no file to read");
        describe();
    }
    return info;
}

/// By the first file that moves, where there is one.
void FrameSequence::describe() {
    auto shared = std::make_shared<SourceInfo>(reader->info());
    if (!shared->moving)
        for (FileList::Entry const &entry : list.files)
            if (!isStillName(entry.file)) {
                *shared = FrameReader(entry.file, settings).info();
                break;
            }
    shared->path = path;
    if (list.files.size() > 1) shared->frames = 0;
    if (shared->frames != 0) shared->frames -= std::min(shared->frames, span.first);
    if (span.count) shared->frames = *span.count;
    shared->frames *= span.rounds;
    if (list.isList) {
        shared->files.clear();
        for (FileList::Entry const &entry : list.files) shared->files.push_back(entry.file);
    }
    info = std::move(shared);
}

bool FrameSequence::open() {
    if (file == list.files.size()) return false;
    reader = std::make_unique<FrameReader>(list.files[file].file, settings);
    return true;
}

/// Within the open file where that can be done; else from the beginning, and the frames before are read again by
/// next().
void FrameSequence::goBack(std::uint64_t index) {
    std::uint64_t const steps = given - index;
    bool const sameFile = reader && list.files.size() == 1 && steps <= inRound;
    if (!sameFile || !reader->skipTo(span.first + inRound - steps)) return rewind();
    if (span.rounds != 0) rounds = std::min(rounds, span.rounds - 1); // it may have been over
    given = index;
    inRound -= steps;
    toSkip = 0;
}

void FrameSequence::rewind() {
    reader.reset();
    file = 0;
    given = inRound = rounds = 0;
    toSkip = span.first;
    offset = end = 0;
}

/// After the last frame of a round: whether there is another round.
bool FrameSequence::beginRound() {
    if (inRound == 0 && given == 0) throw Exception(inputName(path) + " has no frame " + std::to_string(span.first));
    if (span.count && inRound < *span.count)
        throw Exception(inputName(path) + " has " + std::to_string(inRound) + " frames from " +
                        std::to_string(span.first) + " on, but the option count asks for " +
                        std::to_string(*span.count));
    rounds++;
    if (rounds == span.rounds || inRound == 0) return false;
    reader.reset();
    file = 0;
    inRound = 0;
    toSkip = span.first;
    offset = end;
    return true;
}

bool FrameSequence::next(WantedFrames wanted, Frames &frames, FrameSource &source) {
    if (span.rounds != 0 && rounds == span.rounds) return false;
    about();
    while (true) {
        if (span.count && inRound == *span.count && !beginRound()) return false;
        if (!reader && !open()) {
            if (!beginRound()) return false;
            continue;
        }
        std::uint64_t const before = reader->position(), target = before + toSkip;
        if (reader->skipTo(target) && reader->next(wanted, frames)) break;
        toSkip = target - std::min(reader->position(), target);
        bool const isLast = file + 1 == list.files.size() && rounds + 1 == span.rounds;
        if (isLast) return beginRound(); // never; and the reader stays, to go back in
        reader.reset();
        file++;
        offset = end;
    }
    toSkip = 0;
    left = reader->leftOut();
    place(source);
    given++;
    inRound++;
    return true;
}

/// What is known of the frame that was read.
void FrameSequence::place(FrameSource &source) {
    FileList::Entry const &entry = list.files[file];
    SourceInfo const &own = reader->info();
    source.info = info;
    source.file = entry.file;
    source.number = own.moving || reader->frameCount().value_or(0) > 1 ? reader->position() - 1 : entry.number;
    source.time = source.duration = source.start = 0;
    if (!info->moving) return;
    std::int64_t const step =
        info->rate.numerator == 0 ? 1 : rescale(1, {info->rate.denominator, info->rate.numerator}, info->timeBase);
    source.time = offset + (own.moving ? rescale(reader->time(), own.timeBase, info->timeBase) : 0);
    source.start = rescale(reader->start(), own.timeBase, info->timeBase);
    source.duration = own.moving ? rescale(reader->duration(), own.timeBase, info->timeBase) : step;
    end = source.time + std::max<std::int64_t>(source.duration > 0 ? source.duration : step, 1);
}

} // namespace zun::media
