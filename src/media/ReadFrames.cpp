// Reads frames from pictures, videos and streams.
//
//   - type: ReadFrames
//     outputs: {rgb: picture}
//     options: {path: frames/in-%05d.png, first: 1}
//
// What the path may be is told in docs/reading.md. The frames of each tick have storage of their own, so nodes may
// draw into them.

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <set>

#include <sys/stat.h>

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/Registrations.h"
#include "media/Source.h"
#include "media/files/FileList.h"
#include "media/reading/FrameReader.h"
#include "media/reading/FrameSequence.h"
#include "media/reading/Input.h"
#include "media/reading/OpenedReaders.h"
#include "node/Registration.h"

namespace zun::media {
namespace {

template <class Value>
struct Word {
    char const *word;
    Value value;
};

/// The value that an option's word stands for.
template <class Value, std::size_t count>
Value meaningOf(char const *option, std::string const &text, std::array<Word<Value>, count> const &words) {
    std::string known;
    for (auto const &[word, value] : words) {
        if (text == word) return value;
        known += (known.empty() ? "" : ", ") + std::string(word);
    }
    throw Exception(std::string("the option ") + option + " is '" + text + "', but should be one of: " + known);
}

} // namespace

class ReadFrames : public Node {
    std::string path, gaps, orientation, damaged, format, size, rate, live;
    int first = -1, count = 0, repeat = 1;
    bool deinterlace = false;
    OutputStream<RgbFrame> rgb;
    OutputStream<GreyFrame> grey;
    OutputStream<FrameSource> source;

    /// What the options stand for. Pictures are read side by side, by the tick; anything else is one sequence.
    struct Plan {
        ReadSettings settings;
        FileList list;
        std::uint64_t skipped = 0;           ///< entries of the list, or frames of the first video
        bool pictures = false;               ///< a frame a file
        std::unique_ptr<FrameReader> opened; ///< of the first file
    };

    std::unique_ptr<FrameSequence> sequence;   ///< null for pictures
    std::vector<FileList::Entry> entries;      ///< the pictures
    std::optional<std::uint64_t> frames;       ///< that are played, once, where the number is certain
    std::shared_ptr<SourceInfo const> about;   ///< of pictures
    std::unique_ptr<FrameReader> firstPicture; ///< opened already; null once it is read
    ReadSettings settings;
    std::mutex mutex;
    std::set<std::string> said; ///< what was warned of
    bool ended = false;

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "ReadFrames",
                                      .sourcePath = "media/ReadFrames",
                                      .classCode = 1,
                                      .summary = "Reads frames from pictures, videos and streams"};
        static constexpr auto inputs = rows();
        static constexpr auto outputs =
            rows(output("rgb", "zun::Mat<zun::Vec3b, 2>", &ReadFrames::rgb, "the frame in colour"),
                 output("grey", "zun::Mat<unsigned char, 2>", &ReadFrames::grey, "the frame in grey"),
                 output("source", "zun::media::FrameSource", &ReadFrames::source,
                        "the frame's file, number and time; nodes that need it are connected by themselves")
                     .besideFrames());
        static constexpr auto options = rows(
            requiredOption("path", "std::string", &ReadFrames::path,
                           "a picture, a video, a folder, a glob, a list file, a sequence such as in-%05d.png, - for "
                           "standard input, a pipe, an address or a camera")
                .is(OptionKind::Path),
            option("first", "int", "-1", &ReadFrames::first,
                   "number of the first file of a sequence; index of the first frame of a video or of the first file "
                   "of a list; -1: the lowest there is")
                .atLeast(-1),
            option("count", "int", "0", &ReadFrames::count, "how many frames to read; fewer are an error; 0: all")
                .atLeast(0),
            option("repeat", "int", "1", &ReadFrames::repeat, "how often to play them; 0: without end").atLeast(0),
            option("gaps", "std::string", "error", &ReadFrames::gaps,
                   "what to do at a missing number of a sequence: error or skip"),
            option("orientation", "std::string", "apply", &ReadFrames::orientation,
                   "apply turns frames upright as the file says; keep leaves them as they are stored"),
            option("damaged", "std::string", "error", &ReadFrames::damaged,
                   "what to do at damaged data: error fails after the frames before; stop ends there; skip leaves "
                   "damaged frames out"),
            option("deinterlace", "bool", "false", &ReadFrames::deinterlace,
                   "make whole frames from the fields of an interlaced video"),
            option("format", "std::string", "", &ReadFrames::format,
                   "of raw frames: rgb24, gray8 or another pixel format of FFmpeg; empty: the data state their own"),
            option("size", "std::string", "", &ReadFrames::size, "of raw frames, such as 640x480"),
            option("fps", "std::string", "", &ReadFrames::rate, "of raw frames, such as 30 or 30000/1001; empty: 25"),
            option("live", "std::string", "drop", &ReadFrames::live,
                   "what to do where an address or camera is faster than the run: drop frames, or block it"));
    };

    bool isGenerator() const override { return true; }

    /// Pictures are decoded side by side; anything else is read in order.
    bool mayOverlap() const {
        try {
            Plan made = plan();
            keepOpened(made.list.files.front().file, made.settings, std::move(made.opened));
            return made.pictures;
        } catch (Exception const &) {
            return false; // initialize() will say why
        }
    }

    void initialize() override {
        Plan made = plan();
        settings = made.settings;
        if (made.pictures)
            initializePictures(std::move(made));
        else
            initializeSequence(std::move(made));
    }

    Tick getRunUntil(Tick end) override {
        return repeat == 0 || !frames ? end : std::min(end, *frames * static_cast<std::uint64_t>(repeat));
    }

    bool processProgressNeverPossible() override { return ended; }

    void process(Tick tick) override {
        WantedFrames const wanted{rgb.connected(), grey.connected()};
        Frames result;
        FrameSource from;
        if (sequence == nullptr)
            readPicture(tick % *frames, wanted, result, from);
        else if (!readSequence(tick, wanted, result, from))
            return;
        if (source.connected()) writeStream(tick, source, std::move(from));
        if (wanted.rgb) writeStream(tick, rgb, std::move(result.rgb));
        if (wanted.grey) writeStream(tick, grey, std::move(result.grey));
    }

    void flush(Tick) override {
        sequence.reset();
        firstPicture.reset();
    }

    /// What the frames will be, as far as that shows without taking them from a stream, or why they can't be read.
    Forecast forecast() const {
        Forecast forecast;
        try {
            if (path != "-" && !FileList::isStream(path)) forecast.files = {FileList::use(path)};
            Plan made = plan();
            forecast.notes = made.list.notes;
            if (made.opened)
                foretell(std::move(made), forecast);
            else
                foretellStream(made.settings, forecast);
        } catch (Exception const &error) {
            forecast.problems.push_back(error.what());
        }
        return forecast;
    }

