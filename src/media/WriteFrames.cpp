// Writes frames to images, one a tick, to a single image, to a video, or to a stream.
//
//   - type: WriteFrames
//     inputs: {frames: negative}
//     options: {path: "out/{stem}-negative.png"}
//
// An image file is complete when its tick is done, a video when the run ends, even by a failure; until then they stand
// beside their place under the name of a PartialFile. The names come from the source of the frames, and so do the times
// and the sound of a video.

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include <unistd.h>

#include "containers/Exception.h"
#include "media/Registrations.h"
#include "media/files/AtomicFile.h"
#include "media/files/NameClaim.h"
#include "media/files/PartialFile.h"
#include "media/writing/ByteSink.h"
#include "media/writing/OutputForecast.h"
#include "media/writing/OutputName.h"
#include "media/writing/PictureEncoders.h"
#include "media/writing/VideoWriter.h"
#include "node/Registration.h"

namespace zun::media {
namespace {

/// The folder in which all files of a name stand, or folders of their own.
std::filesystem::path fixedFolder(OutputName const &name) {
    FrameSource const one{nullptr, "/a/a.a", 0, 0, 0}, other{std::make_shared<SourceInfo>(), "/b/b.b", 1, 1, 0};
    std::string const first = name.file(0, &one), second = name.file(1, &other);
    auto const end = std::mismatch(first.begin(), first.end(), second.begin(), second.end()).first;
    return std::filesystem::path(std::string(first.begin(), end)).parent_path();
}

void makeFolderOf(std::string const &file) {
    std::filesystem::path const folder = std::filesystem::path(file).parent_path();
    std::error_code error;
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    if (error) throw Exception("the folder '" + folder.string() + "' can't be made: " + error.message());
}

void writeBytes(std::string const &file, ByteSink &sink, Bytes const &bytes) {
    constexpr std::size_t step = 1 << 30; // counted by an int
    for (std::size_t done = 0; done < bytes.size(); done += step)
        avio_write(sink.context(), bytes.data() + done, static_cast<int>(std::min(step, bytes.size() - done)));
    if (int const error = sink.flush(); error < 0)
        throw Exception("'" + file + "' can't be written: " + av::reason(error));
}

} // namespace

class WriteFrames : public Node {
    std::string path, container, times, codec, preset, pixelFormat, audio, subsampling;
    float scale = 0, rate = 0;
    int quality = 0, pngLevel = 0, crf = 0, bitRate = 0, threads = 0;
    bool lossless = false;
    InputStream<Variant> frames;
    InputStream<FrameSource> source;

    std::optional<OutputName> name;
    std::unique_ptr<PartialFile> claimed; ///< the only file, from the start on, until it is written
    std::optional<NameClaim> claim;       ///< of several files
    std::unique_ptr<VideoWriter> video;
    std::string videoFile;

