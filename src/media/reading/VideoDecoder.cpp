// Videos, animations and streams by FFmpeg.

#include <algorithm>
#include <utility>

#include "containers/Exception.h"
#include "media/Host.h"
#include "media/reading/Conversion.h"
#include "media/reading/Deinterlacer.h"
#include "media/reading/Demuxer.h"
#include "media/reading/FrameIndex.h"

namespace zun::media {
namespace {

constexpr char const *unreadable = "a part of its data can't be read";
constexpr unsigned mostThreads = 16; // more of them need much memory and gain little

class VideoDecoder final : public Decoder {
    Demuxer demuxer;
    ReadSettings const settings;
    av::Codec codec;
    av::Packet packet{av_packet_alloc()};
    av::Frame picture{av_frame_alloc()};
    std::optional<Deinterlacer> deinterlacer;
    Converter converter{std::min(hostSettings().threadBudget(), mostThreads)};

    std::uint64_t given = 0;   ///< frames that were given
    std::uint64_t skipped = 0; ///< damaged frames that were left out
    bool gap = false;          ///< damaged data was left out that no frame was made of
    std::string fault;         ///< of data; told when the frames before are given
    std::uint64_t passed = 0;  ///< packets before the first key frame
    bool begun = false, draining = false, ended = false;
    FrameIndex index;                        ///< of the frames that were given
    bool atHand = false;                     ///< `picture` is the next frame already
    std::int64_t soughtKey = AV_NOPTS_VALUE; ///< packets before the key packet of this time are passed over
    std::int64_t keyTime = AV_NOPTS_VALUE;   ///< of the first key frame
    std::int64_t firstTime = AV_NOPTS_VALUE, lastTime = 0, nextTime = 0; ///< in the stream's time base

public:
    template <class From>
    VideoDecoder(From &&from, ReadSettings const &readSettings)
        : demuxer(std::forward<From>(from)), settings(readSettings) {
        info = demuxer.describe();
        orientation = demuxer.orientation();
        openDecoder();
        AVCodecParameters const &parameters = *demuxer.stream()->codecpar;
        width = static_cast<std::uint32_t>(parameters.width);
        height = static_cast<std::uint32_t>(parameters.height);
        auto const format = static_cast<AVPixelFormat>(parameters.format);
        if (format != AV_PIX_FMT_NONE) {
            info.bitDepth = bitsOf(format);
            // What palettes and animated GIFs hold beside colours shows in single frames only.
            std::uint64_t const flags = av_pix_fmt_desc_get(format)->flags;
            info.alpha = (flags & AV_PIX_FMT_FLAG_ALPHA) != 0 && (flags & AV_PIX_FMT_FLAG_PAL) == 0 &&
                         parameters.codec_id != AV_CODEC_ID_GIF;
            leftOut = leftOutOf(format, info.alpha);
        }
        index = FrameIndex(parameters.codec_id);
        tellOfLight();
        if (settings.deinterlace)
            info.interlaced = false;
        else if (info.interlaced)
            leftOut.emplace_back(
                "is interlaced: each frame shows two moments; the option deinterlace: true makes whole "
                "frames of them");
    }

    bool next(WantedFrames wanted, Frames &frames) override {
        if (!std::exchange(atHand, false) && !decodeWhole()) return false;
        setTime();
        index.note(given, *picture, time);
        given++;
        if (wanted.rgb || wanted.grey) {
            try {
                frames = converter.toFrames(*picture, wanted);
            } catch (Exception const &error) {
                throw Exception(demuxer.name() + " " + error.what());
            }
        }
        return true;
    }

