#include "media/reading/FrameReader.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/files/FileList.h"
#include "media/reading/Decoder.h"
#include "media/reading/LiveQueue.h"
#include "media/reading/WholePicture.h"

namespace zun::media {
namespace {

std::string endingOf(std::string const &file) {
    std::string ending = std::filesystem::path(file).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](unsigned char c) { return std::tolower(c); });
    return ending;
}

bool isTiff(std::string_view head) {
    using namespace std::string_view_literals;
    constexpr std::array<std::string_view, 4> marks{"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv};
    return std::any_of(marks.begin(), marks.end(), [&](std::string_view mark) { return head.starts_with(mark); });
}

/// Many JPEGs one after the other, which begin like one.
bool isMotionJpeg(std::string const &path) { return endingOf(path) == ".mjpeg" || endingOf(path) == ".mjpg"; }

std::unique_ptr<Decoder> openFile(Source &input, ReadSettings const &settings) {
    std::string const head = input->head(16);
    std::unique_ptr<Decoder> decoder;
    if (head.starts_with("\xFF\xD8") && !isMotionJpeg(input->path())) decoder = openJpeg(input);
    if (isTiff(head)) return openTiff(input);
    bool const moves = head.starts_with("GIF8") || isMotionJpeg(input->path()) ||
                       (head.starts_with(pngSignature) && pngFacts(*input).animated);
    if (!decoder && !moves) decoder = openPicture(input);
    if (!decoder) decoder = openVideo(input, settings);
    return decoder;
}

std::unique_ptr<Decoder> openAny(std::string const &path, ReadSettings const &settings) {
    if (path != "-" && FileList::isStream(path)) {
        requireAllowed(path);
        return std::make_unique<LiveQueue>(openLive(path, settings), settings.dropLate);
    }
    Source input = std::make_unique<Input>(path);
    if (!settings.format.empty()) return openRaw(input, settings);
    return input->isFile() ? openFile(input, settings) : openVideo(input, settings);
}

} // namespace

void requireAllowed(std::string const &address) {
    HostSettings const &host = hostSettings();
    bool const camera = address.starts_with("v4l2:");
    if (camera && !host.allowDevices)
        throw Exception("'" + address + "' is a camera, which is read only where --allow-devices is given");
    if (!camera && !host.allowNetwork)
        throw Exception("'" + address + "' is an address, which is read only where --allow-network is given");
}

struct FrameReader::Implementation {
    std::string const path;
    ReadSettings const settings;
    std::unique_ptr<Decoder> decoder;
    bool applyOrientation;
    std::uint64_t position = 0;

    Implementation(std::string const &file, ReadSettings const &readSettings)
        : path(file), settings(readSettings), applyOrientation(settings.applyOrientation) {
        open();
    }

    void open() {
        decoder = openAny(path, settings);
        position = 0;
        SourceInfo &info = decoder->info;
        info.path = path;
        info.files = {path};
        if (decoder->count) info.frames = *decoder->count;
        info.rotation = decoder->orientation.rotation;
        info.mirrored = decoder->orientation.mirrored;
        if (isTurned()) std::swap(info.pixelAspect.numerator, info.pixelAspect.denominator);
    }

    /// Whether rows become columns.
    bool isTurned() const { return applyOrientation && decoder->orientation.swapsSides(); }

    bool next(WantedFrames wanted, Frames &frames) {
        if (!decoder->next(wanted, frames)) return false;
        position++;
        if (!applyOrientation || decoder->orientation.upright()) return true;
        if (wanted.rgb) frames.rgb = oriented(frames.rgb, decoder->orientation);
        if (wanted.grey) frames.grey = oriented(frames.grey, decoder->orientation);
        return true;
    }

    bool skipTo(std::uint64_t index) {
        if (position == index) return true;
        if (decoder->jump(index)) {
            position = index;
            return !decoder->count || index < *decoder->count;
        }
        if (decoder->lost) open();
        if (index < position) return false;
        Frames ignored;
        while (position < index)
            if (!next({}, ignored)) return false;
        return true;
    }
};

bool isStillName(std::string const &file) {
    constexpr std::array<std::string_view, 17> endings{".png",  ".jpg",  ".jpeg", ".jpe", ".bmp", ".tif",
                                                       ".tiff", ".webp", ".pgm",  ".ppm", ".pnm", ".pbm",
                                                       ".pam",  ".tga",  ".jp2",  ".dpx", ".exr"};
    return std::find(endings.begin(), endings.end(), endingOf(file)) != endings.end();
}

FrameReader::FrameReader(std::string const &path, ReadSettings const &settings)
    : implementation(std::make_unique<Implementation>(path, settings)) {}
FrameReader::~FrameReader() = default;

SourceInfo const &FrameReader::info() const { return implementation->decoder->info; }
std::uint32_t FrameReader::width() const {
    return implementation->isTurned() ? implementation->decoder->height : implementation->decoder->width;
}
std::uint32_t FrameReader::height() const {
    return implementation->isTurned() ? implementation->decoder->width : implementation->decoder->height;
}
std::optional<std::uint64_t> FrameReader::frameCount() const { return implementation->decoder->count; }
std::vector<std::string> const &FrameReader::leftOut() const { return implementation->decoder->leftOut; }
std::uint64_t FrameReader::position() const { return implementation->position; }
bool FrameReader::next(WantedFrames wanted, Frames &frames) { return implementation->next(wanted, frames); }
bool FrameReader::skipTo(std::uint64_t index) { return implementation->skipTo(index); }
std::int64_t FrameReader::time() const { return implementation->decoder->time; }
std::int64_t FrameReader::duration() const { return implementation->decoder->duration; }
std::int64_t FrameReader::start() const { return implementation->decoder->start; }

} // namespace zun::media
