#include "media/writing/VideoWriter.h"

#include <cerrno>
#include <deque>
#include <map>
#include <optional>

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/writing/ByteSink.h"
#include "media/writing/EncoderPictures.h"
#include "media/writing/OutputFormats.h"
#include "media/writing/SoundCopy.h"
#include "media/writing/VideoCodecs.h"
#include "media/writing/VideoTimes.h"

namespace zun::media {
namespace {

std::string describe(Pixels const &pixels) {
    return std::to_string(pixels.height) + " rows, " + std::to_string(pixels.width) + " columns and " +
           std::to_string(pixels.channels) + (pixels.channels == 1 ? " channel" : " channels");
}

VideoForm formOf(Pixels const &first, VideoTimes const &times, FrameSource const *source) {
    VideoForm form{first, times.timeBase(), times.rate(), times.even()};
    form.frames.bytes.reset();
    if (source == nullptr || source->info == nullptr) return form;
    SourceInfo const &info = *source->info;
    form.pixelAspect = {static_cast<int>(info.pixelAspect.numerator), static_cast<int>(info.pixelAspect.denominator)};
    // Frames keep the colours of their source, and only the matrix is the encoder's.
    int const primaries = av_color_primaries_from_name(info.primaries.c_str());
    int const transfer = av_color_transfer_from_name(info.transfer.c_str());
    if (info.moving && primaries > 0) form.primaries = static_cast<AVColorPrimaries>(primaries);
    if (info.moving && transfer > 0) form.transfer = static_cast<AVColorTransferCharacteristic>(transfer);
    return form;
}

} // namespace

struct VideoWriter::Implementation {
    std::string path;
    std::unique_ptr<PartialFile> place;
    OutputFormat const &format;
    VideoTimes times;
    VideoForm form;
    av::Codec codec;
    EncoderPictures pictures;
    std::optional<ByteSink> sink;
    std::optional<SoundCopy> sound;
    av::Packet packet{av_packet_alloc()};
    AVFormatContext *output = nullptr;
    AVStream *video = nullptr;
    std::map<std::int64_t, std::int64_t> durations; ///< of frames in the encoder, by their times
    std::deque<av::Packet> waiting;                 ///< sound that comes after the encoder's last packet
    std::int64_t end = 0;                           ///< of the last frame
    std::optional<std::int64_t> plays;              ///< of a GIF made of an animation

    Implementation(std::string const &name, std::unique_ptr<PartialFile> partial, Pixels const &first,
                   FrameSource const *source, WriteSettings const &settings)
        : path(name), place(std::move(partial)), format(*formatOf(name, settings.container)),
          times(name, format, settings, source), form(formOf(first, times, source)),
          codec(openEncoder(name, format, settings, form)), pictures(first, *codec) {
        if (!packet) throw std::bad_alloc();
        bool const copies = source != nullptr && source->info != nullptr && settings.audio == "copy" &&
                            keepsPace(source->info.get(), settings) && source->info->files.size() == 1 &&
                            takesSound(format, source->info->sound);
        if (format.name == "gif" && source != nullptr && source->info != nullptr) plays = source->info->loops;
        if (copies) sound.emplace(name, *source, format.trimsSound);
        try {
            open();
        } catch (...) {
            close();
            throw;
        }
    }
    Implementation(Implementation const &) = delete;
    Implementation &operator=(Implementation const &) = delete;
    ~Implementation() { close(); }

    void open() {
        check(avformat_alloc_output_context2(&output, nullptr, format.muxer, path.c_str()));
        output->flags |= AVFMT_FLAG_BITEXACT;
        addVideo();
        if (sound && !sound->addTo(*output)) sound.reset();
        if (place == nullptr)
            sink.emplace(path);
        else
            sink.emplace(place->descriptor());
        output->pb = sink->context();
        av::Settings settings;
        if (place == nullptr && format.trimsSound) settings.set("movflags", "frag_keyframe+empty_moov");
        if (plays) settings.set("loop", std::to_string(*plays == 1 ? -1 : *plays == 0 ? 0 : *plays - 1));
        check(avformat_write_header(output, settings.get()));
    }

