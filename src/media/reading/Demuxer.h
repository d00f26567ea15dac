// Containers, streams, addresses and cameras, opened by FFmpeg; for the sources of this library alone.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "media/Av.h"
#include "media/reading/Decoder.h"

namespace zun::media {

/// What is open, at its first packet. All operations throw zun::Exception with the name of what is read.
class Demuxer {
public:
    /// Of a file or stream. Nothing else is opened, whatever its content names.
    explicit Demuxer(Source input);

    /// Of an address or a camera.
    explicit Demuxer(std::string const &address);

    ~Demuxer();
    Demuxer(Demuxer const &) = delete;
    Demuxer &operator=(Demuxer const &) = delete;

    AVStream *stream() const { return video; }
    std::string const &name() const { return title; } ///< as messages have it
    bool isLive() const { return live; }

    /// What the container says.
    SourceInfo describe() const;
    Orientation orientation() const;

    /// Reads the next packet of the stream: FFmpeg's error code.
    int read(AVPacket &packet);

    /// Whether it can go to a place in the file.
    bool canSeek() const;

    /// Goes to the last packet at or before a time in the stream's time base from which decoding can begin, as far as
    /// the container knows. False where that fails.
    bool seek(std::int64_t time);

    /// Whether damaged data was passed over before the packet that was read last, or before the end.
    bool hasGap() const { return gap; }

    /// Whether the file ends before its container does. Asked after the last packet.
    bool isCutShort() const;

private:
    struct Free {
        void operator()(AVFormatContext *context) const;
        void operator()(AVIOContext *context) const;
    };

    void allocate();
    void open(std::string const &address, AVInputFormat const *format, av::Settings &settings);
    void chooseStream();
    std::uint64_t statedFrames() const;
    bool isEvenlySpaced() const;
    bool passesOverListed(std::int64_t place);
    bool endsInFrame() const;
    [[noreturn]] void failToOpen(int error) const;
    [[noreturn]] void failOfContent(std::string const &why) const;

    Source input;
    std::string path, title, failure; ///< `failure`: why the input can't be read
    bool live = false;
    std::int64_t deadline = 0; ///< of an address, in FFmpeg's clock
    std::unique_ptr<AVIOContext, Free> io;
    std::unique_ptr<AVFormatContext, Free> context;
    AVStream *video = nullptr;

    bool gap = false;
    std::optional<std::int64_t> damage; ///< where it was met, ahead of the packets that are given
    int listed = 0;                     ///< packets of the index that are passed
    bool followsIndex = false;          ///< the last packet was in it
    std::int64_t packetEnd = 0;

    friend struct DemuxerCalls;
};

} // namespace zun::media
