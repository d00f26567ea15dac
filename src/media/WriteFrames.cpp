// Writes frames to a numbered sequence of images, a single image, or a video.
//
//   - type: WriteFrames
//     inputs: {frames: negative}
//     options: {path: "out/negative-%05d.png"}
//
// An image file is complete when its tick is done, a video when the run ends, even by a failure; until then
// they stand beside their place as ".<name>.part".

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "containers/Exception.h"
#include "media/AtomicFile.h"
#include "media/FilePattern.h"
#include "media/FrameWriter.h"
#include "media/Registrations.h"
#include "media/Source.h"
#include "node/Registration.h"

namespace zun::media {

class WriteFrames : public Node {
    std::string path;
    float scale = 0, rate = 25;
    int quality = 95;
    bool lossless = true;
    InputStream<Variant> frames;
    InputStream<FrameSource> source;

    std::unique_ptr<VideoWriter> video;
    std::atomic<bool> wroteImage = false;

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
                               "file, number and time of each frame; \"-\" to do without")
                     .besideFrames());
        static constexpr auto outputs = rows();
        static constexpr auto options =
            rows(requiredOption("path", "std::string", &WriteFrames::path,
                                "out-%05d.png for an image a tick, numbered by the tick; an image; or a video")
                     .is(OptionKind::Path),
                 option("scale", "float", "0.0", &WriteFrames::scale,
                        "what numbers are multiplied by before they are rounded to bytes; 0: bytes as they are"),
                 option("lossless", "bool", "true", &WriteFrames::lossless, "of a video: keep every pixel as it is"),
                 option("quality", "int", "95", &WriteFrames::quality, "of a JPEG, and of a video with loss")
                     .between(leastQuality, mostQuality),
                 option("fps", "float", "25.0", &WriteFrames::rate, "of a video: frames per second")
                     .between(leastRate, mostRate));
    };

    bool hasSideEffects() const override { return true; }

    /// Images are encoded side by side; the frames of a video follow one another.
    bool mayOverlap() const { return isWrittenAsImage(path); }

    void initialize() override {
        if (std::vector<std::string> const why = problems(FilePattern(path)); !why.empty()) throw Exception(why[0]);
    }

    void process(Tick tick) override {
        Pixels const pixels = pixelsOf(readStream(tick, frames), scale);
        FilePattern const pattern(path);
        if (isWrittenAsImage(path)) {
            if (!pattern.numbered() && wroteImage.exchange(true)) failToOverwrite();
            writeImage(pattern.file(tick), pixels, settings());
        } else {
            if (video == nullptr) video = std::make_unique<VideoWriter>(pattern.file(0), pixels, settings());
            video->write(pixels);
        }
    }

    void flush(Tick) override {
        std::unique_ptr<VideoWriter> const finished = std::move(video);
        if (finished != nullptr) finished->finish();
    }

    Forecast forecast() const {
        Forecast forecast;
        try {
            FilePattern const pattern(path);
            forecast.files = {pattern.use(FileUse::Access::Write)};
            forecast.problems = problems(pattern);
        } catch (Exception const &error) {
            forecast.problems.push_back(error.what());
        }
        return forecast;
    }

private:
    WriteSettings settings() const { return {lossless, quality, rate}; }

    /// Why the frames can't be written: an unknown ending, or a folder that can't be written into.
    std::vector<std::string> problems(FilePattern const &pattern) const {
        std::vector<std::string> all{whyUnsupported(path, settings()), whyNotWritable(pattern.file(0))};
        if (all[0].empty() && pattern.numbered() && !isWrittenAsImage(path))
            all.push_back("'" + path + "': a video is one file, so its name can't have a number in it");
        std::erase(all, "");
        return all;
    }

    [[noreturn]] void failToOverwrite() const {
        std::size_t const dot = path.rfind('.');
        throw Exception("'" + path + "' holds one image and was written already: for an image a tick use '" +
                        path.substr(0, dot) + "-%05d" + path.substr(dot) + "'; for one image run one tick");
    }
};

void registerWriteFrames() { static Registration<WriteFrames> const once; }

} // namespace zun::media
