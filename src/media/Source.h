// What a source knows of its frames beside their pixels.
//
// ReadFrames writes a FrameSource a tick on its output `source`. It reaches the nodes that write files and records
// without a word in the description (OutputRow::besideFrames()), so that times, names and sound come out as they came
// in. A frame itself holds nothing of this.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "pipeline/types/Record.h"
#include "pipeline/types/TypeTable.h"

namespace zun::media {

struct Rational {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;

    double value() const { return static_cast<double>(numerator) / static_cast<double>(denominator); }
    bool operator==(Rational const &) const = default;
};

/// What holds for all frames of a source. Texts are those of FFmpeg, such as "bt709"; empty where nothing is stated.
struct SourceInfo {
    std::string path;               ///< as the description has it
    std::vector<std::string> files; ///< in their order; a video, stream or camera is one
    bool moving = false;            ///< frames follow one another in time: a video, an animation, a stream
    std::uint64_t frames = 0; ///< how many there are in all; of a video what its file says, which may be wrong; 0:
                              ///< unknown, or without end

    // Of something that moves.
    Rational rate;                     ///< frames a second on average; 0 where none is stated
    Rational timeBase{1, 1};           ///< what FrameSource::time counts, in seconds
    bool variableRate = false;         ///< the frames are not evenly spaced, as far as the file says
    bool interlaced = false;           ///< and not deinterlaced by the reader
    bool live = false;                 ///< a camera or an address: it has no beginning to go back to
    std::string sound;                 ///< codec, such as "aac"; empty for none. Of several files, the first one's
    std::optional<std::int64_t> loops; ///< how often an animation is played, 0: without end; none for anything else

    // Of the file, before what ReadFrames converts.
    int bitDepth = 8; ///< bits a channel
    bool alpha = false;
    Rational pixelAspect{1, 1}; ///< width of a pixel by its height, after rotation
    int rotation = 0;           ///< clockwise, in degrees, that the reader applied or, with orientation: keep, left
    bool mirrored = false;      ///< and flipped left to right after the rotation
    std::string matrix, range, primaries, transfer;
};

/// Of one frame.
struct FrameSource {
    std::shared_ptr<SourceInfo const> info; ///< never null in a frame of ReadFrames
    std::string file;                       ///< that the frame is from
    std::uint64_t number = 0; ///< the number in the file's name, for a numbered sequence; its place in a list of files;
                              ///< else the frame's place in the video, from 0
    std::int64_t time = 0;    ///< in info->timeBase, from the first frame of the source on; 0 for a picture
    std::int64_t duration = 0; ///< in info->timeBase; 0 where it is not known
    std::int64_t start = 0;    ///< in info->timeBase: the stamp in the file, as its sound has it, of its first frame

    double seconds() const { return info == nullptr ? 0 : static_cast<double>(time) * info->timeBase.value(); }
};

} // namespace zun::media

template <>
struct zun::TypeName<zun::media::FrameSource> {
    static constexpr std::string_view text = "zun::media::FrameSource";
};

/// A frame's source stands in a record as [file, number, seconds].
template <>
struct zun::Record<zun::media::FrameSource> {
    static media::FrameSource read(OptionNode const &node, RecordPlace const &place);
    static void write(media::FrameSource const &source, RecordSink &sink);
};
