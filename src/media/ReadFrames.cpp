// Reads frames from a still image, a numbered sequence of images, or a video.
//
//   - type: ReadFrames
//     outputs: {rgb: picture}
//     options: {path: frames/in-%05d.png, first: 1}
//
// Tick t gives frame `first` + t, modulo `count` where the frames are played more than once. The frames of
// each tick have storage of their own, so nodes may draw into them.

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>

#include "containers/Exception.h"
#include "media/FilePattern.h"
#include "media/FrameReader.h"
#include "media/Registrations.h"
#include "media/Source.h"
#include "node/Registration.h"

namespace zun::media {

class ReadFrames : public Node {
    std::string path;
    int first = 0, count = 0, repeat = 1;
    OutputStream<RgbFrame> rgb;
    OutputStream<GreyFrame> grey;
    OutputStream<FrameSource> source;

    std::optional<FilePattern> pattern;
    std::unique_ptr<FrameReader> video; ///< null for images
    std::uint64_t frames = 0;           ///< that are played, once
    std::shared_ptr<SourceInfo const> about = std::make_shared<SourceInfo>();

public:
    using Node::Node;

    struct Table {
        static constexpr NodeRow node{.type = "ReadFrames",
                                      .sourcePath = "media/ReadFrames",
                                      .classCode = 1,
                                      .summary =
                                          "Reads frames from an image, a numbered sequence of images, or a video"};
        static constexpr auto inputs = rows();
        static constexpr auto outputs =
            rows(output("rgb", "zun::Mat<zun::Vec3b, 2>", &ReadFrames::rgb, "the frame in colour"),
                 output("grey", "zun::Mat<unsigned char, 2>", &ReadFrames::grey, "the frame in grey"),
                 output("source", "zun::media::FrameSource", &ReadFrames::source,
                        "the frame's file, number and time; reaches the nodes that need them by itself")
                     .besideFrames());
        static constexpr auto options = rows(
            requiredOption("path", "std::string", &ReadFrames::path,
                           "an image, a video, or a sequence of images such as in-%05d.png")
                .is(OptionKind::Path),
            option("first", "int", "0", &ReadFrames::first,
                   "number of the first file of a sequence; index of the first frame of a video")
                .atLeast(0),
            option("count", "int", "0", &ReadFrames::count, "how many frames to read; 0: all of them").atLeast(0),
            option("repeat", "int", "1", &ReadFrames::repeat, "how often to play them; 0: without end").atLeast(0));
    };

    bool isGenerator() const override { return true; }

    /// Images are decoded side by side; a video is read in order.
    bool mayOverlap() const { return !isVideo(); }

    void initialize() override {
        pattern.emplace(path);
        requireSoundOptions();
        std::uint64_t const there = pattern->numbered() ? countFiles() : countFrames();
        if (there == 0) failToBegin();
        frames = count == 0 ? there : static_cast<std::uint64_t>(count);
        if (frames > there)
            throw Exception("'" + path + "' has " + std::to_string(there) + " frames from " + std::to_string(first) +
                            " on, but the option count asks for " + std::to_string(frames));
    }

    Tick getRunUntil(Tick end) override {
        return repeat == 0 ? end : std::min(end, frames * static_cast<std::uint64_t>(repeat));
    }

    void process(Tick tick) override {
        std::uint64_t const index = start() + tick % frames;
        WantedFrames const wanted{rgb.connected(), grey.connected()};
        Frames result;
        if (isVideo())
            readVideo(index, wanted, result);
        else
            FrameReader(pattern->file(index)).next(wanted, result);
        if (source.connected()) writeStream(tick, source, {about, pattern->file(index), index, 0, 0});
        if (wanted.rgb) writeStream(tick, rgb, std::move(result.rgb));
        if (wanted.grey) writeStream(tick, grey, std::move(result.grey));
    }

    void flush(Tick) override { video.reset(); }

    /// The size of the first frame, or why it can't be read.
    Forecast forecast() const {
        Forecast forecast;
        try {
            FilePattern const names(path);
            forecast.files = {names.use(FileUse::Access::Read)};
            requireSoundOptions();
            FrameReader const reader(names.file(start()));
            std::uint64_t const pixels = std::uint64_t(reader.width()) * reader.height();
            forecast.bytes = {{"rgb", pixels * sizeof(Vec3b)}, {"grey", pixels}};
        } catch (Exception const &error) {
            forecast.problems.push_back(error.what());
        }
        return forecast;
    }

private:
    void requireSoundOptions() const {
        if (first < 0 || count < 0 || repeat < 0)
            throw Exception("the options first, count and repeat can't be negative");
    }

    [[noreturn]] void failToBegin() const {
        if (pattern->numbered())
            throw Exception("'" + pattern->file(start()) + "' doesn't exist, so the sequence has no first frame");
        throw Exception("'" + pattern->file(0) + "' has no frame " + std::to_string(first));
    }

    std::uint64_t start() const { return static_cast<std::uint64_t>(first); }

    /// By its name, because the check asks before the file is opened.
    bool isVideo() const { return !isStillName(path); }

    std::uint64_t countFiles() const {
        std::uint64_t number = start();
        std::error_code ignored;
        while (std::filesystem::exists(pattern->file(number), ignored)) number++;
        return number - start();
    }

    std::uint64_t countFrames() {
        FrameReader const reader(pattern->file(0));
        if (!isVideo() && !reader.isStill()) throw Exception("'" + path + "' is a video with the name of an image");
        std::uint64_t const all = reader.frameCount();
        return all > start() ? all - start() : 0;
    }

    void readVideo(std::uint64_t index, WantedFrames wanted, Frames &result) {
        std::string const file = pattern->file(0);
        if (video == nullptr || video->position() > index) video = std::make_unique<FrameReader>(file);
        bool there = true;
        while (there && video->position() < index) there = video->next({}, result);
        if (there && video->next(wanted, result)) return;
        throw Exception("'" + file + "' ends after " + std::to_string(video->position()) + " frames, but should have " +
                        std::to_string(video->frameCount()));
    }
};

void registerReadFrames() { static Registration<ReadFrames> const once; }

} // namespace zun::media