    void addVideo() {
        video = avformat_new_stream(output, nullptr);
        if (video == nullptr) throw std::bad_alloc();
        check(avcodec_parameters_from_context(video->codecpar, codec.get()));
        video->time_base = codec->time_base;
        if (times.even()) video->avg_frame_rate = video->r_frame_rate = times.rate();
        video->sample_aspect_ratio = codec->sample_aspect_ratio;
    }

    void write(Pixels const &pixels, FrameSource const *source) {
        if (!pixels.sameForm(form.frames))
            throw Exception("'" + path + "': this frame has " + describe(pixels) +
                            ", but the video began with frames of " + describe(form.frames));
        VideoTimes::Span const span = times.next(source);
        end = span.start + span.duration;
        durations[span.start] = span.duration;
        av::Frame const picture = pictures.picture(pixels);
        picture->pts = span.start;
        picture->quality = codec->global_quality;
        if (times.moved()) endSound();
        copySound();
        encode(picture.get());
    }

    /// Where frames are played again, there is no sound that fits.
    void endSound() {
        if (sound)
            warnOnce("'" + path + "': the frames of the source are played again, so its sound ends with the first " +
                     "time; add sound to the video afterwards, or set audio: none");
        sound.reset();
    }

    void copySound() {
        if (!sound) return;
        while (av::Packet next = sound->next(end, codec->time_base)) waiting.push_back(std::move(next));
    }

    /// Encodes a picture, or with null what the encoder still holds.
    void encode(AVFrame const *picture) {
        check(avcodec_send_frame(codec.get(), picture));
        while (true) {
            int const got = avcodec_receive_packet(codec.get(), packet.get());
            if (got == AVERROR(EAGAIN) || got == AVERROR_EOF) return;
            check(got);
            if (auto const known = durations.extract(packet->pts)) packet->duration = known.mapped();
            packet->stream_index = video->index;
            packet->pos = -1;
            writeSound(packet->dts);
            av_packet_rescale_ts(packet.get(), codec->time_base, video->time_base);
            writePacket(*packet);
        }
    }

    /// Up to a time in the encoder's unit, or all of it.
    void writeSound(std::optional<std::int64_t> before) {
        for (; !waiting.empty(); waiting.pop_front()) {
            AVPacket &next = *waiting.front();
            AVRational const unit = output->streams[next.stream_index]->time_base;
            if (before && av_compare_ts(next.dts, unit, *before, codec->time_base) > 0) return;
            writePacket(next);
        }
    }

    void writePacket(AVPacket &one) {
        check(av_write_frame(output, &one));
        av_packet_unref(&one);
        checkSink();
    }

    /// What is written late fails late, so the buffer is emptied before the result is asked for.
    void checkSink() { check(sink->flush()); }

    void finish() {
        bool const readerHasGone = place == nullptr && output->pb->error < 0; // write() has told of it
        if (readerHasGone) return close();
        try {
            encode(nullptr);
            writeSound({});
            check(av_write_trailer(output));
            checkSink();
        } catch (Exception const &error) {
            if (place == nullptr) throw;
            place->keep();
            throw Exception(std::string(error.what()) + "; what was encoded is in '" + place->name() + "'");
        }
        close();
        if (place != nullptr) place->commit();
    }

    void close() {
        if (output != nullptr) output->pb = nullptr;
        avformat_free_context(std::exchange(output, nullptr));
    }

    void check(int result) const {
        if (result == AVERROR(EPIPE))
            throw Exception("'" + path + "' can't be written: the program that reads from it has ended");
        if (result < 0) throw Exception("'" + path + "' can't be written: " + av::reason(result));
    }
};

VideoWriter::VideoWriter(std::string const &path, std::unique_ptr<PartialFile> place, Pixels const &first,
                         FrameSource const *source, WriteSettings const &settings)
    : implementation(std::make_unique<Implementation>(path, std::move(place), first, source, settings)) {}
VideoWriter::~VideoWriter() = default;

void VideoWriter::write(Pixels const &pixels, FrameSource const *source) { implementation->write(pixels, source); }

void VideoWriter::finish() { implementation->finish(); }

} // namespace zun::media