    std::mutex mutex;
    std::map<std::string, std::string> written; ///< files, and what they are from

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "WriteFrames",
                                      .sourcePath = "media/WriteFrames",
                                      .classCode = 1,
                                      .summary = "Writes frames to images or a video"};
        static constexpr auto inputs =
            rows(input("frames", "any", &WriteFrames::frames, "frames of bytes, or, with a scale, of floats"),
                 optionalInput("source", "zun::media::FrameSource", &WriteFrames::source,
                               "file, number and time of each frame; connected by itself, unless it is \"-\"")
                     .besideFrames());
        static constexpr auto outputs = rows();
        static constexpr auto options =
            rows(requiredOption("path", "std::string", &WriteFrames::path,
                                "out/{stem}.png or out-%05d.png for an image a tick, an image, a video, or - for the "
                                "standard output")
                     .is(OptionKind::Path),
                 option("container", "std::string", "", &WriteFrames::container,
                        "mp4, nut, y4m, rawvideo ...; empty: what the ending of the path says"),
                 option("scale", "float", "0.0", &WriteFrames::scale,
                        "factor for numbers before they are rounded to bytes; 0: none"),
                 option("times", "std::string", "source", &WriteFrames::times,
                        "of a video: source keeps the source's times; constant spaces them evenly, at the mean rate"),
                 option("fps", "float", "0.0", &WriteFrames::rate,
                        "of a video: frames per second, evenly spaced; 0: as in the source, 25 where there is none")
                     .between(0, mostRate),
                 option("audio", "std::string", "copy", &WriteFrames::audio,
                        "of a video: copy takes the sound of the source; none leaves it out"),
                 option("codec", "std::string", "auto", &WriteFrames::codec,
                        "of a video: auto, h264, h265, vp9, av1, ffv1, prores, mjpeg, rawvideo or png"),
                 option("lossless", "bool", "false", &WriteFrames::lossless,
                        "of a video or a WebP: keep every pixel as it is"),
                 option("crf", "int", "18", &WriteFrames::crf, "of a video with loss: quality, 0 is the best")
                     .between(0, mostCrf),
                 option("preset", "std::string", "medium", &WriteFrames::preset,
                        "of a video: from ultrafast to veryslow; slower is smaller"),
                 option("bitRate", "int", "0", &WriteFrames::bitRate,
                        "of a video: kilobits per second in place of crf; 0: by crf")
                     .atLeast(0),
                 option("pixelFormat", "std::string", "", &WriteFrames::pixelFormat,
                        "of a video: FFmpeg's name, such as yuv444p; by default yuv420p, which every player shows"),
                 option("threads", "int", "0", &WriteFrames::threads, "of a video's encoder; 0: as many as the run has")
                     .atLeast(0),
                 option("quality", "int", "95", &WriteFrames::quality,
                        "of JPEG, WebP and Motion JPEG: from 1 to 100, the best")
                     .between(leastQuality, mostQuality),
                 option("subsampling", "std::string", "auto", &WriteFrames::subsampling,
                        "of JPEG: 4:4:4, 4:2:0, or auto for 4:4:4 from quality 90 on"),
                 option("pngLevel", "int", "1", &WriteFrames::pngLevel,
                        "of PNG: from 0, not compressed, to 12, smallest and slowest")
                     .between(leastPngLevel, mostPngLevel));
    };

    bool hasSideEffects() const override { return true; }

    /// Images are encoded side by side; the frames of a video follow one another.
    bool mayOverlap() const { return writesPictures() && !isWrittenAsStream(path); }

    void initialize() override {
        name.reset();
        if (std::vector<std::string> const why = problems(); !why.empty()) throw Exception(why[0]);
        name.emplace(path);
        if (isWrittenAsStream(path)) return;
        if (name->varies())
            claim.emplace(*name);
        else
            claimed = std::make_unique<PartialFile>(name->file(0, nullptr));
    }

    void process(Tick tick) override {
        bool const pictures = writesPictures();
        bool const takesFloats = pictures && formatOf(path, container)->picture == PictureFormat::Tiff;
        Pixels const pixels = pixelsOf(readStream(tick, frames), scale, takesFloats);
        std::optional<FrameSource> about;
        if (source.connected()) about = readStream(tick, source);
        FrameSource const *const known = about ? &*about : nullptr;
        std::string const file = name->file(tick, known);
        if (pictures)
            writePicture(file, pixels, known);
        else
            writeToVideo(file, pixels, known);
    }

    void flush(Tick) override {
        finishVideo();
        claimed.reset();
        claim.reset();
    }

    Forecast forecast(Variant const *told) const {
        Forecast forecast;
        forecast.problems = problems();
        try {
            OutputName const names(path);
            if (!isWrittenAsStream(path)) forecast.files = {names.use()};
            auto const *const held = dynamic_cast<VariantType<FrameSource> const *>(told);
            SourceInfo const *const info = held != nullptr ? held->value.info.get() : nullptr;
            if (forecast.problems.empty()) forecastOutput(path, settings(), info, forecast);
            if (info == nullptr) return forecast;
            if (auto const clash = names.clash(*info)) forecast.problems.push_back(clash->text());
            tellFiles(names, *info, forecast.files);
        } catch (Exception const &) { // is among the problems
        }
        return forecast;
    }

