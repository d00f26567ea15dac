// FFmpeg's objects, owned; for the sources of this library alone.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/opt.h>
#include <libavutil/parseutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zun::media::av {

struct Free {
    void operator()(AVFrame *frame) const { av_frame_free(&frame); }
    void operator()(AVPacket *packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext *context) const { avcodec_free_context(&context); }
    void operator()(SwsContext *context) const { sws_freeContext(context); }
};

using Frame = std::unique_ptr<AVFrame, Free>;
using Packet = std::unique_ptr<AVPacket, Free>;
using Codec = std::unique_ptr<AVCodecContext, Free>;
using Scaler = std::unique_ptr<SwsContext, Free>;

/// Key-value settings that FFmpeg takes at opening.
class Settings {
public:
    Settings() = default;
    Settings(Settings const &) = delete;
    Settings &operator=(Settings const &) = delete;
    ~Settings() { av_dict_free(&entries); }

    void set(char const *key, std::string const &value) { av_dict_set(&entries, key, value.c_str(), 0); }
    AVDictionary **get() { return &entries; }

private:
    AVDictionary *entries = nullptr;
};

/// What FFmpeg says of an error.
std::string reason(int error);

/// An empty frame of a size and format, whose rows are padded far enough for every conversion.
Frame makeFrame(int width, int height, AVPixelFormat format);

/// FFmpeg's number of the matrix that a picture's YUV is by, SWS_CS_...: what the picture says, or, where it doesn't,
/// BT.601 below 720 rows and BT.709 from there on.
int matrixOf(AVFrame const &picture);

/// Whether a picture of YUV has values from 0 to 255.
bool isFullRange(AVFrame const &picture);

/// Converts a picture to another pixel format of the same size: matrix and range as the source says (where it doesn't,
/// BT.601 below 720 rows and BT.709 from there on), full chroma resolution, correct rounding, and the same bits on
/// every processor. Throws zun::Exception for a format that can't be converted.
Frame convert(AVFrame const &source, AVPixelFormat format);

/// The same for many pictures, one after the other. Not thread-safe.
class Conversion {
public:
    /// Converts into a picture of the same size and of any format, by so many threads.
    void into(AVFrame &result, AVFrame const &source, unsigned threads);

private:
    struct Form {
        int width = 0, height = 0;
        AVPixelFormat from = AV_PIX_FMT_NONE, to = AV_PIX_FMT_NONE;
        int matrix = 0;
        bool fromFull = false, toFull = false;

        bool operator==(Form const &) const = default;
    };

    void prepare(Form const &wanted, unsigned threads);

    Scaler scaler;
    Form form;
};

/// FFmpeg writes to its own log by default; what matters is in the errors that are thrown here, and in an ErrorWatch.
void silenceLog();

/// Hears, while it stands, what FFmpeg logs as an error of one container on this thread: demuxers say nowhere else
/// that they pass over damaged data. Only after silenceLog(). There is one at a time on a thread.
class ErrorWatch {
public:
    explicit ErrorWatch(AVFormatContext const *context);
    ~ErrorWatch();
    ErrorWatch(ErrorWatch const &) = delete;
    ErrorWatch &operator=(ErrorWatch const &) = delete;

    /// Where the container was read when it met its first error.
    std::optional<std::int64_t> place() const { return first; }

private:
    friend void hearLog(void *context, int level, char const *text, va_list values);

    AVFormatContext const *watched;
    std::optional<std::int64_t> first;
};

} // namespace zun::media::av
