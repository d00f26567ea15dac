// The frames of a video that were decoded once, so that a reader can go back to them; for the sources of this library
// alone.
//
// What a container says of its frames is not certain, so frames are found by what was seen of them: a key frame before,
// by its stamp, and from there the stamp of the frame itself.
#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <vector>

#include "media/Av.h"

namespace zun::media {

class FrameIndex {
public:
    /// Of frames with this codec; without one, none are found.
    explicit FrameIndex(AVCodecID codec = AV_CODEC_ID_NONE);

    /// A packet that the container marks as one from which decoding can begin was sent to the decoder.
    void noteKey(std::int64_t stamp) { keyPackets.insert(stamp); }

    /// The frame of this number was given, with the time that it got. One that was noted before is passed over.
    void note(std::uint64_t number, AVFrame const &frame, std::int64_t time);

    struct Route {
        std::int64_t keyStamp;   ///< of the key frame to begin with
        std::int64_t stamp;      ///< of the frame
        std::int64_t timeBefore; ///< the time of the frame before it
    };

    /// How to get to a frame from the one that would come next; none where that is unknown, or no shorter than reading
    /// on.
    std::optional<Route> route(std::uint64_t from, std::uint64_t to) const;

private:
    struct Seen {
        std::int64_t stamp, time;
    };

    bool usable;                       ///< stamps tell the frames apart, and key frames need nothing before them
    std::set<std::int64_t> keyPackets; ///< stamps
    std::vector<Seen> seen;            ///< by number
    std::vector<std::uint64_t> keys;   ///< numbers of key frames, in order
};

} // namespace zun::media
