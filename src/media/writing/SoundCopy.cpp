#include "media/writing/SoundCopy.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

#include "media/Host.h"

namespace zun::media {
namespace {

constexpr AVRational microseconds{1, AV_TIME_BASE};
constexpr std::array streamed{AV_CODEC_ID_AAC, AV_CODEC_ID_MP2,  AV_CODEC_ID_MP3,
                              AV_CODEC_ID_AC3, AV_CODEC_ID_EAC3, AV_CODEC_ID_OPUS};

AVRational rational(Rational const &value) {
    return {static_cast<int>(value.numerator), static_cast<int>(value.denominator)};
}

} // namespace

bool takesSound(OutputFormat const &format, std::string const &codec) {
    AVCodecDescriptor const *const known = avcodec_descriptor_get_by_name(codec.c_str());
    if (format.muxer == nullptr || known == nullptr) return false;
    AVOutputFormat const *const muxer = av_guess_format(format.muxer, nullptr, nullptr);
    if (muxer == nullptr || muxer->audio_codec == AV_CODEC_ID_NONE) return false;
    if (format.name == "ts") // has no table to ask
        return std::find(streamed.begin(), streamed.end(), known->id) != streamed.end();
    return avformat_query_codec(muxer, known->id, FF_COMPLIANCE_NORMAL) == 1;
}

std::string formatsForSound(std::string const &codec) {
    std::vector<std::string> endings;
    for (OutputFormat const &format : outputFormats())
        if (takesSound(format, codec)) endings.emplace_back(format.endings.at(0));
    return alternatives(endings);
}

SoundCopy::SoundCopy(std::string const &outputFile, FrameSource const &firstFrame, bool trims)
    : output(outputFile), file(firstFrame.file), first(firstFrame), canBeginBefore(trims) {
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(file, ignored))
        giveUp("is not a file, from which its sound could be copied");
    else if (open())
        findStreams();
}

SoundCopy::~SoundCopy() { avformat_close_input(&input); }

bool SoundCopy::open() {
    av::Settings settings;
    settings.set("protocol_whitelist", "file");
    int error = avformat_open_input(&input, ("file:" + file).c_str(), nullptr, settings.get());
    if (error >= 0) error = avformat_find_stream_info(input, nullptr);
    if (error < 0) giveUp("has sound that can't be read: " + av::reason(error));
    return error >= 0;
}

void SoundCopy::findStreams() {
    int const video = av_find_best_stream(input, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    int const audio = av_find_best_stream(input, AVMEDIA_TYPE_AUDIO, -1, video, nullptr, 0);
    if (audio < 0) return;
    sound = input->streams[audio];
    for (unsigned i = 0; i < input->nb_streams; i++)
        if (static_cast<int>(i) != audio) input->streams[i]->discard = AVDISCARD_ALL;

    start = av_rescale_q(first.start + first.time, rational(first.info->timeBase), sound->time_base);

    // Somewhat before, as seeking is not exact. Where it fails, the file is read from its beginning.
    if (first.time > 0) {
        std::int64_t const before = start - av_rescale_q(2 * AV_TIME_BASE, microseconds, sound->time_base);
        avformat_seek_file(input, audio, INT64_MIN, before, before, 0);
    }
}

bool SoundCopy::addTo(AVFormatContext &video) {
    if (sound == nullptr) return false;
    target = avformat_new_stream(&video, nullptr);
    if (target == nullptr || avcodec_parameters_copy(target->codecpar, sound->codecpar) < 0) throw std::bad_alloc();
    target->codecpar->codec_tag = 0; // the container has its own
    target->time_base = sound->time_base;
    AVCodecParameters const &parameters = *sound->codecpar;
    bool const matroska = std::string_view(video.oformat->name).find("matroska") != std::string_view::npos ||
                          std::string_view(video.oformat->name) == "webm";
    if (matroska && parameters.codec_id == AV_CODEC_ID_OPUS && parameters.sample_rate > 0)
        statedDelay = av_rescale_q(parameters.initial_padding, {1, parameters.sample_rate}, sound->time_base);
    return true;
}

/// Reads a packet of the sound into `ahead`.
bool SoundCopy::read() {
    if (sound == nullptr) return false;
    ahead.reset(av_packet_alloc());
    if (!ahead) throw std::bad_alloc();
    while (true) {
        int const error = av_read_frame(input, ahead.get());
        bool const damaged = error >= 0 && (ahead->flags & AV_PKT_FLAG_CORRUPT) != 0;
        if (error < 0 || damaged) {
            ahead.reset();
            if (error != AVERROR_EOF || (input->pb != nullptr && input->pb->error != 0))
                giveUp("has damaged sound, which is copied up to there: " +
                       av::reason(damaged ? AVERROR_INVALIDDATA : error));
            sound = nullptr;
            return false;
        }
        if (ahead->stream_index == sound->index && prepare()) return true;
        av_packet_unref(ahead.get());
        if (sound == nullptr) return false;
    }
}

/// Leaves out the samples before the video where nothing is encoded, so that it holds in every container.
void SoundCopy::cutToStart(AVPacket &packet) const {
    AVCodecParameters const &form = *sound->codecpar;
    bool const plain = std::string_view(avcodec_get_name(form.codec_id)).starts_with("pcm_");
    int const sampleBytes = av_get_bits_per_sample(form.codec_id) / 8 * form.ch_layout.nb_channels;
    if (!plain || sampleBytes <= 0 || packet.pts >= 0 || packet.pts + packet.duration <= 0) return;
    std::int64_t const samples = av_rescale_q(-packet.pts, sound->time_base, {1, form.sample_rate});
    std::int64_t const bytes = samples * sampleBytes;
    if (bytes >= packet.size) return;
    packet.data += bytes;
    packet.size -= static_cast<int>(bytes);
    packet.duration += packet.pts;
    packet.pts = packet.dts = 0;
}

/// Times a packet from the video's start on. Returns whether it belongs to the video.
bool SoundCopy::prepare() {
    AVPacket &packet = *ahead;
    if (packet.pts == AV_NOPTS_VALUE) packet.pts = packet.dts;
    if (packet.dts == AV_NOPTS_VALUE) packet.dts = packet.pts;
    if (packet.pts == AV_NOPTS_VALUE) {
        giveUp("has sound without times, which can't be copied");
        return false;
    }
    packet.pts -= start;
    packet.dts -= start;
    cutToStart(packet);
    // Decoders need the packet before the first, where what is too early of it is not played.
    std::int64_t const earliest = canBeginBefore ? -packet.duration * 3 / 2 : -statedDelay;
    if (packet.pts < earliest || (lastDts != AV_NOPTS_VALUE && packet.dts <= lastDts)) return false;
    lastDts = packet.dts;
    packet.pos = -1;
    return true;
}

av::Packet SoundCopy::next(std::int64_t end, AVRational unit) {
    if (ahead == nullptr && !read()) return nullptr;
    AVRational const inputUnit = input->streams[ahead->stream_index]->time_base;
    if (av_compare_ts(ahead->pts, inputUnit, end, unit) >= 0) return nullptr;
#if LIBAVFORMAT_VERSION_MAJOR < 60
    // Readers take the delay off; later versions add it themselves.
    ahead->pts += statedDelay;
    ahead->dts += statedDelay;
#endif
    av_packet_rescale_ts(ahead.get(), inputUnit, target->time_base);
    ahead->stream_index = target->index;
    return std::move(ahead);
}

void SoundCopy::giveUp(std::string const &why) {
    warnOnce("'" + output + "': '" + file + "' " + why);
    sound = nullptr;
}

} // namespace zun::media