    /// By the key frame before, for frames that were given once.
    bool jump(std::uint64_t frame) override {
        if (settings.deinterlace || !demuxer.canSeek() || skipped != 0 || gap || !fault.empty()) return false;
        std::optional<FrameIndex::Route> const route = index.route(given, frame);
        if (!route) return false;
        lost = true;
        if (!demuxer.seek(route->keyStamp)) return false;
        avcodec_flush_buffers(codec.get());
        draining = ended = false;
        soughtKey = route->keyStamp;
        do {
            // Frames that are shown before the key frame may miss what they are made of.
            bool const counts = decode() && picture->best_effort_timestamp >= route->keyStamp;
            bool const damaged = counts && picture->decode_error_flags != 0;
            if (ended || damaged || !fault.empty() || picture->best_effort_timestamp > route->stamp) return false;
        } while (picture->best_effort_timestamp != route->stamp);
        lost = false;
        atHand = true;
        given = frame;
        lastTime = route->timeBefore;
        return true;
    }

private:
    void openDecoder() {
        AVStream const &stream = *demuxer.stream();
        AVCodec const *const decoder = avcodec_find_decoder(stream.codecpar->codec_id);
        codec.reset(avcodec_alloc_context3(decoder));
        if (!codec || !packet || !picture) throw std::bad_alloc();
        avcodec_parameters_to_context(codec.get(), stream.codecpar);
        codec->pkt_timebase = stream.time_base;
        codec->thread_count = static_cast<int>(std::min(hostSettings().threadBudget(), mostThreads));
        // Several frames at a time would come late from something live.
        codec->thread_type = demuxer.isLive() ? FF_THREAD_SLICE : FF_THREAD_FRAME | FF_THREAD_SLICE;
        int const error = avcodec_open2(codec.get(), decoder, nullptr);
        if (error < 0) throw Exception(demuxer.name() + " can't be decoded: " + av::reason(error));
    }

    void tellOfLight() {
        if (info.transfer == "smpte2084" || info.transfer == "arib-std-b67")
            leftOut.push_back("has high dynamic range (" + info.transfer +
                              "), whose values are read as they are, without tone mapping");
    }

    /// The next frame that is not damaged, deinterlaced where that is asked for.
    bool decodeWhole() {
        if (!settings.deinterlace) return decodeSound();
        if (!deinterlacer) deinterlacer.emplace();
        while (!deinterlacer->take(*picture)) {
            if (deinterlacer->ended()) return false;
            if (decodeSound())
                deinterlacer->give(*picture, demuxer.stream()->time_base);
            else
                deinterlacer->end();
        }
        return true;
    }

    bool decodeSound() {
        while (decode()) {
            bool const damaged = picture->decode_error_flags != 0 || (picture->flags & AV_FRAME_FLAG_CORRUPT) != 0;
            if (!damaged) return true;
            if (!isBeforeStart(*picture)) meetDamage("its data can't be decoded");
        }
        return false;
    }

    /// Where a stream begins in the middle, what comes before its first key frame can't be decoded, whether it is
    /// stored before or after it.
    bool isBeforeStart(AVFrame const &frame) const {
        return frame.best_effort_timestamp != AV_NOPTS_VALUE && keyTime != AV_NOPTS_VALUE &&
               frame.best_effort_timestamp < keyTime;
    }
    bool waitsForKey(AVPacket const &next) {
        constexpr std::uint64_t longestWait = 1000; // some streams have no key frames
        if (begun) return false;
        begun = (next.flags & AV_PKT_FLAG_KEY) != 0 || ++passed == longestWait;
        if (begun) keyTime = next.pts;
        return !begun;
    }

    /// Decodes the next picture; false after the last.
    bool decode() {
        while (!ended) {
            int const got = avcodec_receive_frame(codec.get(), picture.get());
            if (got >= 0) return true;
            if (got == AVERROR_EOF)
                finish();
            else if (got != AVERROR(EAGAIN))
                meetDamage(av::reason(got));
            else
                feed();
        }
        return false;
    }