private:
    /// The files themselves, where they are named after those of the source, and few.
    static void tellFiles(OutputName const &names, SourceInfo const &source, std::vector<FileUse> &files) {
        constexpr std::size_t few = 500;
        if (!names.needsSource() || names.variesByTick() || source.files.size() > few) return;
        FrameSource frame;
        for (std::string const &input : source.files) {
            frame.file = input;
            std::string const output = names.file(0, &frame);
            files.push_back({FileUse::Access::Write, output, "", false, output});
        }
    }

    WriteSettings settings() const {
        return {container, codec,   lossless,    quality, subsampling, pngLevel, crf,
                preset,    bitRate, pixelFormat, threads, rate,        times,    audio};
    }

    bool writesPictures() const {
        OutputFormat const *const format = formatOf(path, container);
        return format != nullptr && format->isPicture();
    }

    /// Why the frames can't be written: an unknown ending, or a folder that can't be written into.
    std::vector<std::string> problems() const {
        std::vector<std::string> all{whyUnsupported(path, settings())};
        try {
            OutputName const names(path);
            all.push_back(isWrittenAsStream(path) ? whyNoStream() : whyNoPlace(names));
            if (names.variesByTick() && formatOf(path, container) != nullptr && !writesPictures())
                all.push_back("'" + path + "': a video is one file, so its name can't have a number in it");
            if (!source.connected()) names.file(0, nullptr);
        } catch (Exception const &error) {
            all.insert(all.begin(), error.what());
        }
        std::erase(all, "");
        return all;
    }

    std::string whyNoStream() const {
        if (path == "-" || ::access(path.c_str(), W_OK) == 0) return "";
        return "'" + path + "' can't be written into";
    }

    std::string whyNoPlace(OutputName const &names) const {
        if (!names.varies()) return whyNotWritable(names.file(0, nullptr));
        return whyNotWritable((fixedFolder(names) / std::filesystem::path(path).filename()).string());
    }

    /// The place of a file. The only one was claimed before the run began.
    std::unique_ptr<PartialFile> placeOf(std::string const &file) {
        if (isWrittenAsStream(file)) return nullptr;
        if (!name->varies() && claimed != nullptr) return std::move(claimed);
        if (name->varies()) makeFolderOf(file);
        return std::make_unique<PartialFile>(file, name->varies() ? Claim::None : Claim::Path);
    }

    /// Refuses to write a file twice.
    void requireNew(std::string const &file, FrameSource const *known) {
        if (!name->needsSource() && name->varies()) return; // a tick comes once
        std::lock_guard const lock(mutex);
        auto const [other, isNew] = written.emplace(file, known != nullptr ? known->file : "");
        if (isNew) return;
        if (!name->varies()) failToOverwrite();
        throw Exception("'" + file + "' was written already, from '" + other->second +
                        "': tell the files apart with {tick}, {number}, {name} or {parent} in the path");
    }

    void writePicture(std::string const &file, Pixels const &pixels, FrameSource const *known) {
        requireNew(file, known);
        Bytes const bytes = encodePicture(file, formatOf(path, container)->picture, pixels, settings());
        std::unique_ptr<PartialFile> const place = placeOf(file);
        if (place == nullptr) {
            ByteSink sink(file);
            return writeBytes(file, sink, bytes);
        }
        ByteSink sink(place->descriptor());
        writeBytes(file, sink, bytes);
        place->commit();
    }

    void writeToVideo(std::string const &file, Pixels const &pixels, FrameSource const *known) {
        if (video == nullptr || file != videoFile) {
            finishVideo();
            requireNew(file, known);
            video = std::make_unique<VideoWriter>(file, placeOf(file), pixels, known, settings());
            videoFile = file;
        }
        video->write(pixels, known);
    }

    void finishVideo() {
        std::unique_ptr<VideoWriter> const finished = std::move(video);
        if (finished != nullptr) finished->finish();
    }

    [[noreturn]] void failToOverwrite() const {
        std::size_t const dot = path.rfind('.');
        throw Exception("'" + path + "' holds one image and was written already: for an image a tick use '" +
                        path.substr(0, dot) + "-%05d" + path.substr(dot) + "'; for one image run one tick");
    }
};

void registerWriteFrames() { static Registration<WriteFrames> const once; }

} // namespace zun::media
