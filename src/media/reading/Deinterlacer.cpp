#include "media/reading/Deinterlacer.h"

#include <string>

#include "containers/Exception.h"

namespace zun::media {

void Deinterlacer::give(AVFrame &frame, AVRational timeBase) {
    if (!chain) {
        base = timeBase;
        chain = av::FilterChain(
            "buffer=width=" + std::to_string(frame.width) + ":height=" + std::to_string(frame.height) +
                ":pix_fmt=" + std::to_string(frame.format) + ":time_base=" + std::to_string(base.num) + "/" +
                std::to_string(base.den) + ",bwdif=mode=send_frame:parity=auto:deint=all,buffersink",
            "frames of this form can't be deinterlaced");
    }
    frame.pts = frame.best_effort_timestamp;
    int const error = chain.give(&frame);
    if (error < 0) throw Exception("a frame can't be deinterlaced: " + av::reason(error));
}

void Deinterlacer::end() {
    if (chain)
        chain.give(nullptr);
    else
        finished = true;
}

bool Deinterlacer::take(AVFrame &frame) {
    if (!chain || finished) return false;
    av_frame_unref(&frame);
    int const error = chain.take(frame);
    if (error == AVERROR_EOF) finished = true;
    if (error < 0) return false;
    AVRational const out = chain.timeBase();
    if (frame.pts != AV_NOPTS_VALUE) frame.pts = av_rescale_q(frame.pts, out, base);
    if (av_cmp_q(out, base) != 0) frame.pkt_duration = 0;
    frame.best_effort_timestamp = frame.pts;
    return true;
}

} // namespace zun::media