private:
    ReadSettings readSettings() const {
        ReadSettings read;
        read.applyOrientation =
            meaningOf<bool>("orientation", orientation, std::array<Word<bool>, 2>{{{"apply", true}, {"keep", false}}});
        read.damaged =
            meaningOf<Damaged>("damaged", damaged,
                               std::array<Word<Damaged>, 3>{
                                   {{"error", Damaged::Error}, {"stop", Damaged::Stop}, {"skip", Damaged::Skip}}});
        read.dropLate = meaningOf<bool>("live", live, std::array<Word<bool>, 2>{{{"drop", true}, {"block", false}}});
        read.deinterlace = deinterlace;
        read.format = format;
        read.size = size;
        read.rate = rate;
        return read;
    }

    bool isOneStream() const {
        if (path == "-" || FileList::isStream(path)) return true;
        struct stat facts {};
        return ::stat(path.c_str(), &facts) == 0 && S_ISFIFO(facts.st_mode);
    }

    /// Opens the first file, unless it is a stream, from which a forecast must not take anything.
    Plan plan() const {
        if (first < -1 || count < 0 || repeat < 0)
            throw Exception("the options first, count and repeat can't be negative");
        Gaps const onGap =
            meaningOf<Gaps>("gaps", gaps, std::array<Word<Gaps>, 2>{{{"error", Gaps::Error}, {"skip", Gaps::Skip}}});
        Plan made{readSettings(), FileList(path, first, onGap, static_cast<std::uint64_t>(count)), 0, false, nullptr};
        std::vector<FileList::Entry> const &files = made.list.files;
        bool const begun = made.list.isList && first > 0 && files.front().number == static_cast<std::uint64_t>(first);
        if (first > 0 && !begun) made.skipped = static_cast<std::uint64_t>(first);
        if (isOneStream()) {
            if (repeat != 1)
                throw Exception(inputName(path) + " is a stream, which can't be played again: leave the "
                                                  "option repeat out");
            return made;
        }
        made.opened = takeOpened(files.front().file, made.settings);
        made.pictures = format.empty() && std::all_of(files.begin(), files.end(), [](FileList::Entry const &entry) {
                            return isStillName(entry.file);
                        });
        if (files.size() == 1) made.pictures = made.pictures && made.opened->frameCount() == 1;
        return made;
    }

    void initializePictures(Plan made) {
        entries = std::move(made.list.files);
        if (made.skipped >= entries.size()) throw Exception(inputName(path) + " has no frame " + std::to_string(first));
        entries.erase(entries.begin(), entries.begin() + static_cast<std::ptrdiff_t>(made.skipped));
        requireCount(entries.size());
        if (count != 0) entries.resize(static_cast<std::size_t>(count));
        frames = entries.size();
        auto info = std::make_shared<SourceInfo>(made.opened->info());
        info->path = path;
        info->frames = entries.size() * static_cast<std::uint64_t>(repeat);
        info->files.clear();
        for (FileList::Entry const &entry : entries) info->files.push_back(entry.file);
        about = std::move(info);
        for (std::string const &what : made.opened->leftOut()) said.insert(what);
        if (made.skipped == 0) firstPicture = std::move(made.opened);
    }

    void initializeSequence(Plan made) {
        std::uint64_t const skipped = made.skipped;
        bool const certain = made.list.files.size() == 1 && made.opened && made.opened->frameCount();
        if (certain) {
            std::uint64_t const all = *made.opened->frameCount();
            if (skipped >= all) throw Exception(inputName(path) + " has no frame " + std::to_string(skipped));
            requireCount(all - skipped);
            frames = all - skipped;
        }
        if (count != 0) frames = static_cast<std::uint64_t>(count);
        if (made.opened)
            for (std::string const &what : made.opened->leftOut()) said.insert(what);
        FrameSequence::Span const span{skipped, frames, static_cast<std::uint64_t>(repeat)};
        sequence = std::make_unique<FrameSequence>(path, made.list, settings, span, std::move(made.opened));
    }

    void requireCount(std::uint64_t there) const {
        if (count != 0 && static_cast<std::uint64_t>(count) > there)
            throw Exception(inputName(path) + " has " + std::to_string(there) + " frames from " +
                            std::to_string(std::max(first, 0)) + " on, but the option count asks for " +
                            std::to_string(count));
    }

    void readPicture(std::uint64_t index, WantedFrames wanted, Frames &result, FrameSource &from) {
        FileList::Entry const &entry = entries[index];
        std::unique_ptr<FrameReader> opened;
        if (index == 0) {
            std::lock_guard const lock(mutex);
            opened = std::move(firstPicture);
        }
        if (!opened) opened = std::make_unique<FrameReader>(entry.file, settings);
        FrameReader &reader = *opened;
        if (reader.frameCount() != 1)
            sayOnce(entry.file, "holds several frames, of which a list of pictures takes the first: read it by itself");
        reader.next(wanted, result);
        for (std::string const &what : reader.leftOut()) sayOnce(entry.file, what);
        from = {about, entry.file, entry.number, 0, 0};
    }

    bool readSequence(Tick tick, WantedFrames wanted, Frames &result, FrameSource &from) {
        if (ended && tick >= sequence->position()) return false;
        if (sequence->position() > tick) sequence->goBack(tick);
        bool there = true;
        while (there && sequence->position() < tick) there = sequence->next({}, result, from);
        if (there) there = sequence->next(wanted, result, from);
        if (there)
            for (std::string const &what : sequence->leftOut()) sayOnce(from.file, what);
        ended = !there;
        return there;
    }

    /// Warns of what a file leaves out that no file before did.
    void sayOnce(std::string const &file, std::string const &what) {
        std::lock_guard const lock(mutex);
        if (said.insert(what).second) warnOnce(inputName(file) + " " + what);
    }

    void foretell(Plan made, Forecast &forecast) const {
        FrameReader const &reader = *made.opened;
        std::uint64_t const pixels = std::uint64_t(reader.width()) * reader.height();
        forecast.bytes = {{"rgb", pixels * sizeof(Vec3b)}, {"grey", pixels}};
        for (std::string const &what : reader.leftOut())
            forecast.warnings.push_back("reads " + inputName(made.list.files.front().file) + ": it " + what);
        if (!format.empty()) noteRate(forecast);
        FrameSequence all(path, made.list, made.settings, {}, std::move(made.opened));
        tellSource(*all.about(), forecast);
        keepOpened(made.list.files.front().file, made.settings, all.release());
    }

    void foretellStream(ReadSettings const &read, Forecast &forecast) const {
        if (path != "-" && FileList::isStream(path)) requireAllowed(path);
        SourceInfo info;
        if (!format.empty()) {
            std::uint64_t pixels = 0;
            info = rawInfo(path, read, pixels);
            forecast.bytes = {{"rgb", pixels * sizeof(Vec3b)}, {"grey", pixels}};
            noteRate(forecast);
        }
        info.path = path;
        info.files = {path};
        info.moving = true;
        info.live = path != "-" && FileList::isStream(path);
        tellSource(std::move(info), forecast);
    }

    void noteRate(Forecast &forecast) const {
        if (rate.empty())
            forecast.notes.push_back("takes 25 frames a second for " + inputName(path) +
                                     "; the option fps sets another rate");
    }

    static void tellSource(SourceInfo info, Forecast &forecast) {
        FrameSource told;
        told.file = info.files.front();
        forecast.moves = info.moving;
        told.info = std::make_shared<SourceInfo>(std::move(info));
        forecast.source = std::make_shared<VariantType<FrameSource>>(std::move(told));
    }
};

void registerReadFrames() { static Registration<ReadFrames> const once; }

} // namespace zun::media
