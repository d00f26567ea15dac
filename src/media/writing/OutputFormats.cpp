#include "media/writing/OutputFormats.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "media/writing/VideoCodecs.h"

namespace zun::media {
namespace {

using Names = std::vector<std::string>;

std::string endingOf(std::string const &file) {
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    return ending;
}

std::string whyNotOneOf(char const *option, std::string const &value, Names const &known) {
    if (std::find(known.begin(), known.end(), value) != known.end()) return "";
    return std::string("the option ") + option + " can't be '" + value + "': it takes " + alternatives(known);
}

std::string whyNotBetween(char const *option, double value, double least, double most) {
    bool const within = value >= least && value <= most; // a NaN is not
    if (within) return "";
    auto const text = [](double number) { return std::to_string(static_cast<long>(number)); };
    return std::string("the option ") + option + " must be from " + text(least) + " to " + text(most);
}

std::string whyNoFormat(std::string const &file, std::string const &container) {
    Names containers, endings;
    for (OutputFormat const &format : outputFormats()) {
        if (!format.isPicture()) containers.emplace_back(format.name);
        for (std::string_view const ending : format.endings) endings.emplace_back(ending);
    }
    if (!container.empty()) return whyNotOneOf("container", container, containers);
    if (endingOf(file).empty())
        return "'" + file + "' doesn't tell the format: set the option container to " + alternatives(containers);
    return "'" + file + "' doesn't end with a format that can be written: " + alternatives(endings);
}

} // namespace

std::string alternatives(Names const &names) {
    std::string text;
    for (std::size_t i = 0; i < names.size(); i++)
        text += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    return text;
}

std::vector<OutputFormat> const &outputFormats() {
    using enum PictureFormat;
    using enum OutputFormat::Spacing;
    static std::vector<OutputFormat> const formats{
        {"png", {".png"}, Png},
        {"jpeg", {".jpg", ".jpeg"}, Jpeg},
        {"webp", {".webp"}, Webp},
        {"tiff", {".tif", ".tiff"}, Tiff},
        {"bmp", {".bmp"}, Bmp},
        {"ppm", {".ppm"}, Ppm},
        {"pgm", {".pgm"}, Pgm},
        {"mp4", {".mp4"}, None, "mp4", "h264", "h264", Any, true},
        {"mov", {".mov"}, None, "mov", "h264", "h264", Any, true},
        {"mkv", {".mkv"}, None, "matroska", "h264", "ffv1", Any},
        {"webm", {".webm"}, None, "webm", "vp9", "vp9", Any},
        {"avi", {".avi"}, None, "avi", "h264", "ffv1", Even},
        {"gif", {".gif"}, None, "gif", "gif", "", Any},
        {"ts", {".ts"}, None, "mpegts", "h264", "h264", Any},
        {"nut", {".nut"}, None, "nut", "rawvideo", "rawvideo", Any},
        {"y4m", {".y4m"}, None, "yuv4mpegpipe", "rawvideo", "", Even},
        {"rawvideo", {}, None, "rawvideo", "rawvideo", "rawvideo", Even},
        {"image2pipe", {}, None, "image2pipe", "png", "png", Even},
    };
    return formats;
}

OutputFormat const *formatOf(std::string const &file, std::string const &container) {
    std::string const ending = endingOf(file);
    for (OutputFormat const &format : outputFormats()) {
        bool const fits = container.empty()
                              ? std::find(format.endings.begin(), format.endings.end(), ending) != format.endings.end()
                              : format.name == container && !format.isPicture();
        if (fits) return &format;
    }
    return nullptr;
}

std::string whyUnsupported(std::string const &file, WriteSettings const &settings) {
    OutputFormat const *const format = formatOf(file, settings.container);
    if (format == nullptr) return whyNoFormat(file, settings.container);
    Names const faults{
        whyNotBetween("quality", settings.quality, leastQuality, mostQuality),
        whyNotBetween("pngLevel", settings.pngLevel, leastPngLevel, mostPngLevel),
        whyNotBetween("crf", settings.crf, 0, mostCrf),
        whyNotBetween("bitRate", settings.bitRate, 0, 2'000'000),
        whyNotBetween("threads", settings.threads, 0, 256),
        whyNotBetween("fps", settings.rate, 0, mostRate),
        whyNotOneOf("subsampling", settings.chroma, {"auto", "4:4:4", "4:2:0"}),
        whyNotOneOf("times", settings.times, {"source", "constant"}),
        whyNotOneOf("audio", settings.audio, {"copy", "none"}),
        whyNotOneOf("preset", settings.preset, presetNames()),
        whyNotOneOf("codec", settings.codec, codecNames()),
        format->isPicture() ? "" : whyNotEncoded(file, *format, settings),
    };
    for (std::string const &fault : faults)
        if (!fault.empty()) return fault;
    return "";
}

} // namespace zun::media
