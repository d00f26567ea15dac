// Whole frames from interlaced ones, by FFmpeg's filter bwdif; for the sources of this library alone.
#pragma once

#include "media/Av.h"
#include "media/reading/Filters.h"

namespace zun::media {

/// Takes frames and gives as many, each made whole of the fields around it, one frame later. Not thread-safe. All
/// operations throw zun::Exception.
class Deinterlacer {
public:
    /// The frame stays the caller's. `timeBase` is that of its time stamp.
    void give(AVFrame &frame, AVRational timeBase);

    /// No more frames come.
    void end();

    /// Fills in the next frame, in the time base of those that were given; false if there is none yet, or after the
    /// last.
    bool take(AVFrame &frame);

    bool ended() const { return finished; }

private:
    av::FilterChain chain;
    AVRational base{1, 1};
    bool finished = false;
};

} // namespace zun::media
