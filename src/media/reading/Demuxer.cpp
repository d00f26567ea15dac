#include "media/reading/Demuxer.h"

#include <array>
#include <limits>
#include <string_view>

#include <dlfcn.h>

extern "C" {
#include <libavutil/time.h>
}

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/reading/WholePicture.h"

namespace zun::media {
namespace {

constexpr std::int64_t networkPatience = 10'000'000; // microseconds, for opening and for each packet
constexpr std::string_view cameraPrefix = "v4l2:";

/// Closed to a playlist or a container that names further files.
constexpr char const *noProtocol = "none";
constexpr char const *networkProtocols = "rtsp,rtsps,rtp,srtp,udp,tcp,tls,http,https,httpproxy,crypto,hls,rtmp,rtmps,"
                                         "rtmpt,srt,mmsh,mmst,ftp";

Rational rational(AVRational value) { return {value.num, value.den}; }

/// A name of FFmpeg's, or nothing where it stands for "not stated".
std::string stated(char const *name, bool isStated) { return name == nullptr || !isStated ? "" : name; }

bool isInterlaced(AVFieldOrder order) { return order != AV_FIELD_UNKNOWN && order != AV_FIELD_PROGRESSIVE; }

/// How often a GIF is played, from its first bytes: once, unless an extension says how often it is repeated.
std::int64_t loopsOfGif(std::string_view head) {
    constexpr std::string_view mark("NETSCAPE2.0\x03\x01", 13);
    std::size_t const place = head.find(mark);
    if (place == head.npos || place + mark.size() + 2 > head.size()) return 1;
    auto const at = [&](std::size_t i) { return static_cast<unsigned char>(head[place + mark.size() + i]); };
    int const repeats = at(0) | at(1) << 8;
    return repeats == 0 ? 0 : repeats + 1;
}

/// Cameras are in a library of their own, which is loaded when one is asked for. It is numbered like libavformat.
void loadDevices() {
    static bool const loaded = [] {
        void *const library =
            ::dlopen("libavdevice.so." AV_STRINGIFY(LIBAVFORMAT_VERSION_MAJOR), RTLD_NOW | RTLD_LOCAL);
        void *const entry = library == nullptr ? nullptr : ::dlsym(library, "avdevice_register_all");
        if (entry != nullptr) reinterpret_cast<void (*)()>(entry)();
        return entry != nullptr;
    }();
    if (!loaded) throw Exception("cameras can't be read: the library libavdevice is not installed");
}

} // namespace

/// What FFmpeg calls.
struct DemuxerCalls {
    static int read(void *self, std::uint8_t *memory, int count) {
        auto &demuxer = *static_cast<Demuxer *>(self);
        try {
            std::size_t const got = demuxer.input->readSome(memory, static_cast<std::size_t>(count));
            return got == 0 ? AVERROR_EOF : static_cast<int>(got);
        } catch (Exception const &error) {
            demuxer.failure = error.what();
            return AVERROR(EIO);
        }
    }

    static std::int64_t seek(void *self, std::int64_t place, int from) {
        auto &input = *static_cast<Demuxer *>(self)->input;
        std::int64_t const size = static_cast<std::int64_t>(input.size());
        if ((from & AVSEEK_SIZE) != 0) return size;
        from &= ~AVSEEK_FORCE;
        if (from == SEEK_CUR) place += static_cast<std::int64_t>(input.position());
        if (from == SEEK_END) place += size;
        if (place < 0) return AVERROR(EINVAL);
        input.seek(static_cast<std::uint64_t>(place));
        return place;
    }

    static int isLate(void *self) {
        std::int64_t const deadline = static_cast<Demuxer *>(self)->deadline;
        return deadline != 0 && av_gettime_relative() > deadline ? 1 : 0;
    }

