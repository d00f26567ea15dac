// Writes frames to a numbered sequence of images, a single image, or a video.
//
//   - type: WriteFrames
//     inputs: {frames: negative}
//     options: {path: "out/negative-%05d.png"}
//
// An image file is complete when its tick is done, a video when the run ends, also if it ends by a failure; until then
// they stand beside their place as ".<name>.part".

#include <atomic>
#include <memory>

#include "containers/Exception.h"
#include "frame/Registration.h"
#include "media/AtomicFile.h"
#include "media/FilePattern.h"
#include "media/FrameNodes.h"
#include "media/FrameWriter.h"

namespace zun::media {

class WriteFrames : public Node {
    std::string path;
    float scale = 0, rate = 25;
    int quality = 95;
    bool lossless = true;
    InputStream<Variant> frames;

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
            rows(input("frames", "any", &WriteFrames::frames, "frames of bytes, or, with a scale, of floats"));
        static constexpr auto outputs = rows();
        static constexpr auto options =
            rows(requiredOption("path", "std::string", &WriteFrames::path,
                                "out-%05d.png for an image a tick, numbered by the tick; an image; or a video"),
                 option("scale", "float", "0.0", &WriteFrames::scale,
                        "what numbers are multiplied by before they are rounded to bytes; 0: bytes as they are"),
                 option("lossless", "bool", "true", &WriteFrames::lossless, "of a video: keep every pixel as it is"),
                 option("quality", "int", "95", &WriteFrames::quality, "of a JPEG, and of a video with loss: 1 to 100"),
                 option("fps", "float", "25.0", &WriteFrames::rate, "of a video: frames per second"));
    };

    bool hasSideEffects() const override { return true; }

    /// Images are encoded side by side; the frames of a video follow one another.
    bool mayOverlap() const { return isImageName(path); }

    void initialize() override {
        FilePattern const pattern(path);
        if (std::string const why = whyUnsupported(path, settings()); !why.empty()) throw Exception(why);
        if (std::string const why = whyNotWritable(pattern.file(0)); !why.empty()) throw Exception(why);
        if (pattern.numbered() && !isImageName(path))
            throw Exception("'" + path + "': a video is one file, so its name has no number");
    }

    void process(Tick tick) override {
        Pixels const pixels = pixelsOf(readStream(tick, frames), scale);
        FilePattern const pattern(path);
        if (isImageName(path)) {
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

private:
    WriteSettings settings() const { return {lossless, quality, rate}; }

    [[noreturn]] void failToOverwrite() const {
        std::size_t const dot = path.rfind('.');
        throw Exception("'" + path + "' holds one image and was written already: for an image a tick write '" +
                        path.substr(0, dot) + "-%05d" + path.substr(dot) + "', for one image run one tick");
    }
};

void registerWriteFrames() { static Registration<WriteFrames> const once; }

engine::Forecast forecastWriteFrames(NodeConfig const &config) {
    engine::Forecast forecast;
    auto const options = config.getParsedOptions();
    auto const option = [&]<class T>(char const *name, T fallback) {
        auto const found = options.find(name);
        return found == options.end() ? fallback : convertOption<T>(found->second);
    };
    try {
        std::string const path = option("path", std::string());
        WriteSettings const defaults;
        WriteSettings const settings{option("lossless", defaults.lossless), option("quality", defaults.quality),
                                     option("fps", defaults.rate)};
        for (std::string const &why : {whyUnsupported(path, settings), whyNotWritable(FilePattern(path).file(0))})
            if (!why.empty()) forecast.errors.push_back(why);
    } catch (Exception const &error) {
        forecast.errors.push_back(error.what());
    }
    return forecast;
}

} // namespace zun::media
