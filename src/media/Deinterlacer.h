// Whole frames from interlaced ones, by FFmpeg's filter bwdif; for the sources of this library alone.
#pragma once

#include "media/Av.h"

namespace zun::media {

/// Takes frames and gives as many, each made whole of the fields around it, one frame later. Not thread-safe.
class Deinterlacer {
public:
    /// The frame is taken over; `timeBase` is that of its time stamp.
    void give(AVFrame &frame, AVRational timeBase);

    /// No more frames come.
    void end();

    /// Fills in the next frame, in the time base of those that were given; false if there is none yet, or after the
    /// last.
    bool take(AVFrame &frame);

    bool ended() const { return finished; }

private:
    void build(AVFrame const &frame, AVRational timeBase);

    av::Graph graph;
    AVFilterContext *source = nullptr, *sink = nullptr;
    AVRational base{1, 1};
    bool finished = false;
};

} // namespace zun::media
