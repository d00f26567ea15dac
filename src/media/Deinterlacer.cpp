#include "media/Deinterlacer.h"

#include <string>

#include "containers/Exception.h"

namespace zun::media {

void Deinterlacer::build(AVFrame const &frame, AVRational timeBase) {
    base = timeBase;
    graph.reset(avfilter_graph_alloc());
    if (!graph) throw std::bad_alloc();
    graph->nb_threads = 1;
    std::string const form = "width=" + std::to_string(frame.width) + ":height=" + std::to_string(frame.height) +
                             ":pix_fmt=" + std::to_string(frame.format) + ":time_base=" + std::to_string(base.num) +
                             "/" + std::to_string(base.den);
    AVFilterContext *filter = nullptr;
    int error =
        avfilter_graph_create_filter(&source, avfilter_get_by_name("buffer"), "in", form.c_str(), nullptr, graph.get());
    if (error >= 0)
        error = avfilter_graph_create_filter(&filter, avfilter_get_by_name("bwdif"), "whole",
                                             "mode=send_frame:parity=auto:deint=all", nullptr, graph.get());
    if (error >= 0)
        error = avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr,
                                             graph.get());
    if (error >= 0) error = avfilter_link(source, 0, filter, 0);
    if (error >= 0) error = avfilter_link(filter, 0, sink, 0);
    if (error >= 0) error = avfilter_graph_config(graph.get(), nullptr);
    if (error < 0) throw Exception("frames of this form can't be deinterlaced: " + av::reason(error));
}

void Deinterlacer::give(AVFrame &frame, AVRational timeBase) {
    if (!graph) build(frame, timeBase);
    frame.pts = frame.best_effort_timestamp;
    int const error = av_buffersrc_add_frame(source, &frame);
    if (error < 0) throw Exception("a frame can't be deinterlaced: " + av::reason(error));
}

void Deinterlacer::end() {
    if (!graph)
        finished = true;
    else
        av_buffersrc_close(source, AV_NOPTS_VALUE, 0);
}

bool Deinterlacer::take(AVFrame &frame) {
    if (!graph || finished) return false;
    int const error = av_buffersink_get_frame(sink, &frame);
    if (error == AVERROR_EOF) finished = true;
    if (error < 0) return false;
    AVRational const out = av_buffersink_get_time_base(sink);
    if (frame.pts != AV_NOPTS_VALUE) frame.pts = av_rescale_q(frame.pts, out, base);
    if (frame.pkt_duration > 0 && av_cmp_q(out, base) != 0) frame.pkt_duration = 0;
    frame.best_effort_timestamp = frame.pts;
    return true;
}

} // namespace zun::media