    static int refuseFile(AVFormatContext *, AVIOContext **, char const *, int, AVDictionary **) {
        return AVERROR(EACCES);
    }
};

void Demuxer::Free::operator()(AVFormatContext *context) const { avformat_close_input(&context); }

void Demuxer::Free::operator()(AVIOContext *context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
}

void Demuxer::failToOpen(int error) const {
    if (!failure.empty()) throw Exception(failure);
    if (live && (error == AVERROR_EXIT || error == AVERROR(ETIMEDOUT)))
        throw Exception(title + " can't be opened: nothing came within 10 seconds");
    if (live) throw Exception(title + " can't be opened: " + av::reason(error));
    failOfContent(av::reason(error));
}

/// Raw frames are only guessed at where the file's name stands for nothing else.
void Demuxer::failOfContent(std::string const &why) const {
    AVOutputFormat const *const named = av_guess_format(nullptr, path.c_str(), nullptr);
    bool const raw = !live && (named == nullptr || std::string_view(named->name) == "rawvideo");
    throw Exception(title + " is not an image or video that can be read: " + why +
                    (raw ? "; raw frames need the options format and size" : ""));
}

void Demuxer::allocate() {
    av::silenceLog();
    context.reset(avformat_alloc_context());
    if (!context) throw std::bad_alloc();
    context->interrupt_callback = {DemuxerCalls::isLate, this};
}

Demuxer::Demuxer(Source opened) : input(std::move(opened)), path(input->path()), title(inputName(path)) {
    constexpr int bufferSize = 1 << 16;
    constexpr std::size_t probed = 64;
    allocate();
    auto *const buffer = static_cast<unsigned char *>(av_malloc(bufferSize));
    if (buffer == nullptr) throw std::bad_alloc();
    io.reset(avio_alloc_context(buffer, bufferSize, 0, this, DemuxerCalls::read, nullptr,
                                input->isFile() ? DemuxerCalls::seek : nullptr));
    if (!io) throw std::bad_alloc();
    context->pb = io.get();
    context->io_open = DemuxerCalls::refuseFile;
    av::Settings settings;
    settings.set("protocol_whitelist", noProtocol);
    std::string const &head = input->head(probed);
    if (head.empty()) throw Exception(title + " is empty");
    AVInputFormat const *format = nullptr; // as its content says
    if (head.starts_with("GIF8")) format = av_find_input_format("gif");
    if (head.starts_with(pngSignature) && input->isFile()) format = av_find_input_format("apng");
    if (std::string_view const pnm = pnmName(head); !pnm.empty())
        format = av_find_input_format((std::string(pnm) + "_pipe").c_str());
    if (head.find("ftyp") == 4) context->fps_probe_size = 0; // it lists all frames
    open("", format, settings);
}

Demuxer::Demuxer(std::string const &address) : path(address), title("'" + address + "'"), live(true) {
    allocate();
    av::Settings settings;
    bool const camera = address.starts_with(cameraPrefix);
    AVInputFormat const *format = nullptr;
    if (camera) {
        loadDevices();
        format = av_find_input_format("v4l2");
        if (format == nullptr) throw Exception("cameras can't be read: the library libavdevice has no v4l2");
    } else {
        avformat_network_init();
        settings.set("protocol_whitelist", networkProtocols);
        settings.set("rtsp_transport", "tcp"); // which loses nothing
        settings.set("timeout", std::to_string(networkPatience));
        settings.set("rw_timeout", std::to_string(networkPatience));
    }
    deadline = av_gettime_relative() + networkPatience;
    open(camera ? address.substr(cameraPrefix.size()) : address, format, settings);
}

Demuxer::~Demuxer() = default;

void Demuxer::open(std::string const &address, AVInputFormat const *format, av::Settings &settings) {
    AVFormatContext *opened = context.release(); // which is freed where opening fails
    int error = avformat_open_input(&opened, address.c_str(), format, settings.get());
    if (error < 0) failToOpen(error);
    context.reset(opened);
    av::ErrorWatch const watch(context.get());
    error = avformat_find_stream_info(context.get(), nullptr);
    if (error < 0) failToOpen(error);
    damage = watch.place();
    chooseStream();
}

void Demuxer::chooseStream() {
    int const index = av_find_best_stream(context.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (index == AVERROR_DECODER_NOT_FOUND)
        throw Exception(title + " can't be decoded: FFmpeg has no decoder for its video");
    if (index < 0) failOfContent("it has no video stream");
    for (unsigned i = 0; i < context->nb_streams; i++)
        if (static_cast<int>(i) != index) context->streams[i]->discard = AVDISCARD_ALL;
    video = context->streams[index];
    if (video->codecpar->width <= 0 || video->codecpar->height <= 0)
        throw Exception(title + " is not an image or video that can be read: it has no picture size");
}

SourceInfo Demuxer::describe() const {
    AVCodecParameters const &codec = *video->codecpar;
    SourceInfo info;
    info.path = path;
    info.files = {path};
    info.moving = true;
    info.live = live;
    AVRational const rate = av_guess_frame_rate(context.get(), video, nullptr);
    if (rate.num > 0 && rate.den > 0) info.rate = rational(rate);
    info.timeBase = rational(video->time_base);
    info.frames = statedFrames();
    info.variableRate = !isEvenlySpaced();
    info.interlaced = isInterlaced(codec.field_order);
    int const sound = av_find_best_stream(context.get(), AVMEDIA_TYPE_AUDIO, -1, video->index, nullptr, 0);
    if (sound >= 0 && input != nullptr && input->isFile())
        info.sound = avcodec_get_name(context->streams[sound]->codecpar->codec_id);
    if (std::string_view(context->iformat->name) == "gif") {
        std::string head(1024, '\0');
        head.resize(input->isFile() ? input->readAt(0, head.data(), head.size()) : 0);
        info.loops = loopsOfGif(head);
    }
    if (std::string_view(context->iformat->name) == "apng") info.loops = pngFacts(*input).loops;

    AVRational const aspect = av_guess_sample_aspect_ratio(context.get(), video, nullptr);
    if (aspect.num > 0 && aspect.den > 0) info.pixelAspect = rational(aspect);
    info.matrix = stated(av_color_space_name(codec.color_space), codec.color_space != AVCOL_SPC_UNSPECIFIED);
    info.range = stated(av_color_range_name(codec.color_range), codec.color_range != AVCOL_RANGE_UNSPECIFIED);
    info.primaries =
        stated(av_color_primaries_name(codec.color_primaries), codec.color_primaries != AVCOL_PRI_UNSPECIFIED);
    info.transfer = stated(av_color_transfer_name(codec.color_trc), codec.color_trc != AVCOL_TRC_UNSPECIFIED);
    return info;
}

/// The container's count, or else its duration in frames.
std::uint64_t Demuxer::statedFrames() const {
    if (video->nb_frames > 0) return static_cast<std::uint64_t>(video->nb_frames);
    AVRational const rate = av_guess_frame_rate(context.get(), video, nullptr);
    if (live || rate.num <= 0 || rate.den <= 0) return 0;
    bool const own = video->duration != AV_NOPTS_VALUE;
    std::int64_t const duration = own ? video->duration : context->duration;
    if (duration == AV_NOPTS_VALUE || duration <= 0) return 0;
    return static_cast<std::uint64_t>(
        av_rescale_q(duration, own ? video->time_base : AVRational{1, AV_TIME_BASE}, av_inv_q(rate)));
}

/// By all frames, where the container lists them ahead; else by what FFmpeg saw of them.
bool Demuxer::isEvenlySpaced() const {
    constexpr double tolerance = 0.01;
    int const entries = avformat_index_get_entries_count(video);
    bool const listsAll = std::string_view(context->iformat->name).starts_with("mov") && entries > 2;
    if (listsAll) {
        auto const at = [&](int i) { return avformat_index_get_entry(video, i)->timestamp; };
        for (int i = 2; i < entries; i++)
            if (at(i) - at(i - 1) != at(1) - at(0)) return false;
        return true;
    }
    AVRational const average = video->avg_frame_rate, least = video->r_frame_rate;
    if (average.num <= 0 || average.den <= 0 || least.num <= 0 || least.den <= 0) return true;
    return std::abs(av_q2d(average) / av_q2d(least) - 1) <= tolerance;
}

Orientation Demuxer::orientation() const {
    constexpr std::size_t matrixBytes = 9 * sizeof(std::int32_t);
    std::size_t size = 0;
    std::uint8_t const *const matrix = av_stream_get_side_data(video, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (matrix == nullptr || size < matrixBytes) return {};
    std::array<std::int32_t, 9> numbers{};
    std::copy_n(matrix, matrixBytes, reinterpret_cast<std::uint8_t *>(numbers.data()));
    return orientationOfMatrix(numbers.data());
}

bool Demuxer::canSeek() const { return !live && input != nullptr && input->isFile(); }

bool Demuxer::seek(std::int64_t time) {
    gap = followsIndex = false;
    listed = 0;
    return av_seek_frame(context.get(), video->index, time, AVSEEK_FLAG_BACKWARD) >= 0;
}

int Demuxer::read(AVPacket &packet) {
    while (true) {
        if (live) deadline = av_gettime_relative() + networkPatience;
        av::ErrorWatch const watch(context.get());
        int const error = av_read_frame(context.get(), &packet);
        if (!failure.empty()) throw Exception(failure);
        if (!damage) damage = watch.place();
        if (error >= 0 && packet.stream_index != video->index) {
            av_packet_unref(&packet);
            continue;
        }
        std::int64_t const place = error < 0 ? std::numeric_limits<std::int64_t>::max() : packet.pos;
        gap = !live && ((damage && (place < 0 || place >= *damage)) || passesOverListed(place));
        if (gap) damage.reset();
        if (error >= 0) packetEnd = packet.pos + packet.size;
        return error;
    }
}

/// Whether the index of an AVI, which is read chunk by chunk, lists a packet before this place that was not found.
bool Demuxer::passesOverListed(std::int64_t place) {
    constexpr std::int64_t header = 8; // which the index counts as a part of the packet
    if (place < 0 || std::string_view(context->iformat->name) != "avi") return false;
    int const count = avformat_index_get_entries_count(video);
    int next = listed;
    bool missing = false;
    AVIndexEntry const *entry = nullptr;
    for (; next < count; next++) {
        entry = avformat_index_get_entry(video, next);
        if (entry->pos >= place - header) break;
        missing = missing || entry->size > 0; // frames that were dropped are listed without data
    }
    bool const atEnd = next == count, found = !atEnd && entry->pos <= place;
    bool const passes = missing && followsIndex && (found || atEnd);
    followsIndex = found;
    if (found) listed = next + 1;
    return passes;
}

/// The reader of Y4M takes a frame that is cut short for the end.
bool Demuxer::endsInFrame() const {
    constexpr std::int64_t longestHeader = 80;
    return std::string_view(context->iformat->name) == "yuv4mpegpipe" &&
           static_cast<std::int64_t>(input->position()) > packetEnd + longestHeader;
}

bool Demuxer::isCutShort() const {
    return input != nullptr && (endsInFrame() || (input->isFile() && media::isCutShort(*input)));
}

} // namespace zun::media