    void finish() {
        ended = true;
        if (lost) return; // whoever jumps will see
        if (!fault.empty()) tellFault();
        if (skipped != 0)
            warnOnce(demuxer.name() + ": " + std::to_string(skipped) +
                     (skipped == 1 ? " damaged frame was left out" : " damaged frames were left out"));
        if (gap) warnOnce(demuxer.name() + ": damaged data between frames was left out, and the frames in it");
        if (given == 0 && skipped == 0 && fault.empty())
            throw Exception(demuxer.name() + " has no frame that can be decoded");
    }

    /// Of data, at the frame after those that were given. `fault` ends the stream once the frames before are out.
    void meetDamage(std::string const &why, bool ofFrame = true) {
        if (settings.damaged == Damaged::Skip) {
            if (ofFrame) skipped++;
            gap = gap || !ofFrame;
            return;
        }
        if (fault.empty()) fault = why;
        endOfData();
    }

    void tellFault() {
        std::string const what = demuxer.name() + " is damaged at frame " + std::to_string(given) + ": " + fault;
        if (settings.damaged == Damaged::Error)
            throw Exception(what + "; damaged: stop ends there, damaged: skip leaves such frames out");
        warnOnce(what + ", so it ends there");
    }

    void endOfData() {
        if (std::exchange(draining, true)) return;
        avcodec_send_packet(codec.get(), nullptr);
    }

    /// Sends the decoder its next packet, or the end of the stream.
    void feed() {
        constexpr int mostReadErrors = 1000;
        for (int errors = 0; !draining;) {
            int const read = demuxer.read(*packet);
            if (read == AVERROR_EOF) {
                if (demuxer.isCutShort())
                    meetDamage("the file ends before its frames do");
                else if (demuxer.hasGap())
                    meetDamage(unreadable, false);
                return endOfData();
            }
            if (read < 0) {
                if (errors == 0) meetDamage(av::reason(read));
                if (++errors == mostReadErrors || demuxer.isLive()) endOfData();
                continue;
            }
            if (begun && demuxer.hasGap()) meetDamage(unreadable, false);
            if (draining) return av_packet_unref(packet.get());
            bool const isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0;
            if (isKey) index.noteKey(packet->pts);
            if (isKey && packet->pts == soughtKey) soughtKey = AV_NOPTS_VALUE;
            bool const waits = waitsForKey(*packet) || soughtKey != AV_NOPTS_VALUE,
                       cut = !waits && (packet->flags & AV_PKT_FLAG_CORRUPT) != 0;
            if (cut) meetDamage("a part of its data is missing");
            int const sent = waits || cut ? 0 : avcodec_send_packet(codec.get(), packet.get());
            av_packet_unref(packet.get());
            if (waits || cut) continue;
            if (sent < 0) meetDamage(av::reason(sent));
            return;
        }
    }

    void setTime() {
        AVStream const &stream = *demuxer.stream();
        std::int64_t stamp = picture->best_effort_timestamp;
        std::int64_t step = picture->pkt_duration;
        if (step <= 0 && info.rate.numerator > 0)
            step = av_rescale_q(
                1, AVRational{static_cast<int>(info.rate.denominator), static_cast<int>(info.rate.numerator)},
                stream.time_base);
        if (stamp == AV_NOPTS_VALUE) stamp = firstTime == AV_NOPTS_VALUE ? 0 : firstTime + nextTime;
        if (firstTime == AV_NOPTS_VALUE) firstTime = stamp;
        start = firstTime;
        time = stamp - firstTime;
        if (given != 0 && time <= lastTime) time = nextTime; // stamps that go back are no times
        duration = std::max<std::int64_t>(step, 0);
        lastTime = time;
        nextTime = time + std::max<std::int64_t>(step, 1);
    }
};

} // namespace

std::unique_ptr<Decoder> openVideo(Source &input, ReadSettings const &settings) {
    return std::make_unique<VideoDecoder>(std::move(input), settings);
}

std::unique_ptr<Decoder> openLive(std::string const &address, ReadSettings const &settings) {
    return std::make_unique<VideoDecoder>(address, settings);
}

} // namespace zun::media
