// The sound of a source, copied into a video without being encoded again; for the sources of this library alone.
#pragma once

#include <deque>
#include <memory>
#include <string>

#include "media/Av.h"
#include "media/Source.h"
#include "media/writing/OutputFormats.h"

namespace zun::media {

/// Whether a container takes sound of a codec, such as "aac".
bool takesSound(OutputFormat const &format, std::string const &codec);

/// The endings of the formats that take it.
std::string formatsForSound(std::string const &codec);

/// Packets of sound, cut to the frames of a video. What is wrong with the sound is warned of, and ends it: the video
/// stays. Not thread-safe.
class SoundCopy {
public:
    /// From the file of the video's first frame on. `canBeginBefore` says whether packets that begin before the video
    /// can be trimmed by the container.
    SoundCopy(std::string const &output, FrameSource const &firstFrame, bool canBeginBefore);
    ~SoundCopy();
    SoundCopy(SoundCopy const &) = delete;
    SoundCopy &operator=(SoundCopy const &) = delete;

    /// Adds a stream to a file whose header is not written yet. Returns whether there is sound.
    bool addTo(AVFormatContext &output);

    /// The next packet, if it begins before a time of the video: timed from the video's start on, in the unit of the
    /// added stream. Null where there is none.
    av::Packet next(std::int64_t end, AVRational unit);

private:
    bool open();
    void findStreams();
    bool read();
    bool prepare();
    void cutToStart(AVPacket &packet) const;
    void giveUp(std::string const &why);

    std::string output, file;
    FrameSource first;
    bool canBeginBefore;
    AVFormatContext *input = nullptr;
    AVStream *sound = nullptr; ///< null where there is none, or no more
    AVStream *target = nullptr;
    std::int64_t start = 0;       ///< of the video, in the unit of `sound`
    std::int64_t statedDelay = 0; ///< what a player leaves out, as the container says, in the unit of `sound`
    std::int64_t lastDts = AV_NOPTS_VALUE;
    av::Packet ahead; ///< read and not yet given
};

} // namespace zun::media
