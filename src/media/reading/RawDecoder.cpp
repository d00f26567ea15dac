// Raw frames of a size and format that the reader is told.

#include <array>
#include <limits>
#include <utility>

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/reading/Conversion.h"
#include "media/reading/Decoder.h"

namespace zun::media {
namespace {

constexpr int defaultRate = 25;

/// How a stream of raw frames is laid out.
struct RawForm {
    AVPixelFormat format = AV_PIX_FMT_NONE;
    int width = 0, height = 0;
    AVRational rate{defaultRate, 1};
    std::size_t frameBytes = 0;

    explicit RawForm(ReadSettings const &settings) {
        format = av_get_pix_fmt(settings.format == "gray8" ? "gray" : settings.format.c_str());
        if (format == AV_PIX_FMT_NONE)
            throw Exception("the option format is '" + settings.format +
                            "', which is not a pixel format: write rgb24, gray8 or another name that ffmpeg -pix_fmts "
                            "lists");
        if (settings.size.empty()) throw Exception("raw frames need their size: set the option size, such as 640x480");
        if (av_parse_video_size(&width, &height, settings.size.c_str()) < 0)
            throw Exception("the option size is '" + settings.size + "', but should be like 640x480");
        if (!settings.rate.empty() && (av_parse_video_rate(&rate, settings.rate.c_str()) < 0))
            throw Exception("the option fps is '" + settings.rate + "', but should be like 25 or 30000/1001");
        int const bytes = av_image_get_buffer_size(format, width, height, 1);
        if (bytes <= 0) throw Exception("frames of " + settings.size + " in " + settings.format + " can't be read");
        frameBytes = static_cast<std::size_t>(bytes);
    }

    SourceInfo info(std::string const &path) const {
        SourceInfo info;
        info.path = path;
        info.files = {path};
        info.moving = true;
        info.rate = {rate.num, rate.den};
        info.timeBase = {rate.den, rate.num};
        info.bitDepth = bitsOf(format);
        info.alpha = (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
        return info;
    }
};

class RawDecoder final : public Decoder {
    Source input;
    RawForm const form;
    Damaged const damaged;
    std::uint64_t position = 0;
    Converter converter;

public:
    RawDecoder(Source opened, ReadSettings const &settings)
        : input(std::move(opened)), form(settings), damaged(settings.damaged) {
        info = form.info(input->path());
        leftOut = leftOutOf(form.format, info.alpha);
        width = static_cast<std::uint32_t>(form.width);
        height = static_cast<std::uint32_t>(form.height);
        if (input->isFile() && input->size() % form.frameBytes == 0) count = input->size() / form.frameBytes;
    }

    bool jump(std::uint64_t index) override {
        if (!input->isFile() || index > input->size() / form.frameBytes) return false;
        input->seek(index * form.frameBytes);
        position = index;
        return true;
    }

    bool next(WantedFrames wanted, Frames &frames) override {
        time = static_cast<std::int64_t>(position);
        duration = 1;
        bool const there = form.format == AV_PIX_FMT_RGB24   ? readInto(RgbFrame({height, width}), wanted, frames)
                           : form.format == AV_PIX_FMT_GRAY8 ? readInto(GreyFrame({height, width}), wanted, frames)
                                                             : readOther(wanted, frames);
        position += there ? 1 : 0;
        return there;
    }

private:
    /// False at the end of the input, between two frames.
    bool readBytes(void *memory) {
        std::size_t const got = input->read(memory, form.frameBytes);
        if (got == form.frameBytes) return true;
        if (got == 0) return false;
        std::string const what = inputName(input->path()) + " ends within frame " + std::to_string(position) + ": " +
                                 std::to_string(form.frameBytes - got) + " of its " + std::to_string(form.frameBytes) +
                                 " bytes are missing";
        if (damaged == Damaged::Error) throw Exception(what + "; are its size and format as the options say?");
        warnOnce(what + ", so it is left out");
        return false;
    }

    template <class Frame>
    bool readInto(Frame frame, WantedFrames wanted, Frames &frames) {
        if (!readBytes(frame.first())) return false;
        frames = framesOf(std::move(frame), wanted);
        return true;
    }

    bool readOther(WantedFrames wanted, Frames &frames) {
        av::Frame const picture = av::makeFrame(form.width, form.height, form.format);
        constexpr std::size_t slack = 64; // that conversions may read past the end
        std::vector<std::uint8_t> bytes(form.frameBytes + slack);
        if (!readBytes(bytes.data())) return false;
        std::array<std::uint8_t *, 4> planes{};
        std::array<int, 4> strides{};
        av_image_fill_arrays(planes.data(), strides.data(), bytes.data(), form.format, form.width, form.height, 1);
        av_image_copy(picture->data, picture->linesize, const_cast<std::uint8_t const **>(planes.data()),
                      strides.data(), form.format, form.width, form.height);
        frames = converter.toFrames(*picture, wanted);
        return true;
    }
};

} // namespace

std::unique_ptr<Decoder> openRaw(Source &input, ReadSettings const &settings) {
    return std::make_unique<RawDecoder>(std::move(input), settings);
}

SourceInfo rawInfo(std::string const &path, ReadSettings const &settings, std::uint64_t &pixels) {
    RawForm const form(settings);
    pixels = std::uint64_t(form.width) * static_cast<std::uint64_t>(form.height);
    return form.info(path);
}

} // namespace zun::media
